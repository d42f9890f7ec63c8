#include "app/CommandLine.h"

#include "platform/Home.h"

#include <QDir>

namespace kelmo {

namespace {

/// A port is written in decimal digits and nothing else.
std::optional<quint16> portFrom(const std::optional<QString>& text)
{
    if (!text || text->isEmpty())
        return std::nullopt;
    const bool digits = std::all_of(text->begin(), text->end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
    bool fits = false;
    const ushort number = text->toUShort(&fits, 10);
    return digits && fits ? std::optional<quint16>(number) : std::nullopt;
}

} // namespace

CommandLine CommandLine::parse(const QStringList& arguments, const QProcessEnvironment& environment)
{
    CommandLine line;
    line.background = arguments.contains(QStringLiteral("--background"));
    line.muted = arguments.contains(QStringLiteral("--muted"));
    line.selfTestUI = arguments.contains(QStringLiteral("--selftest-ui"));
    line.selfTestSplit = arguments.contains(QStringLiteral("--selftest-split"));
    line.selfTestTrim = arguments.contains(QStringLiteral("--selftest-trim"));
    line.help = arguments.contains(QStringLiteral("--help"));
    line.version = arguments.contains(QStringLiteral("--version"));
    line.take = arg(arguments, QStringLiteral("--take"));
    line.benchPlay = arg(arguments, QStringLiteral("--bench-play"));
    line.benchPreview = arg(arguments, QStringLiteral("--bench-preview"));
    const std::optional<quint16> given = portFrom(arg(arguments, QStringLiteral("--port")));
    const std::optional<quint16> fromEnvironment = portFrom(environment.value(QStringLiteral("KELMO_EDITOR_PORT")));
    line.port = given.value_or(fromEnvironment.value_or(defaultPort));
    return line;
}

std::optional<QString> CommandLine::arg(const QStringList& arguments, const QString& name)
{
    const qsizetype at = arguments.indexOf(name);
    if (at < 0 || at + 1 >= arguments.size())
        return std::nullopt;
    return arguments[at + 1];
}

std::optional<QString> CommandLine::absoluteTake() const
{
    if (!take)
        return std::nullopt;
    return QDir::cleanPath(QDir::current().absoluteFilePath(Home::expandTilde(*take)));
}

QString CommandLine::helpText()
{
    return QStringLiteral(
        "kelmo-editor: edit a recording by its words\n"
        "\n"
        "  --take PATH     open the take that this file belongs to, instead of the newest\n"
        "  --background    serve agents without a window; needs no display\n"
        "  --port N        port of the agent server on 127.0.0.1 (else KELMO_EDITOR_PORT, else 7799)\n"
        "  --muted         no sound\n"
        "  --bench-play PATH, --bench-preview PATH\n"
        "                  measure playing, or preview pictures, on a take; print JSON and exit\n"
        "                  (--prewarm, --preroll, --swap-at MS, --native)\n"
        "  --selftest-ui, --selftest-split, --selftest-trim\n"
        "                  drive the window as a user would and log what comes of it\n"
        "  --version       print the version\n"
        "  --help          print this\n");
}

} // namespace kelmo
