#include "tests/media/MadeTake.h"

#include <gtest/gtest.h>

namespace kelmo {

namespace {

CodedMovie steadyMovie(const QTemporaryDir& folder, const QString& name)
{
    CodedMovie movie;
    movie.spec = smallMovie(folder, name);
    movie.spec.video->preset = QStringLiteral("veryfast");
    movie.spec.audio = {AudioSpec()};
    movie.times = steadyTimes(300, 20);
    movie.soundSeconds = 10;
    return movie;
}

} // namespace

MadeTake::MadeTake()
    : screen(steadyMovie(m_folder, QStringLiteral("take.mov")))
{
}

CodedMovie& MadeTake::withWebcam()
{
    webcam = steadyMovie(m_folder, QStringLiteral("take_webcam.mov"));
    return *webcam;
}

void MadeTake::load()
{
    make(screen);
    if (webcam)
        make(*webcam);
    loadMade();
}

void MadeTake::loadMade()
{
    QFile sync(m_folder.filePath(QStringLiteral("take_sync.json")));
    ASSERT_TRUE(sync.open(QIODevice::WriteOnly));
    sync.write(QJsonDocument(QJsonObject{{QStringLiteral("webcamOffsetFromScreenMs"), webcamOffsetMs},
                                 {QStringLiteral("screenAudioStartMs"), screenAudioStartMs}})
                   .toJson());
    sync.close();
    const Result<Take> take = Take::load(screen.spec.path);
    ASSERT_TRUE(take) << qPrintable(userText(take.error()));
    m_take = *take;
    const Result<std::shared_ptr<const LoadedTake>> loaded = LoadedTake::load(*take);
    ASSERT_TRUE(loaded) << qPrintable(userText(loaded.error()));
    m_loaded = *loaded;
}

std::shared_ptr<const Built> MadeTake::build(const std::vector<Span>& keep) const
{
    return CompositionBuilder::build(m_loaded, keep);
}

} // namespace kelmo
