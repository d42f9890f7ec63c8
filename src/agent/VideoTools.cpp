#include "agent/Tools.h"

namespace kelmo {

namespace {

constexpr double usualFrameWidth = 1280;

std::optional<int> intArgument(const ToolArguments& arguments, QStringView name)
{
    const std::optional<qint64> value = arguments.integer(name);
    if (!value)
        return std::nullopt;
    return static_cast<int>(
        std::clamp<qint64>(*value, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

QString frameCaption(double editedMs, double sourceMs)
{
    return QStringLiteral("Frame at edited %1 ms (source %2 ms).").arg(truncated(editedMs)).arg(truncated(sourceMs));
}

} // namespace

Tools::Call Tools::getFrame(ToolContext context, ToolArguments arguments)
{
    const std::optional<double> timeMs = arguments.number(u"timeMs");
    if (!timeMs)
        co_return tl::unexpected(RPCError{RPCError::invalidParams, QStringLiteral("timeMs is required")});
    const double maxWidth = arguments.number(u"maxWidth").value_or(usualFrameWidth);
    // The picture is of the edit as it is now, and so is its caption, whatever is edited while it is made.
    const double sourceMs = context.editor->timeline().source(*timeMs);
    const Result<QByteArray> png = co_await context.editor->frame(*timeMs, maxWidth);
    if (!png)
        co_return ToolResult::error(userText(png.error()));
    co_return ToolResult::picture(*png, frameCaption(*timeMs, sourceMs));
}

Tools::Call Tools::exportVideo(ToolContext context, ToolArguments arguments)
{
    const std::optional<Codec> codec = codecFromName(arguments.string(u"codec").value_or(QString()));
    std::optional<int> height = intArgument(arguments, u"height");
    if (height)
        height = std::max(*height, 0);
    const std::optional<int> fps = intArgument(arguments, u"fps");
    const QString engine = arguments.string(u"engine").value_or(QStringLiteral("writer"));
    const Result<ExportResult> result = co_await context.editor->exportVideo(codec, height, fps, engine);
    if (!result)
        co_return ToolResult::error(userText(result.error()));
    co_return ToolResult::text(QJsonObject{
        {QStringLiteral("path"), result->path},
        {QStringLiteral("elapsedMs"), std::round(result->elapsedMs)},
        {QStringLiteral("durationMs"), std::round(result->durationMs)},
    });
}

Tools::Call Tools::share(ToolContext context, ToolArguments arguments)
{
    const bool wait = arguments.flag(u"wait");
    QCoro::Task<Result<QString>> sharing = context.sharer->share(wait);
    const Result<QString> url = co_await sharing;
    if (!url)
        co_return ToolResult::error(userText(url.error()));
    co_return ToolResult::text(QJsonObject{
        {QStringLiteral("url"), *url},
        {QStringLiteral("status"),
            wait ? QStringLiteral("playing")
                 : QStringLiteral("uploading — the page shows progress and plays when it's in")},
    });
}

} // namespace kelmo
