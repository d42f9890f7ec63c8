#include "tests/movies/CodedMovie.h"

#include "tools/moviemaker/FrameCode.h"
#include "tools/moviemaker/SoundCode.h"

#include <gtest/gtest.h>

#include <random>

namespace kelmo {

namespace {

QImage numbered(const VideoSpec& video, int number)
{
    QImage picture(video.width, video.height, QImage::Format_RGB32);
    // The hue moves with the number, so that neighbouring pictures differ everywhere.
    picture.fill(QColor::fromHsv((number * 37) % 360, 120, 150));
    drawFrameCode(picture, number);
    return picture;
}

Result<void> writeSound(MovieMaker& maker, const CodedMovie& movie)
{
    for (size_t track = 0; track < movie.spec.audio.size(); ++track) {
        const AudioSpec& audio = movie.spec.audio[track];
        const SoundCode code(uint32_t(track) + 1, movie.soundLevel);
        const int total = int(movie.soundSeconds * audio.sampleRate);
        const std::vector<float> sound
            = audio.channels == 2 ? code.stereo(0, total, audio.sampleRate) : code.mono(0, total, audio.sampleRate);
        if (Result<void> added = maker.addAudio(int(track), sound.data(), total); !added)
            return added;
    }
    return {};
}

/// The muxer starts a track's media before its first picture or sample, and says by how much in its own edit list.
Result<void> writeEdits(const QString& path, int track, std::vector<EditListEntry> edits)
{
    if (edits.empty())
        return {};
    const Result<std::vector<EditListEntry>> made = readEditList(path, track);
    const int64_t lead = made && !made->empty() ? made->back().mediaTime : 0;
    for (EditListEntry& edit : edits) {
        if (edit.mediaTime != EditListEntry::Empty)
            edit.mediaTime += lead;
    }
    return writeEditList(path, track, edits);
}

Result<void> write(const CodedMovie& movie)
{
    Result<MovieMaker> maker = MovieMaker::create(movie.spec);
    if (!maker)
        return tl::unexpected(maker.error());
    for (size_t i = 0; i < movie.times.size(); ++i) {
        if (Result<void> added
            = maker->addVideoFrame(numbered(*movie.spec.video, movie.firstNumber + int(i)), movie.times[i]);
            !added)
            return added;
    }
    if (Result<void> sound = writeSound(*maker, movie); !sound)
        return sound;
    if (Result<void> finished = maker->finish(); !finished)
        return finished;
    if (Result<void> edited = writeEdits(movie.spec.path, 0, movie.videoEdits); !edited)
        return edited;
    return writeEdits(movie.spec.path, movie.spec.video ? 1 : 0, movie.audioEdits);
}

} // namespace

void make(const CodedMovie& movie)
{
    const Result<void> written = write(movie);
    ASSERT_TRUE(written) << qPrintable(userText(written.error()));
}

std::vector<int64_t> steadyTimes(int count, int64_t step, int64_t first)
{
    std::vector<int64_t> times;
    for (int i = 0; i < count; ++i)
        times.push_back(first + i * step);
    return times;
}

std::vector<int64_t> unevenTimes(int count, int64_t least, int64_t most, unsigned seed)
{
    std::minstd_rand random(seed);
    std::vector<int64_t> times;
    int64_t time = 0;
    for (int i = 0; i < count; ++i) {
        times.push_back(time);
        time += least + int64_t(random() % unsigned(most - least + 1));
    }
    return times;
}

MovieSpec smallMovie(const QTemporaryDir& folder, const QString& name)
{
    MovieSpec spec;
    spec.path = folder.filePath(name);
    spec.video.emplace();
    spec.video->width = 320;
    spec.video->height = 180;
    return spec;
}

} // namespace kelmo
