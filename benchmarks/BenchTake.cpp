#include "benchmarks/BenchTake.h"

#include "benchmarks/Row.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <cstdio>
#include <cstdlib>
#include <random>

namespace kelmo::bench {

namespace {

QString folder()
{
    const QString path = QCoreApplication::applicationDirPath() % QStringLiteral("/takes");
    QDir().mkpath(path);
    return path;
}

QString text(const char* latin) { return QString::fromLatin1(latin); }

void ffmpeg(const QStringList& arguments)
{
    [[maybe_unused]] const double seconds
        = programSeconds(text("ffmpeg"), QStringList{text("-v"), text("error"), text("-y")} + arguments);
}

/// The talk that everything is made of.
QString sample()
{
    const QString path = folder() % QStringLiteral("/sample.mov");
    if (!QFileInfo::exists(path)) {
        std::fprintf(stderr, "making the sample take\n");
        [[maybe_unused]] const double seconds
            = programSeconds(QCoreApplication::applicationDirPath() % QStringLiteral("/sample-take"),
                {text("--quiet"), text("--out"), folder(), text("--name"), text("sample")});
    }
    return path;
}

void makeScreen(const QString& path, int seconds)
{
    if (QFileInfo::exists(path))
        return;
    std::fprintf(stderr, "making %s\n", qPrintable(QFileInfo(path).fileName()));
    const QString talk = sample();
    QString voice = talk;
    voice.replace(text(".mov"), text("_webcam.mov"));
    ffmpeg({text("-stream_loop"), text("-1"), text("-i"), talk, text("-stream_loop"), text("-1"), text("-i"), voice,
        text("-map"), text("0:v"), text("-map"), text("1:a"), text("-t"), QString::number(seconds), text("-vf"),
        text("fps=60"), text("-c:v"), text("libx264"), text("-preset"), text("veryfast"), text("-g"), text("120"),
        text("-bf"), text("2"), text("-pix_fmt"), text("yuv420p"), text("-c:a"), text("aac"), text("-b:a"),
        text("192k"), path});
}

std::shared_ptr<const LoadedTake> load(const QString& path)
{
    const Result<Take> take = Take::load(path);
    const Result<std::shared_ptr<const LoadedTake>> loaded
        = take ? LoadedTake::load(*take) : tl::unexpected(take.error());
    if (!loaded) {
        std::fprintf(stderr, "%s\n", qPrintable(userText(loaded.error())));
        std::exit(1);
    }
    return *loaded;
}

/// Words of about a third of a second with pauses, over the whole length.
std::vector<Word> words(int count, double durationMs)
{
    std::minstd_rand random(7);
    const double step = durationMs / count;
    std::vector<Word> made;
    for (int i = 0; i < count; ++i) {
        const double start = i * step + double(random() % 40);
        made.push_back({i % 31 ? QStringLiteral("word%1").arg(i % 977) : text("um,"), start, start + step * 0.7, 0.9});
    }
    return made;
}

} // namespace

QString BenchTake::screenPath(bool withWebcam)
{
    return folder() % (withWebcam ? text("/face.mov") : text("/steady.mov"));
}

QString BenchTake::webcamPath() { return folder() % text("/face_webcam.mov"); }

QString BenchTake::outputPath(const QString& name) { return folder() % text("/out-") % name; }

std::shared_ptr<const LoadedTake> BenchTake::steady(bool withWebcam)
{
    makeScreen(screenPath(false), 120);
    if (!withWebcam)
        return load(screenPath(false));
    if (!QFileInfo::exists(screenPath(true)))
        QFile::link(screenPath(false), screenPath(true));
    if (!QFileInfo::exists(webcamPath())) {
        QString camera = sample();
        camera.replace(text(".mov"), text("_webcam.mov"));
        // Silent, because the voice is on the screen movie already.
        ffmpeg({text("-stream_loop"), text("-1"), text("-i"), camera, text("-t"), text("120"), text("-an"),
            text("-c:v"), text("libx264"), text("-preset"), text("veryfast"), text("-g"), text("60"), webcamPath()});
    }
    return load(screenPath(true));
}

std::shared_ptr<const LoadedTake> BenchTake::tenMinutes()
{
    const QString path = folder() % text("/long.mov");
    makeScreen(path, 600);
    return load(path);
}

std::shared_ptr<const LoadedTake> BenchTake::oneHour()
{
    const QString path = folder() % text("/hour.mov");
    if (!QFileInfo::exists(path)) {
        (void)tenMinutes();
        ffmpeg({text("-stream_loop"), text("5"), text("-i"), folder() % text("/long.mov"), text("-map"), text("0"),
            text("-c"), text("copy"), path});
    }
    return load(path);
}

QString BenchTake::withWords(const QTemporaryDir& folder, const LoadedTake& loaded, int count)
{
    QJsonArray list;
    for (const Word& word : words(count, loaded.durationMs))
        list.append(word.toJson());
    const auto write = [&](const QString& name, const QJsonObject& object) {
        QFile file(folder.filePath(name));
        if (file.open(QIODevice::WriteOnly))
            file.write(QJsonDocument(object).toJson(QJsonDocument::Compact));
    };
    write(text("take_transcript.json"),
        {{text("words"), list}, {text("timeBase"), text("screenFile")}, {text("aligned"), true}});
    write(text("take_sync.json"), {});
    QFile::link(loaded.take.screenURL.toLocalFile(), folder.filePath(text("take.mov")));
    return folder.filePath(text("take.mov"));
}

std::vector<Span> BenchTake::fortyCuts()
{
    std::vector<Span> keep;
    for (int i = 0; i < 40; ++i)
        keep.push_back({i * 3000.0, i * 3000.0 + 1500});
    return keep;
}

} // namespace kelmo::bench
