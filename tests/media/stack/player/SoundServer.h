#pragma once

#include <QProcess>
#include <QTemporaryDir>

namespace kelmo {

/// A PulseAudio daemon of the test's own, with one silent sink, whose sound can be recorded. While it
/// lives, the process's sound goes there. Owned by the test; main thread only.
class SoundServer {
public:
    SoundServer();
    ~SoundServer();
    SoundServer(const SoundServer&) = delete;
    SoundServer& operator=(const SoundServer&) = delete;

    [[nodiscard]] static bool isInstalled();
    [[nodiscard]] bool start(); ///< Also again, after kill().
    void kill(); ///< As a crash would.

    [[nodiscard]] bool startRecording();
    /// What has been recorded so far: interleaved stereo at 48 kHz.
    [[nodiscard]] const std::vector<float>& heardSoFar();
    /// Ends the recording, and gives all of it.
    [[nodiscard]] std::vector<float> stopRecording();

private:
    QTemporaryDir m_folder;
    QProcess m_daemon;
    QProcess m_recorder;
    QByteArray m_bytes; ///< Of a frame that has not come whole.
    std::vector<float> m_heard;
};

} // namespace kelmo
