#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace kelmo {

/// The file in which a running program notes its crashes and hangs, open and locked as long as the program runs. The
/// lock tells the records of running programs from those that were left behind, however the program ended. Owned by
/// `CrashSource`.
class RecordFile {
public:
    /// Creates a record in `folder`, which is made when missing, with `header` as its first lines. Where that fails
    /// there is no record, and `descriptor` is -1.
    RecordFile(const QString& folder, const QByteArray& header);

    /// A record that holds no more than its header is removed.
    ~RecordFile();
    RecordFile(const RecordFile&) = delete;
    RecordFile& operator=(const RecordFile&) = delete;

    [[nodiscard]] int descriptor() const { return m_file; }

    /// Takes a record out of `folder` that no running program holds: reads at most 1 MiB of it and removes it. None
    /// when nothing is left. Each is handed out once, even when several programs ask at the same time. Callable from
    /// any thread.
    [[nodiscard]] static std::optional<QByteArray> takeLeftBehind(const QString& folder);

private:
    QByteArray m_path;
    int m_file = -1;
    qint64 m_headerSize = 0;
};

} // namespace kelmo
