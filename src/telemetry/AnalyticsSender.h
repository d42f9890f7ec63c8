#pragma once

#include <QByteArray>
#include <QObject>
#include <QUrl>

#include <memory>

class QNetworkAccessManager;
class QThread;

namespace kelmo {

/// Posts JSON documents and forgets them. Lives on the thread that it starts in `start` and that `stop` ends. Host
/// names are looked up on that thread too, because the toolkit's own look-ups hold up the end of the process for as
/// long as a name server stays silent.
class AnalyticsSender : public QObject {
    Q_OBJECT

public:
    /// A running sender. The caller owns it and ends it with `stop`.
    [[nodiscard]] static AnalyticsSender* start();

    /// Ends the sender, dropping what is under way. Waits for at most 200 ms; a sender that is stuck in a look-up by
    /// then is left behind for the end of the process.
    static void stop(AnalyticsSender* sender);

    /// Posts `body` to `url` with a time-out of 10 s. Callable from any thread; returns at once.
    void post(const QUrl& url, const QByteArray& body);

private:
    AnalyticsSender();
    ~AnalyticsSender() override;

    void send(const QUrl& url, const QByteArray& body);

    std::unique_ptr<QNetworkAccessManager> m_network;
};

} // namespace kelmo
