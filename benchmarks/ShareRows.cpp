#include "benchmarks/Row.h"

#include "share/PartUploads.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>
#include <cstdlib>

namespace kelmo::bench {

namespace {

constexpr int rounds = 3;
constexpr qint64 gibibyte = 1024LL * 1024 * 1024;
constexpr double minOfPeer = 0.85;
constexpr double maxMegabytes = 150;

QString text(const char* latin) { return QString::fromLatin1(latin); }

/// The share server of the tests in a process of its own, with one share that takes parts.
class Server {
public:
    Server()
    {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QCoreApplication::applicationDirPath() % QStringLiteral("/share-server"),
            {m_folder.filePath(text("server")), token()});
        while (!m_process.canReadLine() && m_process.waitForReadyRead(10'000)) { }
        m_endpoint = QString::fromUtf8(m_process.readLine()).trimmed().section(QLatin1Char(' '), 1);
        QCoro::Task<Result<QJsonObject>> creating
            = api().post(text("/api/shares"), {{text("title"), text("bench")}, {text("durationMs"), 1000}});
        if (!QCoro::waitFor(creating)) {
            std::fprintf(stderr, "the share server does not answer\n");
            std::exit(1);
        }
    }

    ~Server()
    {
        m_process.terminate();
        m_process.waitForFinished();
    }

    [[nodiscard]] static QString token() { return text("bench-token"); }
    [[nodiscard]] QString partsUrl() const { return m_endpoint % text("/api/shares/1/parts/"); }
    [[nodiscard]] API api() { return {m_endpoint, token(), false, &m_client}; }

    /// The path of a file of so many bytes, all zero and none of them on disk.
    [[nodiscard]] QString file(const QString& name, qint64 bytes) const
    {
        QFile file(m_folder.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || !file.resize(bytes))
            std::exit(1);
        return file.fileName();
    }

    /// Uploads a file as a share does.
    [[nodiscard]] double uploadSeconds(const QString& path)
    {
        QElapsedTimer sinceTick;
        sinceTick.start();
        QTimer tick;
        tick.setTimerType(Qt::PreciseTimer);
        QObject::connect(&tick, &QTimer::timeout, [&] {
            m_longestGapMs = std::max(m_longestGapMs, double(sinceTick.nsecsElapsed()) / 1e6);
            sinceTick.restart();
        });
        tick.start(1);
        return wallSeconds([&] {
            PartUploads uploads(api(), text("1"), API::usualPartSize, {});
            QCoro::Task<Result<QJsonArray>> uploading = uploads.run(path);
            const Result<QJsonArray> replies = QCoro::waitFor(uploading);
            if (!replies) {
                std::fprintf(stderr, "%s\n", qPrintable(userText(replies.error())));
                std::exit(1);
            }
        });
    }

    /// What a timer of 1 ms had to wait for at most while this thread uploaded.
    [[nodiscard]] double longestGapMs() const { return m_longestGapMs; }

private:
    QTemporaryDir m_folder;
    QProcess m_process;
    QString m_endpoint;
    HttpClient m_client{std::chrono::minutes(2)};
    double m_longestGapMs = 0;
};

double curlSeconds(const Server& server, const QString& parts)
{
    return programSeconds(text("curl"),
        {text("-sS"), text("--fail"), text("-o"), text("/dev/null"), text("-Z"), text("--parallel-max"), text("4"),
            text("-H"), text("Authorization: Bearer ") % Server::token(), text("-H"),
            text("Content-Type: application/octet-stream"), text("-T"), parts, server.partsUrl()});
}

Outcome uploadAgainstCurl()
{
    Server server;
    const QString whole = server.file(text("whole.mp4"), gibibyte);
    const qint64 count = gibibyte / API::usualPartSize;
    QStringList names;
    for (qint64 n = 1; n <= count; ++n) {
        names.append(QString::number(n));
        [[maybe_unused]] const QString part = server.file(names.last(), API::usualPartSize);
    }
    const QString parts = QFileInfo(whole).path() % text("/{") % names.join(QLatin1Char(',')) % text("}");
    const Pair seconds = alternate(
        rounds, [&] { return server.uploadSeconds(whole); }, [&] { return curlSeconds(server, parts); });
    const double times = seconds.peer / seconds.ours;
    return {times, text("of its speed"), text("0.85 or more"), times >= minOfPeer,
        QStringLiteral("%1 s against %2 s; longest gap of the main thread %3 ms")
            .arg(seconds.ours, 0, 'f', 2)
            .arg(seconds.peer, 0, 'f', 2)
            .arg(server.longestGapMs(), 0, 'f', 1)};
}

/// A line of the process's status, in MB.
double statusMegabytes(const char* name)
{
    QFile status(text("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(name))
            return line.mid(line.indexOf(':') + 1).simplified().split(' ').value(0).toDouble() / 1024;
    }
    return 0;
}

void forgetPeak()
{
    QFile file(text("/proc/self/clear_refs"));
    if (file.open(QIODevice::WriteOnly))
        file.write("5");
}

Outcome uploadMemory()
{
    Server server;
    const QString path = server.file(text("two.mp4"), 2 * gibibyte);
    forgetPeak();
    const double before = statusMegabytes("VmRSS");
    const double seconds = server.uploadSeconds(path);
    const double extra = statusMegabytes("VmHWM") - before;
    return {extra, text("MB"), text("150 MB or less"), extra <= maxMegabytes,
        QStringLiteral("%1 s for 2 GiB").arg(seconds, 0, 'f', 2)};
}

} // namespace

std::vector<Row> shareRows()
{
    return {
        {text("share-upload"),
            text("share upload of 1 GiB over loopback, against curl -T of the same parts, four at once"),
            uploadAgainstCurl},
        {text("share-memory"), text("extra memory of a share upload of 2 GiB"), uploadMemory},
    };
}

} // namespace kelmo::bench
