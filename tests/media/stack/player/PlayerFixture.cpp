#include "tests/media/stack/player/PlayerFixture.h"

#include "tools/moviemaker/FrameCode.h"

#include <QDir>
#include <QTest>

namespace kelmo {

Result<void> HearingOutput::open(Pull pull)
{
    ++m_ear->opened;
    if (m_ear->refusesToOpen)
        return failure(QStringLiteral("Sound"), 1);
    m_ear->current = this;
    return m_timer.open([ear = m_ear, pull = std::move(pull)](float* out, int frames) {
        pull(out, frames);
        const std::lock_guard lock(ear->mutex);
        for (int i = 0; i < frames; ++i)
            ear->left.push_back(out[2 * i]);
    });
}

void PlayerFixture::SetUp() { makePlayer(); }

void PlayerFixture::makePlayer()
{
    m_player = std::make_unique<Player>([ear = m_ear] { return std::make_unique<HearingOutput>(ear); });
    m_player->setPictureBox({320, 180});
}

std::shared_ptr<const Asset> PlayerFixture::movie(const QString& name, int seconds, int firstNumber)
{
    CodedMovie movie;
    movie.spec = smallMovie(m_folder, name);
    movie.spec.video->preset = QStringLiteral("veryfast");
    movie.spec.audio = {AudioSpec()};
    movie.times = steadyTimes(seconds * 30, 20);
    movie.soundSeconds = seconds;
    movie.firstNumber = firstNumber;
    make(movie);
    const Result<std::shared_ptr<const Asset>> asset = Asset::open(movie.spec.path);
    EXPECT_TRUE(asset) << qPrintable(asset ? QString() : userText(asset.error()));
    return asset ? *asset : nullptr;
}

std::shared_ptr<const PlayerItem> PlayerFixture::item(
    const std::shared_ptr<const Asset>& asset, const std::vector<std::pair<int, int>>& pieces)
{
    auto composition = std::make_shared<Composition>();
    composition->screen = {asset, &asset->tracks()[0], {}};
    composition->audio = {{asset, &asset->tracks()[1], {}}};
    for (const auto& [from, to] : pieces) {
        const TimeRange range{MediaTime::fromMs(from), MediaTime::fromMs(to - from)};
        composition->screen.insert(range, composition->duration);
        composition->audio[0].insert(range, composition->duration);
        composition->duration += range.duration;
    }
    auto item = std::make_shared<PlayerItem>();
    item->composition = composition;
    item->width = asset->tracks()[0].uprightWidth();
    item->height = asset->tracks()[0].uprightHeight();
    return item;
}

bool PlayerFixture::waitUntil(const std::function<bool()>& holds, int timeoutMs)
{
    return QTest::qWaitFor(holds, timeoutMs);
}

void PlayerFixture::wait(int ms) { QTest::qWait(ms); }

int PlayerFixture::threadCount()
{
    return int(QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size());
}

bool PlayerFixture::seekAndWait(double ms)
{
    std::optional<bool> finished;
    m_player->seek(MediaTime::fromMs(ms), [&](bool value) { finished = value; });
    return waitUntil([&] { return finished.has_value(); }) && *finished;
}

std::optional<int> PlayerFixture::numberIn(const Player& player)
{
    const std::shared_ptr<const QImage> picture = player.picture();
    return picture ? readFrameCode(*picture) : std::nullopt;
}

std::optional<int> PlayerFixture::shownNumber() const { return numberIn(*m_player); }

} // namespace kelmo
