#include "tools/sample-take/TakeOptions.h"

#include <QCommandLineParser>

namespace kelmo {

namespace {

void describe(QCommandLineParser& parser)
{
    parser.setApplicationDescription(
        QStringLiteral("Makes a take from nothing: a talk with slides, a voice, a webcam and a transcript."));
    parser.addHelpOption();
    const auto option = [&parser](const char* name, const char* text, const char* value, const char* preset) {
        parser.addOption(
            {QString::fromUtf8(name), QString::fromUtf8(text), QString::fromUtf8(value), QString::fromUtf8(preset)});
    };
    option("out", "Folder for the take's files.", "folder", ".");
    option("name", "Base name of the take.", "base", "2026-11-20 14.02.51");
    option("width", "Width of the screen movie.", "pixels", "1920");
    option("height", "Height of the screen movie.", "pixels", "1080");
    option("fps", "Highest frame rate of the screen movie.", "rate", "60");
    option("codec", "h264 or hevc.", "codec", "h264");
    option("seconds", "Length; the talk ends early or starts over to reach it.", "seconds", "0");
    option("seed", "Varies breaths, blinks, keys and the pointer's ways.", "number", "1");
    option("no-webcam", "No webcam movie; the voice is in the screen movie.", "", "");
    option("no-transcript", "No transcript.", "", "");
    option("unaligned", "A transcript as it is before its words are aligned.", "", "");
    option("quiet", "Print nothing but the path of the screen movie.", "", "");
}

} // namespace

Result<TakeOptions> TakeOptions::parse(const QStringList& arguments)
{
    QCommandLineParser parser;
    describe(parser);
    parser.process(arguments);
    const auto value = [&parser](const char* name) { return parser.value(QString::fromUtf8(name)); };
    const auto isSet = [&parser](const char* name) { return parser.isSet(QString::fromUtf8(name)); };
    TakeOptions options;
    options.folder = value("out");
    options.base = value("name");
    options.size = {value("width").toInt(), value("height").toInt()};
    options.framesPerSecond = value("fps").toDouble();
    options.codec = value("codec");
    options.seconds = value("seconds").toDouble();
    options.seed = value("seed").toUInt();
    options.webcam = !isSet("no-webcam");
    options.transcript = !isSet("no-transcript");
    options.aligned = !isSet("unaligned");
    options.quiet = isSet("quiet");
    if (options.size.width() < 64 || options.size.height() < 64 || options.framesPerSecond < 1
        || options.framesPerSecond > 240 || options.seconds < 0 || (options.seconds > 0 && options.seconds < 4))
        return failure(QStringLiteral("TakeOptions"), 1,
            QStringLiteral("sizes start at 64 pixels, rates lie from 1 to 240, a take lasts 4 seconds or more"));
    if (options.codec != QLatin1String("h264") && options.codec != QLatin1String("hevc"))
        return failure(QStringLiteral("TakeOptions"), 2, QStringLiteral("--codec is h264 or hevc"));
    return options;
}

} // namespace kelmo
