#include "tests/media/stack/player/SoundServer.h"

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
    m_bytes.clear();
    m_heard.clear();
    m_recorder.start(text("parec"),
        {text("--device=quiet.monitor"), text("--format=float32le"), text("--rate=48000"), text("--channels=2"),
            text("--latency-msec=20")});
    return QTest::qWaitFor([&] { return m_recorder.bytesAvailable() > 0; }, 3000);
}

const std::vector<float>& SoundServer::heardSoFar()
{
    constexpr qsizetype frame = 2 * sizeof(float);
    m_bytes += m_recorder.readAllStandardOutput();
    const qsizetype whole = m_bytes.size() / frame * frame;
    const size_t before = m_heard.size();
    m_heard.resize(before + size_t(whole) / sizeof(float));
    std::memcpy(m_heard.data() + before, m_bytes.constData(), size_t(whole));
    m_bytes.remove(0, whole);
    return m_heard;
}

std::vector<float> SoundServer::stopRecording()
{
    m_recorder.terminate();
    m_recorder.waitForFinished(3000);
    return heardSoFar();
}

} // namespace kelmo
