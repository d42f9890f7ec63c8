#include "tests/media/stack/SoundServer.h"

#include <QFileInfo>
#include <QStandardPaths>
#include <QTest>

#include <cstring>

namespace kelmo {

namespace {

QString text(const char* latin) { return QString::fromLatin1(latin); }

} // namespace

SoundServer::SoundServer()
{
    qputenv("XDG_RUNTIME_DIR", m_folder.path().toLocal8Bit());
    qputenv("PULSE_SERVER", ("unix:" + m_folder.filePath(text("native"))).toLocal8Bit());
}

SoundServer::~SoundServer()
{
    kill();
    qunsetenv("PULSE_SERVER");
    qunsetenv("XDG_RUNTIME_DIR");
}

bool SoundServer::isInstalled()
{
    return !QStandardPaths::findExecutable(text("pulseaudio")).isEmpty()
        && !QStandardPaths::findExecutable(text("parec")).isEmpty();
}

bool SoundServer::start()
{
    const QString socket = m_folder.filePath(text("native"));
    QFile::remove(socket);
    m_daemon.start(text("pulseaudio"),
        {text("-n"), text("--daemonize=no"), text("--use-pid-file=no"), text("--exit-idle-time=-1"),
            text("--load=module-null-sink sink_name=quiet format=float32le rate=48000 channels=2"),
            text("--load=module-native-protocol-unix auth-anonymous=1 socket=") + socket});
    return QTest::qWaitFor([&] { return QFileInfo::exists(socket); }, 5000);
}

void SoundServer::kill()
{
    if (m_recorder.state() != QProcess::NotRunning) {
        m_recorder.kill();
        m_recorder.waitForFinished(2000);
    }
    if (m_daemon.state() != QProcess::NotRunning) {
        m_daemon.kill();
        m_daemon.waitForFinished(2000);
    }
}

bool SoundServer::startRecording()
{
    m_recorder.start(text("parec"),
        {text("--device=quiet.monitor"), text("--format=float32le"), text("--rate=48000"), text("--channels=2"),
            text("--latency-msec=20")});
    return QTest::qWaitFor([&] { return m_recorder.bytesAvailable() > 0; }, 3000);
}

std::vector<float> SoundServer::stopRecording()
{
    m_recorder.terminate();
    m_recorder.waitForFinished(3000);
    const QByteArray bytes = m_recorder.readAllStandardOutput();
    std::vector<float> sound(size_t(bytes.size()) / sizeof(float));
    std::memcpy(sound.data(), bytes.constData(), sound.size() * sizeof(float));
    return sound;
}

} // namespace kelmo
