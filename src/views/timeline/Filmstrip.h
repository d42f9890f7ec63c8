#pragma once

#include "media/Thumbnail.h"

#include <QCoroTask>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QThreadPool>
#include <QUrl>

#include <deque>
#include <memory>
#include <optional>

namespace kelmo {

struct LoadedTake;
class ThumbnailGenerator;

/// Thumbnails of one movie at a time, by half seconds of its time, made one after the other as they are asked for and
/// kept while the movie stays the same. Where that takes long, key pictures stand in meanwhile. Owned by the timeline
/// bar; main thread. A worker of its own decodes in the background; the destructor waits for the packet it is at.
class Filmstrip : public QObject {
    Q_OBJECT

public:
    static constexpr double bucketMs = 500;

    explicit Filmstrip(QObject* parent = nullptr);
    ~Filmstrip() override;

    /// Shows this movie from now on, none without a URL. `loaded` is the take it belongs to, null until it is loaded;
    /// nothing can be requested before. Does nothing when it shows the movie already.
    void use(const std::optional<QUrl>& url, const std::shared_ptr<const LoadedTake>& loaded);

    /// Asks for pictures near these moments, in ms of the movie's time. Each is made at most once for a movie, those
    /// of one call in their order of time, those of earlier calls first.
    void request(const std::vector<double>& times);

    /// The picture nearest to a moment, at most a bucket away; null while there is none.
    [[nodiscard]] QImage image(double nearMs) const;

    /// What may be shown until there is one: the nearest picture at most `reachMs` away, or else the nearest key
    /// picture, however far. Null while there is neither.
    [[nodiscard]] QImage standIn(double ms, double reachMs) const;

    [[nodiscard]] bool isWorking() const { return m_working; }

Q_SIGNALS:
    void changed(); ///< A picture has arrived, or all are gone.

private:
    [[nodiscard]] static int bucketOf(double ms) { return int(ms / bucketMs); }
    QCoro::Task<void> work();

    QHash<int, QImage> m_frames;
    QHash<int, Thumbnail> m_keyPictures; ///< By the buckets that wait for their own.
    std::shared_ptr<ThumbnailGenerator> m_generator; ///< None before the movie is loaded.
    std::optional<QUrl> m_url;
    QSet<int> m_pending; ///< All that were ever requested of this movie.
    std::deque<int> m_waitingForKeys; ///< Those not begun yet; they come before the others.
    std::deque<int> m_waiting;
    bool m_working = false;
    QThreadPool m_worker;
};

} // namespace kelmo
