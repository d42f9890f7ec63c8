#include "telemetry/CrashReports.h"

#include "platform/Home.h"
#include "platform/crash/CrashSource.h"
#include "telemetry/Analytics.h"
#include "telemetry/PastDiagnostics.h"

#include <QCoreApplication>
#include <QJsonObject>
#include <QStringDecoder>

namespace kelmo {

namespace {

constexpr qsizetype longestStack = 12'000;

// The first characters of the tree's JSON; none when it isn't text.
std::optional<QString> stackText(const QByteArray& json)
{
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder(json);
    if (decoder.hasError())
        return {};
    const bool splitsACharacter = text.size() > longestStack && text.at(longestStack - 1).isHighSurrogate();
    return text.left(splitsACharacter ? longestStack - 1 : longestStack);
}

QJsonObject properties(const Diagnostic& diagnostic, QJsonObject extra)
{
    extra.insert(QStringLiteral("crashed_version"), diagnostic.applicationVersion);
    extra.insert(QStringLiteral("crashed_build"), diagnostic.metaData.applicationBuildVersion);
    extra.insert(QStringLiteral("os"), diagnostic.metaData.osVersion);
    extra.insert(QStringLiteral("platform"), diagnostic.metaData.platformArchitecture);
    if (!diagnostic.callStackTree)
        return extra;
    if (const std::optional<QString> stack = stackText(*diagnostic.callStackTree))
        extra.insert(QStringLiteral("stack"), *stack);
    return extra;
}

template <class Value> void insertKnown(QJsonObject& object, const char* key, const std::optional<Value>& value)
{
    if (value)
        object.insert(QLatin1String(key), *value);
}

QJsonObject crashFields(const CrashDiagnostic& crash)
{
    QJsonObject fields;
    insertKnown(fields, "exception_type", crash.exceptionType);
    insertKnown(fields, "exception_code", crash.exceptionCode);
    insertKnown(fields, "signal", crash.signal);
    insertKnown(fields, "termination_reason", crash.terminationReason);
    insertKnown(fields, "vm_region", crash.virtualMemoryRegionInfo);
    return fields;
}

} // namespace

CrashReports::CrashReports() = default;
CrashReports::~CrashReports() = default;

void CrashReports::start()
{
    const QString folder = Home::file(QStringLiteral("Library/Application Support/Kelmo/Diagnostics"));
    m_source = std::make_unique<CrashSource>(folder, QCoreApplication::applicationVersion());
    m_delivery = std::jthread(&CrashReports::deliverPast, folder);
}

void CrashReports::didReceive(const std::vector<DiagnosticPayload>& payloads)
{
    for (const DiagnosticPayload& payload : payloads) {
        for (const CrashDiagnostic& crash : payload.crashDiagnostics)
            Analytics::capture(QStringLiteral("app_crashed"), properties(crash, crashFields(crash)));
        for (const HangDiagnostic& hang : payload.hangDiagnostics) {
            const auto hangMs = static_cast<qint64>(hang.hangDuration.count());
            Analytics::capture(QStringLiteral("app_hung"), properties(hang, {{QStringLiteral("hang_ms"), hangMs}}));
        }
    }
}

void CrashReports::deliverPast(const std::stop_token& stop, const QString& folder)
{
    std::optional<Symbolizer> symbolizer;
    while (!stop.stop_requested()) {
        const std::optional<QByteArray> record = RecordFile::takeLeftBehind(folder);
        if (!record)
            return;
        if (!Analytics::enabled())
            continue;
        if (!symbolizer)
            symbolizer.emplace();
        didReceive({PastDiagnostics::payload(CrashRecord::parse(*record), *symbolizer)});
    }
}

} // namespace kelmo
