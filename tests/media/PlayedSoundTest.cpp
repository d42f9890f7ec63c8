#include "media/Exporter.h"
#include "media/PreviewItems.h"
#include "tests/media/ExportedMovie.h"
#include "tests/media/MadeTake.h"
#include "tests/media/stack/PlayerFixture.h"

namespace kelmo {

namespace {

constexpr int joins = 50;
constexpr double pieceMs = 100;
constexpr int pieceSamples = int(pieceMs * 48);

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

/// How alike two sounds are, 1 when they differ in nothing but loudness.
double likeness(std::span<const float> one, std::span<const float> other)
{
    double product = 0;
    double energies[2] = {};
    for (size_t i = 0; i < one.size(); ++i) {
        product += double(one[i]) * double(other[i]);
        energies[0] += double(one[i]) * double(one[i]);
        energies[1] += double(other[i]) * double(other[i]);
    }
    return product / std::sqrt(energies[0] * energies[1] + 1e-12);
}

/// By how many samples `sound` has to be moved to lie on `wanted` at its best, and how well it does then.
std::pair<int64_t, double> bestShift(
    std::span<const float> wanted, const std::vector<float>& sound, int64_t at, int64_t farthest)
{
    std::pair<int64_t, double> best{0, -1};
    for (int64_t shift = -farthest; shift <= farthest; ++shift) {
        if (at + shift < 0 || at + shift + int64_t(wanted.size()) > int64_t(sound.size()))
            continue;
        const double alike = likeness(wanted, std::span(sound).subspan(size_t(at + shift), wanted.size()));
        if (alike > best.second)
            best = {shift, alike};
    }
    return best;
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

    // The device is pulled before the first sample is ready; where that was, the first piece tells.
    const std::vector<float>& played = m_ear->left;
    const auto wanted
        = [&](int piece) { return std::span(exported).subspan(size_t(piece) * pieceSamples, size_t(pieceSamples)); };
    const auto [start, alike] = bestShift(wanted(0), played, 0, 48'000);
    ASSERT_GT(alike, 0.98);
    for (int i = 0; i <= joins; ++i) {
        const auto [shift, likenessHere] = bestShift(wanted(i), played, start + int64_t(i) * pieceSamples, 50);
        EXPECT_EQ(shift, 0) << "in piece " << i;
        EXPECT_GT(likenessHere, 0.98) << "in piece " << i;
    }
}

} // namespace kelmo
