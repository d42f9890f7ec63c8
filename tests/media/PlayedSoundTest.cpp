#include "media/Exporter.h"
#include "media/PreviewItems.h"
#include "tests/media/ExportedMovie.h"
#include "tests/media/MadeTake.h"
#include "tests/media/stack/player/PlayerFixture.h"
#include "tools/moviemaker/SoundCode.h"

namespace kelmo {

namespace {

constexpr int joins = 50;
constexpr double pieceMs = 100;
constexpr int pieceSamples = int(pieceMs * 48);
constexpr int window = 4096;

using PlayedSound = PlayerFixture;

std::vector<Span> pieces()
{
    std::vector<Span> keep;
    for (int i = 0; i <= joins; ++i) {
        const double start = i * 190 + (i * 37) % 50;
        keep.push_back({start, start + pieceMs});
    }
    return keep;
}

/// Where in the source the sound of a piece is at its middle, when the edit begins at sample `start` of `sound`; in
/// samples.
std::optional<double> sourcePosition(const std::vector<float>& sound, int64_t start, int piece)
{
    const int64_t at = start + int64_t(piece) * pieceSamples + (pieceSamples - window) / 2;
    if (at < 0 || at + window > int64_t(sound.size()))
        return std::nullopt;
    const auto expected = int64_t(pieces()[size_t(piece)].start * 48);
    return SoundCode(1).findPosition(
        std::span(sound).subspan(size_t(at), window), 48'000, expected - 48'000, expected + 48'000);
}

} // namespace

TEST_F(PlayedSound, acrossFiftyJoinsLiesOnTheExportedFilesToTheSample)
{
    MadeTake take;
    take.load();
    const std::shared_ptr<const Built> built = take.build(pieces());
    PreviewItems items;
    m_player->setItem(items.item(built));
    ASSERT_TRUE(waitUntil([&] { return m_player->picture() != nullptr; }));
    m_player->play(1);
    ASSERT_TRUE(waitUntil([&] { return m_player->status() == Player::Status::Paused; }, 30'000));
    m_player.reset();

    ExportSettings settings;
    settings.codec = Codec::H264;
    const QString path = take.file(QStringLiteral("out.mp4"));
    ASSERT_TRUE(Exporter::run(
        built, settings, path, [](double) {}, false));
    const std::vector<float> exported = ExportedMovie(path).sound();
    ASSERT_GE(int(exported.size()), pieces().size() * pieceSamples);

    // The device is pulled before the first sample is there.
    const std::vector<float>& played = m_ear->left;
    const auto start = std::find_if(played.begin(), played.end(), [](float value) { return value != 0; });
    for (int i = 0; i <= joins; ++i) {
        const std::optional<double> wanted = sourcePosition(exported, 0, i);
        const std::optional<double> heard = sourcePosition(played, start - played.begin(), i);
        ASSERT_TRUE(wanted && heard) << "in piece " << i;
        EXPECT_NEAR(*heard, *wanted, 0.5) << "in piece " << i;
    }
}

} // namespace kelmo
