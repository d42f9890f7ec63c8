#include "tests/media/stack/player/PlayerFixture.h"

#include "media/stack/composition/AudioMixer.h"
#include "tools/moviemaker/SoundCode.h"

#include <QElapsedTimer>

#include <random>
#include <set>

namespace kelmo {

namespace {

class PlayerTest : public PlayerFixture { };

using Pieces = std::vector<std::pair<int, int>>;

/// The source time that an edit of these pieces shows at an edited time.
double sourceMs(const Pieces& pieces, double editedMs)
{
    for (const auto& [from, to] : pieces) {
        if (editedMs < to - from)
            return from + editedMs;
        editedMs -= to - from;
    }
    return pieces.back().second;
}

int frameAt(double sourceMs) { return int(std::floor(sourceMs * 30 / 1000 + 1e-6)); }

const Pieces joined{{0, 700}, {2000, 2500}, {2600, 3300}, {5000, 5400}, {4000, 4600}, {8000, 8700}};

} // namespace

TEST_F(PlayerTest, playThroughJoinsShowsEveryPieceAndNothingElse)
{
    m_player->setItem(item(movie(QStringLiteral("a.mov"), 10), joined));
    std::vector<std::pair<double, int>> shown;
    QObject::connect(m_player.get(), &Player::pictureChanged, [&] {
        const double at = m_player->pictureTime().ms();
        shown.emplace_back(at, shownNumber().value_or(-1));
    });
    m_player->play(1);
    ASSERT_TRUE(waitUntil([&] { return m_player->status() == Player::Status::Paused; }));
    EXPECT_EQ(m_player->position().ms(), 3600);

    for (size_t i = 0; i + 1 < shown.size(); ++i) // The last is looked at again when playing ends.
        EXPECT_EQ(shown[i].second, frameAt(sourceMs(joined, shown[i].first))) << "at " << shown[i].first << " ms";
    EXPECT_GE(shown.size(), 80u) << "of 108 pictures";
    // The movie's last kept picture stays.
    EXPECT_EQ(shownNumber(), frameAt(8699));
}

TEST_F(PlayerTest, seekAnywhereShowsThatExactFrame)
{
    m_player->setItem(item(movie(QStringLiteral("a.mov"), 10), joined));
    std::minstd_rand random(7);
    for (int i = 0; i < 30; ++i) {
        const double at = double(random() % 3600);
        ASSERT_TRUE(seekAndWait(at));
        EXPECT_EQ(shownNumber(), frameAt(sourceMs(joined, at))) << "at " << at << " ms";
        EXPECT_EQ(m_player->position().ms(), at);
    }
    ASSERT_TRUE(seekAndWait(99'000));
    EXPECT_EQ(shownNumber(), frameAt(8699));
    EXPECT_EQ(m_player->status(), Player::Status::Paused);
}

TEST_F(PlayerTest, seekOvertakenByLaterOnesSaysSoAndTheLastOneIsShown)
{
    m_player->setItem(item(movie(QStringLiteral("a.mov"), 10), {{0, 10'000}}));
    int finished = 0;
    int overtaken = 0;
    for (int i = 0; i < 60; ++i) {
        m_player->seek(MediaTime::fromMs(100 + i * 150), [&](bool done) { ++(done ? finished : overtaken); });
        wait(i % 3);
    }
    ASSERT_TRUE(waitUntil([&] { return finished + overtaken == 60; }));
    EXPECT_GE(finished, 1);
    EXPECT_EQ(shownNumber(), frameAt(100 + 59 * 150));
}

TEST_F(PlayerTest, pauseStaysOnTheFrameThatIsHeard)
{
    m_player->setItem(item(movie(QStringLiteral("a.mov"), 10), joined));
    for (const int playMs : {230, 410, 650}) {
        m_player->play(1);
        wait(playMs);
        m_player->pause();
        const double at = m_player->position().ms();
        EXPECT_TRUE(waitUntil([&] { return shownNumber() == frameAt(sourceMs(joined, at)); }, 1000)) << at;
        wait(50);
        EXPECT_EQ(m_player->position().ms(), at) << "a paused player stays";
    }
}

TEST_F(PlayerTest, playPictureAndSoundStayTogether)
{
    m_player->setItem(item(movie(QStringLiteral("a.mov"), 10), {{0, 10'000}}));
    ASSERT_TRUE(waitUntil([&] { return m_player->isAudible(); }));
    m_player->play(1);
    wait(250);
    struct Look {
        int64_t heardBefore; ///< Frames, before and after the clock was read: the test may be held up in between.
        double position;
        double picture;
        double positionAfter;
        int64_t heardAfter;
    };
    std::vector<Look> looks;
    for (int i = 0; i < 20; ++i) {
        wait(80 + i * 7);
        const AudioOutput* device = m_ear->current;
        Look look{};
        look.heardBefore = device->position().frames;
        look.position = m_player->position().ms();
        look.picture = m_player->pictureTime().ms();
        look.positionAfter = m_player->position().ms();
        look.heardAfter = device->position().frames;
        looks.push_back(look);
    }
    m_player->pause();

    const SoundCode code(1);
    int inTime = 0;
    const std::lock_guard lock(m_ear->mutex);
    for (const Look& look : looks) {
        ASSERT_GE(look.heardBefore, 4096);
        const std::span<const float> window(m_ear->left.data() + look.heardBefore - 4096, 4096);
        const std::optional<double> begin = code.findPosition(window, 48000, 0, 48000 * 10);
        if (!begin)
            continue; // The start of playing lies inside the window.
        const double heardMs = (*begin + 4096) / 48.0;
        EXPECT_GE(look.position, heardMs - 12) << "what is heard is what the clock says";
        EXPECT_LE(look.position, heardMs + double(look.heardAfter - look.heardBefore) / 48.0 + 12);
        EXPECT_LE(look.picture, look.positionAfter + 20) << "no picture is early";
        // A picture is on show from its start for one frame. On a busy machine some are late.
        inTime += look.position - look.picture - frameMs <= 20 ? 1 : 0;
    }
    EXPECT_GE(inTime, 5);
}

TEST_F(PlayerTest, setItemAThousandTimesWhilePlayingNeverShowsARemovedFrame)
{
    const std::shared_ptr<const Asset> asset = movie(QStringLiteral("a.mov"), 10);
    m_player->setItem(item(asset, {{0, 10'000}}));
    m_player->play(1);
    wait(200);
    int removedShown = 0;
    int cutMs = 10'000;
    QObject::connect(m_player.get(), &Player::pictureChanged, [&] {
        const int number = shownNumber().value_or(0);
        removedShown += number >= frameAt(5000) && number < frameAt(cutMs);
    });
    int finished = 0;
    wait(500);
    const int threads = threadCount();
    for (int i = 0; i < 1000; ++i) {
        cutMs = 6000 + i % 40 * 50;
        const MediaTime at = std::min(m_player->position(), MediaTime{4'000'000});
        m_player->setItem(item(asset, {{0, 5000}, {cutMs, 10'000}}), at, [&](bool done) { finished += done; });
        if (i % 10 == 0)
            wait(2);
    }
    EXPECT_TRUE(waitUntil([&] { return m_player->status() == Player::Status::Playing; }));
    EXPECT_GE(finished, 1);
    EXPECT_EQ(removedShown, 0);
    const double before = m_player->position().ms();
    wait(300);
    EXPECT_GT(m_player->position().ms(), before + 150) << "plays on";
    EXPECT_LE(threadCount(), threads + 8) << "no more than a second decoder's";
}

TEST_F(PlayerTest, editsElsewhereWhilePlayingAreNeitherHeardNorSeen)
{
    const std::shared_ptr<const Asset> asset = movie(QStringLiteral("a.mov"), 10);
    ASSERT_TRUE(waitUntil([&] { return m_player->isAudible(); }));
    // One piece is cut out behind the playhead and one ahead, both other ones with every edit.
    int behindMs = 0;
    const auto edited = [&](int cutMs, int aheadMs) {
        behindMs = cutMs;
        return item(asset, {{0, 500}, {500 + cutMs, 8000}, {8000 + aheadMs, 10'000}});
    };
    m_player->setItem(edited(300, 100), MediaTime::fromMs(1000));
    ASSERT_TRUE(waitUntil([&] { return m_player->picture() != nullptr; }));
    int backwards = 0;
    int last = 0;
    QObject::connect(m_player.get(), &Player::pictureChanged, [&] {
        backwards += shownNumber().value_or(-1) < last;
        last = shownNumber().value_or(0);
    });
    m_player->play(1);
    ASSERT_TRUE(waitUntil([&] { return m_player->position().ms() > 1200; }));
    int updated = 0;
    for (int i = 0; i < 30; ++i) {
        const MediaTime source = m_player->position() + MediaTime::fromMs(behindMs);
        const std::shared_ptr<const PlayerItem> next = edited(100 + i * 17 % 300, i * 13 % 400);
        m_player->setItem(next, source - MediaTime::fromMs(behindMs + 20), [&](bool done) { updated += done; });
        EXPECT_EQ(m_player->status(), Player::Status::Playing);
        EXPECT_NEAR(m_player->position().ms() + behindMs, source.ms(), 20);
        wait(70);
    }
    EXPECT_EQ(updated, 30);
    EXPECT_EQ(backwards, 0);
    EXPECT_NEAR(last, frameAt(m_player->position().ms() + behindMs), 8);
    m_player->pause();

    // The sound is the source's own from where playing began, sample by sample.
    std::vector<float> wanted(size_t(48'000) * 2 * 2);
    const auto whole = item(asset, {{0, 10'000}});
    AudioMixer mixer(whole->composition->audio, {});
    ASSERT_TRUE(!mixer.isSilent() && mixer.mix(1300 * 48, 48'000 * 2, wanted.data()));
    const std::lock_guard lock(m_ear->mutex);
    const auto loud = std::find_if(m_ear->left.begin(), m_ear->left.end(), [](float value) { return value != 0; });
    const auto from = size_t(loud - m_ear->left.begin());
    ASSERT_GT(m_ear->left.size(), from + 48'000 * 2);
    for (size_t i = 240; i < 48'000 * 2; ++i) // After the fade, whose first sample is nothing.
        ASSERT_EQ(m_ear->left[from + i - 1], wanted[2 * i]) << "at sample " << i;
}

TEST_F(PlayerTest, cutJustAheadWhilePlayingIsHeardAsEdited)
{
    const std::shared_ptr<const Asset> asset = movie(QStringLiteral("a.mov"), 10);
    ASSERT_TRUE(waitUntil([&] { return m_player->isAudible(); }));
    m_player->setItem(item(asset, {{0, 10'000}}));
    m_player->play(1);
    ASSERT_TRUE(waitUntil([&] { return m_player->position().ms() > 600; }));
    std::vector<int> shown;
    QObject::connect(m_player.get(), &Player::pictureChanged, [&] { shown.push_back(shownNumber().value_or(-1)); });
    const Pieces cut{{0, 1000}, {5000, 10'000}};
    m_player->setItem(item(asset, cut), m_player->position());
    ASSERT_TRUE(waitUntil([&] { return m_player->position().ms() > 1800; }));
    m_player->pause();
    for (const int number : shown)
        EXPECT_TRUE(number < frameAt(1000) || number >= frameAt(5000)) << number;

    std::vector<float> wanted(size_t(1500) * 48 * 2);
    const auto whole = item(asset, cut);
    AudioMixer mixer(whole->composition->audio, {});
    ASSERT_TRUE(!mixer.isSilent() && mixer.mix(0, 1500 * 48, wanted.data()));
    const std::lock_guard lock(m_ear->mutex);
    const auto loud = [](const auto& sound, size_t step) {
        for (size_t i = 0; i < sound.size(); i += step) {
            if (sound[i] != 0)
                return i / step;
        }
        return sound.size();
    };
    const size_t from = loud(m_ear->left, 1) - loud(wanted, 2);
    for (size_t i = 0; i < 1500 * 48; ++i) // AAC's noise bands depend on where decoding began.
        ASSERT_NEAR(m_ear->left[from + i], wanted[2 * i], 0.003) << "at sample " << i;
}

TEST_F(PlayerTest, scrubBackAndForthShowsLivelyPicturesAndEndsExactly)
{
    m_player->setItem(item(movie(QStringLiteral("a.mov"), 10), {{0, 3000}, {6000, 10'000}}));
    ASSERT_TRUE(seekAndWait(3500));
    std::vector<int> shown;
    QObject::connect(m_player.get(), &Player::pictureChanged, [&] { shown.push_back(shownNumber().value_or(-1)); });
    double at = 0;
    constexpr int last = 120;
    bool landed = false;
    for (int i = 0; i <= last; ++i) {
        at = 3000 + 1500 * std::sin(i / 20.0);
        m_player->seek(MediaTime::fromMs(at), [&landed, i](bool done) { landed = done && i == last; });
        wait(8);
    }
    ASSERT_TRUE(waitUntil([&] { return landed; }));
    EXPECT_EQ(shownNumber(), frameAt(at < 3000 ? at : at + 3000));
    for (const int number : shown)
        EXPECT_TRUE(number < frameAt(3000) || number >= frameAt(6000)) << "cut away: " << number;
    EXPECT_GE(std::set<int>(shown.begin(), shown.end()).size(), 15u);
    wait(300);
    EXPECT_EQ(shownNumber(), frameAt(at < 3000 ? at : at + 3000)) << "and stays";
}

TEST_F(PlayerTest, setItemOfAnotherMovieWhileSeekingShowsOnlyTheNewOne)
{
    const std::shared_ptr<const PlayerItem> first = item(movie(QStringLiteral("a.mov"), 10), {{0, 10'000}});
    const std::shared_ptr<const PlayerItem> second = item(movie(QStringLiteral("b.mov"), 10, 5000), {{0, 10'000}});
    for (int i = 0; i < 20; ++i) {
        m_player->setItem(first);
        for (int k = 0; k < 5; ++k)
            m_player->seek(MediaTime::fromMs(9000 - k * 1700));
        wait(i % 5);
        m_player->setItem(second, MediaTime::fromMs(1000));
        ASSERT_TRUE(waitUntil([&] { return shownNumber() == 5030; }));
        wait(20);
        EXPECT_EQ(shownNumber(), 5030);
    }
}

TEST_F(PlayerTest, playFasterKeepsTheClockAndReachesTheEndInTime)
{
    m_player->setItem(item(movie(QStringLiteral("a.mov"), 10), {{0, 6000}}));
    ASSERT_TRUE(seekAndWait(0));
    for (const double rate : {1.5, 2.0, 3.0}) {
        ASSERT_TRUE(seekAndWait(0));
        QElapsedTimer timer;
        timer.start();
        m_player->play(rate);
        double last = 0;
        while (m_player->status() != Player::Status::Paused && timer.elapsed() < 8000) {
            const double now = m_player->position().ms();
            EXPECT_GE(now, last) << "never backwards";
            last = now;
            wait(5);
        }
        EXPECT_NEAR(double(timer.elapsed()), 6000 / rate, 250) << rate;
    }
}

TEST_F(PlayerTest, setRateWhilePausedDoesNotStartPlaying)
{
    m_player->setItem(item(movie(QStringLiteral("a.mov"), 2), {{0, 2000}}));
    m_player->setRate(2);
    wait(100);
    EXPECT_EQ(m_player->status(), Player::Status::Paused);
    EXPECT_EQ(m_player->position().ms(), 0);
}

TEST_F(PlayerTest, pictureBoxEmptyNothingIsDecoded)
{
    m_player->setPictureBox({});
    m_player->setItem(item(movie(QStringLiteral("a.mov"), 2), {{0, 2000}}));
    ASSERT_TRUE(seekAndWait(500));
    EXPECT_EQ(m_player->picture(), nullptr);
    m_player->setPictureBox({160, 90});
    ASSERT_TRUE(waitUntil([&] { return m_player->picture() != nullptr; }));
    EXPECT_EQ(m_player->picture()->size(), QSize(160, 90));
    EXPECT_EQ(shownNumber(), 15);
}

TEST_F(PlayerTest, pausedPictureIsScaledWithCareAtEverySizeAndWhateverIsMadeAhead)
{
    const std::shared_ptr<const PlayerItem> whole = item(movie(QStringLiteral("a.mov"), 3), {{0, 3000}});
    PictureMaker maker;
    maker.setItem(whole);
    const auto made = [&](int atMs, QSize box, Scaling scaling) {
        const PictureMoment moment = maker.grid().exactAt(MediaTime::fromMs(atMs));
        return *maker.make(moment, box, {PictureMaker::Use::Look, scaling, {}});
    };
    const auto shows = [&](const QImage& wanted) {
        return waitUntil([&] { return m_player->picture() && *m_player->picture() == wanted; });
    };
    struct Case {
        const char* name;
        int atMs;
        bool ahead;
    };
    for (const Case& each : {Case{"seek", 500, false}, Case{"open or edit, which make ahead", 900, true},
             Case{"less is left than what is made ahead", 2900, true}}) {
        for (const QSize box : {QSize(200, 112), QSize(260, 146), QSize(500, 281), QSize(200, 112)}) {
            ASSERT_FALSE(made(each.atMs, box, Scaling::Fine) == made(each.atMs, box, Scaling::Fast));
            m_player->setPictureBox(box); // From the second on, all that is made ahead has been by now.
            if (box == QSize(200, 112)) {
                m_player->setItem(whole, MediaTime::fromMs(each.atMs), [&](bool) {
                    if (each.ahead)
                        m_player->preroll();
                });
            }
            EXPECT_TRUE(shows(made(each.atMs, box, Scaling::Fine))) << each.name << " at width " << box.width();
        }
    }
}

TEST_F(PlayerTest, resizedWhilePlayingEveryPictureThatFollowsHasTheNewSize)
{
    m_player->setItem(item(movie(QStringLiteral("a.mov"), 10), {{0, 10'000}}));
    m_player->play(1);
    ASSERT_TRUE(waitUntil([&] { return m_player->position().ms() > 300; }));
    for (const int width : {160, 480, 240}) {
        m_player->setPictureBox({width, width * 9 / 16});
        ASSERT_TRUE(waitUntil([&] { return m_player->picture()->width() == width; })) << width;
        int others = 0;
        int last = shownNumber().value_or(0);
        int backwards = 0;
        const QMetaObject::Connection looking = QObject::connect(m_player.get(), &Player::pictureChanged, [&] {
            others += m_player->picture()->width() != width;
            backwards += shownNumber().value_or(0) < std::exchange(last, shownNumber().value_or(0));
        });
        const double from = m_player->position().ms();
        ASSERT_TRUE(waitUntil([&] { return m_player->position().ms() > from + 500; }));
        QObject::disconnect(looking);
        EXPECT_EQ(others, 0) << width;
        EXPECT_EQ(backwards, 0) << width;
    }
}

TEST_F(PlayerTest, fileTruncatedWhilePlayingGoesOnToTheEndWithoutIt)
{
    const std::shared_ptr<const Asset> asset = movie(QStringLiteral("a.mov"), 10);
    m_player->setItem(item(asset, {{0, 2000}, {5000, 6000}}));
    m_player->play(2);
    wait(200);
    ASSERT_TRUE(QFile::resize(asset->path(), 20'000));
    EXPECT_TRUE(waitUntil([&] { return m_player->status() == Player::Status::Paused; }));
    EXPECT_EQ(m_player->position().ms(), 3000);
}

TEST_F(PlayerTest, quitAtAnyMomentEndsAtOnceAndLeavesNoThread)
{
    const std::shared_ptr<const PlayerItem> whole = item(movie(QStringLiteral("a.mov"), 10), {{0, 10'000}});
    m_player.reset();
    const int threads = threadCount();
    for (int i = 0; i < 50; ++i) // Its thread has often not begun yet.
        (void)SoundDevice(std::make_shared<SoundRing>(), [] { return std::unique_ptr<AudioOutput>(); });
    for (int i = 0; i < 12; ++i) {
        makePlayer();
        m_player->setItem(whole, MediaTime::fromMs(9900));
        if (i % 2)
            m_player->play(3);
        m_player->seek(MediaTime::fromMs(100 * i));
        wait(i * 3);
        QElapsedTimer timer;
        timer.start();
        m_player.reset();
        EXPECT_LT(timer.elapsed(), 500);
    }
    EXPECT_TRUE(waitUntil([&] { return threadCount() <= threads; }, 3000)) << threadCount() << " of " << threads;
}

TEST_F(PlayerTest, deviceVanishesPlayingGoesOnAndSoundComesBack)
{
    m_player->setItem(item(movie(QStringLiteral("a.mov"), 10), {{0, 10'000}}));
    ASSERT_TRUE(waitUntil([&] { return m_player->isAudible(); }));
    m_player->play(1);
    wait(300);
    m_ear->refusesToOpen = true;
    m_ear->lost = true;
    ASSERT_TRUE(waitUntil([&] { return m_ear->current == nullptr; }));
    const double before = m_player->position().ms();
    wait(500);
    EXPECT_NEAR(m_player->position().ms(), before + 500, 100) << "on the timer";
    EXPECT_FALSE(m_player->isAudible());
    m_ear->lost = false;
    m_ear->refusesToOpen = false;
    EXPECT_TRUE(waitUntil([&] { return m_player->isAudible(); }));
    EXPECT_EQ(m_player->status(), Player::Status::Playing);
}

TEST_F(PlayerTest, deviceThatNeverCallsBackIsLeftAlone)
{
    m_ear->neverCalls = true;
    makePlayer();
    m_player->setItem(item(movie(QStringLiteral("a.mov"), 10), {{0, 10'000}}));
    m_player->play(1);
    ASSERT_TRUE(waitUntil([&] { return m_player->position().ms() > 300; }));
    const double before = m_player->position().ms();
    wait(700);
    EXPECT_NEAR(m_player->position().ms(), before + 700, 100);
    EXPECT_FALSE(m_player->isAudible());
}

TEST_F(PlayerTest, mutedNoDeviceIsOpened)
{
    m_player.reset();
    m_ear->opened = 0;
    makePlayer();
    m_player->setMuted(true);
    m_player->setItem(item(movie(QStringLiteral("a.mov"), 2), {{0, 1000}}));
    m_player->play(1);
    EXPECT_TRUE(waitUntil([&] { return m_player->position().ms() == 1000; }));
    EXPECT_LE(m_ear->opened, 1) << "at most the one that was being opened when it was muted";
    EXPECT_FALSE(m_player->isAudible());
}

} // namespace kelmo
