#pragma once

#include <QLocalSocket>
#include <QProcess>
#include <QTemporaryDir>

namespace kelmo::bench {

/// An mpv without window and sound, told over its socket what to do, to measure beside ours. Main thread; ends the
/// benchmark when mpv does not answer.
class MpvPeer {
public:
    MpvPeer();
    ~MpvPeer();
    MpvPeer(const MpvPeer&) = delete;
    MpvPeer& operator=(const MpvPeer&) = delete;

    /// Opens a file, paused; seconds until its first picture is there.
    double open(const QString& path);
    /// Goes to a time of the open file to the exact frame; seconds until that is there.
    double seek(double ms);

private:
    double commandSeconds(const QByteArray& command);

    QTemporaryDir m_folder;
    QProcess m_process;
    QLocalSocket m_socket;
};

} // namespace kelmo::bench
