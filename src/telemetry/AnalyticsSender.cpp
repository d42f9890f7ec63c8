#include "telemetry/AnalyticsSender.h"

#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QThread>

#include <netdb.h>

namespace kelmo {

namespace {

constexpr int timeoutMs = 10'000;
constexpr int stopWithinMs = 200;

QHostAddress lookUp(const QString& host)
{
    QHostAddress literal;
    if (literal.setAddress(host))
        return literal;
    addrinfo hints{};
    hints.ai_flags = AI_ADDRCONFIG;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (::getaddrinfo(QUrl::toAce(host).constData(), nullptr, &hints, &found) != 0)
        return {};
    const QHostAddress address(found->ai_addr);
    ::freeaddrinfo(found);
    return address;
}

// The request goes to the address; certificate and Host header still name the host.
QNetworkRequest requestTo(QUrl url, const QHostAddress& address)
{
    const QString host = url.host();
    const QByteArray authority = url.authority(QUrl::EncodeUnicode).toLatin1();
    url.setHost(address.toString());
    QNetworkRequest request(url);
    request.setRawHeader("Host", authority);
    request.setPeerVerifyName(host);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setTransferTimeout(timeoutMs);
    return request;
}

} // namespace

AnalyticsSender::AnalyticsSender() = default;
AnalyticsSender::~AnalyticsSender() = default;

AnalyticsSender* AnalyticsSender::start()
{
    auto* thread = new QThread;
    thread->setObjectName(QStringLiteral("kelmo.analytics"));
    auto* sender = new AnalyticsSender;
    sender->moveToThread(thread);
    // The sender goes with its own thread's last turn, where its connections live.
    connect(thread, &QThread::finished, sender, &QObject::deleteLater);
    thread->start(QThread::LowPriority);
    return sender;
}

void AnalyticsSender::stop(AnalyticsSender* sender)
{
    QThread* const thread = sender->thread();
    thread->requestInterruption();
    thread->quit();
    if (thread->wait(stopWithinMs))
        delete thread;
}

void AnalyticsSender::post(const QUrl& url, const QByteArray& body)
{
    QMetaObject::invokeMethod(
        this, [this, url, body] { send(url, body); }, Qt::QueuedConnection);
}

void AnalyticsSender::send(const QUrl& url, const QByteArray& body)
{
    if (QThread::currentThread()->isInterruptionRequested())
        return;
    const QHostAddress address = lookUp(url.host(QUrl::EncodeUnicode));
    if (address.isNull() || QThread::currentThread()->isInterruptionRequested())
        return;
    if (!m_network)
        m_network = std::make_unique<QNetworkAccessManager>();
    QNetworkReply* const reply = m_network->post(requestTo(url, address), body);
    connect(reply, &QNetworkReply::finished, reply, &QObject::deleteLater);
}

} // namespace kelmo
