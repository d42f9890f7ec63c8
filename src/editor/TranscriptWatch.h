#pragma once

#include "model/Take.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

class QThreadPool;

namespace kelmo {

/// Waits for a take's transcript file to get what it lacks, looking ten times a second. The file is read again, on a
/// worker, only when its time or size has changed. Owned by the Editor; lives on the main thread; destroying it ends
/// the wait.
class TranscriptWatch : public QObject {
    Q_OBJECT

public:
    enum class For {
        Words, ///< A transcript with any words, for three minutes.
        Alignment, ///< One whose word times are aligned, for two minutes.
    };

    TranscriptWatch(For what, const Take& take, QThreadPool& workers);

    /// Where a take's transcript lies.
    [[nodiscard]] static QString transcriptPath(const Take& take);

Q_SIGNALS:
    /// The take as read from disk, with what was waited for. Nothing follows.
    void arrived(const kelmo::Take& take, double waitedMs);
    /// The time is over. Nothing follows.
    void gaveUp();

private:
    void look();
    void receive(const Take& take);
    [[nodiscard]] bool satisfies(const Take& take) const;

    struct Stamp {
        QDateTime modified;
        qint64 size = -1;
        bool operator==(const Stamp&) const = default;
    };
    [[nodiscard]] Stamp stamp() const;

    const For m_what;
    const Take m_take;
    QThreadPool& m_workers;
    QTimer m_timer;
    QElapsedTimer m_waited;
    int m_roundsLeft;
    Stamp m_seen;
    bool m_reading = false;
};

} // namespace kelmo
