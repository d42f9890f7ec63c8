#include "views/timeline/Filmstrip.h"

#include "tests/editor/EditorFixture.h"
#include "tools/moviemaker/FrameCode.h"

#include <QSignalSpy>

namespace kelmo {

namespace {

/// A film strip beside an editor that loads its takes: two pictures a second, each with its number.
class FilmstripTest : public EditorFixture {
protected:
    void open(const QString& base, int seconds)
    {
        m_takes.makeMovie(base, seconds);
        openLoaded(base);
        m_strip.use(m_editor->take()->screenURL, m_editor->loaded());
    }

    void fill(const std::vector<double>& times)
    {
        m_strip.request(times);
        ASSERT_TRUE(waitUntil([&] { return !m_strip.isWorking(); }));
    }

    /// The number in the picture shown for a moment, -1 for none.
    [[nodiscard]] int number(double ms) const { return numberIn(m_strip.image(ms)); }

    [[nodiscard]] static int numberIn(const QImage& image)
    {
        return image.isNull() ? -1 : readFrameCode(image).value_or(-2);
    }

    Filmstrip m_strip;
};

} // namespace

TEST_F(FilmstripTest, requestedPicturesArriveInOrderOnceEach)
{
    open(QStringLiteral("talk"), 20);
    const QSignalSpy arrived(&m_strip, &Filmstrip::changed);
    fill({9100, 2100, 2400, 2600, 15'999});
    constexpr int farFromTheirKey = 2;
    EXPECT_EQ(arrived.count(), 4 + farFromTheirKey) << "two of the moments share a picture";
    EXPECT_EQ(number(2100), 4);
    EXPECT_EQ(number(2600), 5);
    EXPECT_EQ(number(9499), 18);
    EXPECT_EQ(number(15'500), 31);
    fill({2100, 9000});
    EXPECT_EQ(arrived.count(), 4 + farFromTheirKey) << "nothing is made twice";
}

TEST_F(FilmstripTest, nearestPictureStandsInForAMissingOneWithinReach)
{
    open(QStringLiteral("talk"), 20);
    fill({3000, 6000});
    const struct {
        double ms;
        double reach;
        int expected;
    } cases[] = {{4400, 2000, 6}, {4600, 2000, 12}, {9000, 3000, 12}, {9000, 2999, -1}, {19'000, 50'000, 12}};
    for (const auto& each : cases)
        EXPECT_EQ(numberIn(m_strip.standIn(each.ms, each.reach)), each.expected) << each.ms << " " << each.reach;
}

TEST_F(FilmstripTest, keyPictureStandsInWhileItsSuccessorIsDecoded)
{
    open(QStringLiteral("talk"), 20); // With a single key picture, the first.
    std::vector<int> shown;
    QObject::connect(&m_strip, &Filmstrip::changed, &m_strip, [&] {
        const QImage own = m_strip.image(15'000);
        shown.push_back(numberIn(own.isNull() ? m_strip.standIn(15'000, 0) : own));
    });
    fill({15'000});
    EXPECT_EQ(shown, (std::vector<int>{0, 30}));
}

TEST_F(FilmstripTest, missingPictureIsTakenFromItsNeighbours)
{
    open(QStringLiteral("talk"), 20);
    fill({5000, 6000});
    EXPECT_EQ(number(5700), 10) << "of two neighbours the earlier";
    EXPECT_EQ(number(4700), 10);
    EXPECT_EQ(number(6700), 12);
    EXPECT_EQ(number(7200), -1) << "two buckets away";
    EXPECT_EQ(number(4400), -1);
}

TEST_F(FilmstripTest, earlierRequestsAreServedFirst)
{
    open(QStringLiteral("talk"), 20);
    std::vector<int> order;
    const std::vector<double> moments{10'000, 18'000, 1000, 5000};
    QObject::connect(&m_strip, &Filmstrip::changed, &m_strip, [&] {
        for (const double ms : moments) {
            const int got = number(ms);
            if (got >= 0 && std::find(order.begin(), order.end(), got) == order.end())
                order.push_back(got);
        }
    });
    m_strip.request({18'000, 10'000});
    m_strip.request({5000, 1000});
    ASSERT_TRUE(waitUntil([&] { return order.size() == moments.size(); }));
    EXPECT_EQ(order, (std::vector<int>{20, 36, 2, 10})) << "by time within a call";
}

TEST_F(FilmstripTest, anotherMovieStartsEmptyAndTheSameOneDoesNot)
{
    open(QStringLiteral("talk"), 20);
    fill({1000});
    openLoaded(QStringLiteral("talk"));
    m_strip.use(m_editor->take()->screenURL, m_editor->loaded());
    EXPECT_EQ(number(1000), 2) << "opened again, the pictures are there";

    m_strip.request({4000, 8000, 12'000});
    open(QStringLiteral("other"), 10); // While those are being made.
    EXPECT_EQ(number(1000), -1);
    fill({1000});
    EXPECT_EQ(number(1000), 2);
    EXPECT_EQ(number(4000), -1) << "what was asked of the old movie is not shown as the new one's";
    m_strip.use(std::nullopt, nullptr);
    EXPECT_EQ(number(1000), -1);
    m_strip.request({1000});
    EXPECT_FALSE(m_strip.isWorking()) << "there is no movie";
}

TEST_F(FilmstripTest, unreadablePictureStaysEmptyAndIsNotAskedForAgain)
{
    open(QStringLiteral("talk"), 20);
    QFile movie(m_takes.movie(QStringLiteral("talk")));
    ASSERT_TRUE(movie.resize(100)); // As when a disk is taken away.
    fill({1000, 5000});
    EXPECT_EQ(number(1000), -1);
    m_strip.request({1000, 5000});
    EXPECT_FALSE(m_strip.isWorking());
}

TEST_F(FilmstripTest, endsWhileWorking)
{
    open(QStringLiteral("talk"), 20);
    {
        Filmstrip strip;
        strip.use(m_editor->take()->screenURL, m_editor->loaded());
        strip.request({1000, 5000, 9000, 13'000, 17'000});
    }
    wait(50); // For what the worker had under way.
}

} // namespace kelmo
