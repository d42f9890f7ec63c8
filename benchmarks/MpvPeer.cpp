#include "benchmarks/MpvPeer.h"

#include "benchmarks/Row.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <cstdlib>
#include <thread>

namespace kelmo::bench {

namespace {

constexpr int patienceMs = 10'000;

QString text(const char* latin) { return QString::fromLatin1(latin); }

[[noreturn]] void giveUp(const char* why)
{
    std::fprintf(stderr, "mpv: %s\n", why);
    std::exit(1);
}

QByteArray command(const QJsonArray& words)
{
    return QJsonDocument(QJsonObject{{text("command"), words}}).toJson(QJsonDocument::Compact) + '\n';
}

} // namespace

MpvPeer::MpvPeer()
{
    const QString socket = m_folder.filePath(text("mpv"));
    m_process.start(text("mpv"),
        {text("--no-config"), text("--idle=yes"), text("--pause"), text("--vo=null"), text("--ao=null"),
            text("--hr-seek=yes"), text("--really-quiet"), text("--input-ipc-server=") + socket});
    if (!m_process.waitForStarted(patienceMs))
        giveUp("is not installed");
    for (int i = 0; i < 500 && m_socket.state() != QLocalSocket::ConnectedState; ++i) {
        m_socket.connectToServer(socket);
        if (!m_socket.waitForConnected(10))
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    if (m_socket.state() != QLocalSocket::ConnectedState)
        giveUp("does not listen");
}

MpvPeer::~MpvPeer()
{
    m_socket.write(command({text("quit")}));
    m_socket.flush();
    m_process.waitForFinished(patienceMs);
}

double MpvPeer::commandSeconds(const QByteArray& line)
{
    return wallSeconds([&] {
        m_socket.write(line);
        m_socket.flush();
        for (;;) {
            while (m_socket.canReadLine()) {
                const QJsonObject event = QJsonDocument::fromJson(m_socket.readLine()).object();
                if (event.value(text("event")).toString() == text("playback-restart"))
                    return;
            }
            if (!m_socket.waitForReadyRead(patienceMs))
                giveUp("shows no picture");
        }
    });
}

double MpvPeer::open(const QString& path) { return commandSeconds(command({text("loadfile"), path})); }

double MpvPeer::seek(double ms) { return commandSeconds(command({text("seek"), ms / 1000, text("absolute+exact")})); }

} // namespace kelmo::bench
