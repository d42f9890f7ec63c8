#include "model/Cuts.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace kelmo;

namespace {

using Spans = std::vector<Span>;
constexpr double forever = std::numeric_limits<double>::infinity();

Cuts cutsOf(const Spans& spans)
{
    Cuts cuts;
    cuts.add(spans);
    return cuts;
}

} // namespace

TEST(Cuts, addRangesMergesWhatOverlapsOrTouches)
{
    EXPECT_EQ(cutsOf({{500, 500}, {700, 600}}), Cuts());
    EXPECT_EQ(cutsOf({{100, 200}, {200, 300}}).spans, (Spans{{100, 300}}));
    EXPECT_EQ(cutsOf({{50, 60}, {0, 10}, {5, 40}, {6, 7}}).spans, (Spans{{0, 40}, {50, 60}}));
    Cuts cuts = cutsOf({{0, 10}, {20, 30}});
    cuts.add({{9, 20}});
    EXPECT_EQ(cuts.spans, (Spans{{0, 30}}));
    EXPECT_EQ(cuts.effective, cuts.spans);
}

TEST(Cuts, subtractRangeRestoresOnlyWhatItCovers)
{
    struct Case {
        Span range;
        Spans left;
    };
    const Case cases[] = {
        {{150, 250}, {{100, 150}, {250, 300}, {400, 500}}},
        {{0, 100}, {{100, 300}, {400, 500}}},
        {{300, 400}, {{100, 300}, {400, 500}}},
        {{200, 450}, {{100, 200}, {450, 500}}},
        {{0, 900}, {}},
        {{200, 200}, {{100, 300}, {400, 500}}},
        {{250, 150}, {{100, 300}, {400, 500}}},
    };
    for (const Case& c : cases) {
        Cuts cuts = cutsOf({{100, 300}, {400, 500}});
        cuts.subtract(c.range);
        EXPECT_EQ(cuts.spans, c.left) << c.range.start << "-" << c.range.end;
        EXPECT_EQ(cuts.effective, c.left);
    }
}

TEST(Cuts, refreshTrimHidesCutsAndGivesThemBack)
{
    Cuts cuts = cutsOf({{500, 800}, {9000, 9500}});
    const Cuts before = cuts;
    cuts.trimIn = 1000;
    cuts.trimOut = 9200;
    cuts.refresh();
    EXPECT_EQ(cuts.effective, (Spans{{0, 1000}, {9000, forever}}));
    EXPECT_EQ(cuts.spans, before.spans);
    EXPECT_EQ(cuts.keep(10'000), (Spans{{1000, 9000}}));
    cuts.trimIn = 0;
    cuts.trimOut = Cuts::noTrimOut;
    cuts.refresh();
    EXPECT_EQ(cuts, before);
}

TEST(Cuts, keepDropsPiecesShorterThanTwentyMs)
{
    EXPECT_EQ(cutsOf({{0, 1000}, {1010, 2000}}).keep(10'000), (Spans{{2000, 10'000}}));
    EXPECT_EQ(cutsOf({{20, 1000}}).keep(1020), (Spans{{0, 20}, {1000, 1020}}));
    EXPECT_EQ(cutsOf({{5000, 6000}}).keep(5500), (Spans{{0, 5000}}));
    EXPECT_EQ(cutsOf({{5000, 6000}}).keep(4000), (Spans{{0, 4000}}));
    EXPECT_EQ(Cuts().keep(10'000), (Spans{{0, 10'000}}));
    EXPECT_TRUE(Cuts().keep(10).empty());
    EXPECT_TRUE(Cuts().keep(0).empty());
}

TEST(Cuts, signatureNamesWholeMilliseconds)
{
    Cuts cuts = cutsOf({{1000.7, 2000.2}});
    EXPECT_EQ(cuts.signature(), QStringLiteral("1000-2000"));
    cuts.trimIn = 500.9;
    EXPECT_EQ(cuts.signature(), QStringLiteral("1000-2000|trim 500-end"));
    EXPECT_EQ(cutsOf({{30'000'000.5, 40'000'000}, {0.9, 2}}).signature(), QStringLiteral("0-2,30000000-40000000"));
    Cuts tail;
    EXPECT_EQ(tail.signature(), QString());
    tail.trimOut = 61'000;
    EXPECT_EQ(tail.signature(), QStringLiteral("|trim 0-61000"));
}

TEST(Span, fromJsonNeedsTwoNumbers)
{
    EXPECT_EQ(Span::fromJson(Span{1.5, 2}.toJson()), (Span{1.5, 2}));
    EXPECT_FALSE(Span::fromJson(QJsonObject{{QStringLiteral("start"), 1}}));
    EXPECT_FALSE(Span::fromJson(QJsonObject{{QStringLiteral("start"), 1}, {QStringLiteral("end"), true}}));
    EXPECT_FALSE(Span::fromJson(QJsonValue(3)));
}
