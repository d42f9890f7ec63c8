#include "telemetry/Analytics.h"

#include "platform/Home.h"
#include "telemetry/AnalyticsEndpoint.h"
#include "telemetry/AnalyticsSender.h"
#include "telemetry/InstallID.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSaveFile>
#include <QSysInfo>

#include <algorithm>
#include <cmath>
#include <mutex>

namespace kelmo {

namespace {

// Write-only and public by design: it can add events to the project and read none.
constexpr char projectKey[] = "phc_8xQ2nVtLm4RkZ0aJcWy7HfPdEs3uBg9TiKo6NrYlMqAv";
constexpr char endpointHost[] = "https://eu.usage.kelmo.example";
constexpr char endpointPath[] = "/i/v0/e/";

struct Connection {
    std::mutex mutex;
    QUrl endpoint = QUrl(QString::fromLatin1(endpointHost) + QString::fromLatin1(endpointPath));
    AnalyticsSender* sender = nullptr;
    bool closed = false;
};

// Never destroyed: any thread may still capture an event while the process winds down.
Connection& connection()
{
    static Connection* const instance = new Connection;
    return *instance;
}

void closeConnection()
{
    Connection& shared = connection();
    const std::lock_guard lock(shared.mutex);
    shared.closed = true;
    if (shared.sender)
        AnalyticsSender::stop(std::exchange(shared.sender, nullptr));
}

void postToEndpoint(const QByteArray& body)
{
    Connection& shared = connection();
    const std::lock_guard lock(shared.mutex);
    if (shared.closed || !QCoreApplication::instance())
        return;
    if (!shared.sender) {
        shared.sender = AnalyticsSender::start();
        qAddPostRoutine(closeConnection);
    }
    shared.sender->post(shared.endpoint, body);
}

QString settingsPath(const char* name)
{
    return Home::file(QStringLiteral("Library/Application Support/Kelmo/") + QString::fromLatin1(name));
}

QJsonObject commonProperties()
{
    const QString version = QCoreApplication::applicationVersion();
    return {
        {QStringLiteral("$lib"), QStringLiteral("kelmo-mac")},
        {QStringLiteral("app"), QStringLiteral(KELMO_APP_ID).section(QLatin1Char('.'), -1)},
        {QStringLiteral("app_version"), version.isEmpty() ? QStringLiteral("?") : version},
        {QStringLiteral("os_version"), QSysInfo::prettyProductName()},
    };
}

// A number that is not finite has no form in JSON.
bool isSerializable(const QJsonObject& properties)
{
    return std::none_of(properties.begin(), properties.end(),
        [](const QJsonValue& value) { return value.isDouble() && !std::isfinite(value.toDouble()); });
}

} // namespace

QUrl Analytics::endpoint()
{
    const std::lock_guard lock(connection().mutex);
    return connection().endpoint;
}

void Analytics::setEndpointForTests(const QUrl& url)
{
    const std::lock_guard lock(connection().mutex);
    connection().endpoint = url;
}

void Analytics::capture(const QString& event, const QJsonObject& properties)
{
    if (!enabled() || !isSerializable(properties))
        return;
    static const QJsonObject common = commonProperties();
    QJsonObject merged = common;
    for (auto property = properties.begin(); property != properties.end(); ++property)
        merged.insert(property.key(), property.value());
    merged.insert(QStringLiteral("distinct_id"), distinctID());
    const QJsonObject body{
        {QStringLiteral("api_key"), QString::fromLatin1(projectKey)},
        {QStringLiteral("event"), event},
        {QStringLiteral("properties"), merged},
        {QStringLiteral("timestamp"), QDateTime::currentDateTimeUtc().toString(Qt::ISODate)},
    };
    postToEndpoint(QJsonDocument(body).toJson(QJsonDocument::Compact));
}

bool Analytics::enabled() { return qgetenv("KELMO_ANALYTICS") != "0" && userEnabled(); }

bool Analytics::userEnabled()
{
    QFile file(settingsPath("analytics.json"));
    if (!file.open(QIODevice::ReadOnly))
        return true;
    const QJsonDocument settings = QJsonDocument::fromJson(file.read(64 * 1024));
    return settings.object().value(QLatin1String("enabled")).toBool(true);
}

void Analytics::setEnabled(bool enabled)
{
    const QString path = settingsPath("analytics.json");
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return;
    file.write(QJsonDocument(QJsonObject{{QStringLiteral("enabled"), enabled}}).toJson(QJsonDocument::Compact));
    file.commit();
}

QString Analytics::distinctID()
{
    static const QString id = InstallID::loadOrCreate(settingsPath("install-id"));
    return id;
}

} // namespace kelmo
