#include "platform/RuntimeFolder.h"
#include "tools/sample-take/SampleTake.h"

#include <QGuiApplication>
#include <QTextStream>

namespace kelmo {

namespace {

Result<QString> makeTake(const TakeOptions& options)
{
    auto voice = SpeechSynthesizer::open(QStringLiteral("en-us"));
    if (!voice)
        return tl::unexpected(voice.error());
    auto talk = speakTalk(*voice, talkScript(), options.seconds * 1000, options.seed);
    if (!talk)
        return tl::unexpected(talk.error());
    if (!options.quiet)
        QTextStream(stderr) << "A talk of " << talk->words.size() << " words, " << talk->lengthMs / 1000 << " s\n";
    return SampleTake(options, std::move(*talk)).write();
}

int run(const QStringList& arguments)
{
    const auto options = TakeOptions::parse(arguments);
    const auto path = options ? makeTake(*options) : Result<QString>(tl::unexpected(options.error()));
    if (!path) {
        QTextStream(stderr) << "sample-take: " << userText(path.error()) << "\n";
        return 1;
    }
    QTextStream(stdout) << *path << "\n";
    return 0;
}

} // namespace

} // namespace kelmo

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    kelmo::RuntimeFolder::ensure();
    const QGuiApplication application(argc, argv);
    return kelmo::run(QGuiApplication::arguments());
}
