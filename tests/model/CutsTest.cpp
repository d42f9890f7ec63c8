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

TEST(Cuts, subtractRestoresWhatIsCoveredAndDropsShortRemnants)
{
    struct Case {
        Spans ranges;
        Spans left;
    };
    const Case cases[] = {
        {{{150, 250}}, {{100, 150}, {250, 300}, {400, 405}, {500, 600.4}}},
        {{{0, 100}}, {{100, 300}, {400, 405}, {500, 600.4}}},
        {{{300, 400}}, {{100, 300}, {400, 405}, {500, 600.4}}}, // A short cut that was made so stays.
        {{{200, 450}}, {{100, 200}, {500, 600.4}}},
        {{{0, 900}}, {}},
        {{}, {{100, 300}, {400, 405}, {500, 600.4}}},
        {{{200, 200}, {250, 150}}, {{100, 300}, {400, 405}, {500, 600.4}}},
        {{{100, 300}, {500, 600}}, {{400, 405}}},
        {{{500.4, 590}}, {{100, 300}, {400, 405}, {590, 600.4}}},
        {{{110, 290}}, {{100, 110}, {290, 300}, {400, 405}, {500, 600.4}}},
        {{{109.9, 290.1}}, {{400, 405}, {500, 600.4}}},
        {{{209, 550}, {100, 200}, {300, 301}}, {{550, 600.4}}},
        {{{402, 403}}, {{100, 300}, {500, 600.4}}},
    };
    for (const Case& c : cases) {
        Cuts cuts = cutsOf({{100, 300}, {400, 405}, {500, 600.4}});
        cuts.subtract(c.ranges);
        EXPECT_EQ(cuts.spans, c.left) << "case " << &c - cases;
        EXPECT_EQ(cuts.effective, c.left);
    }
}

TEST(Cuts, setTrimWithinOneMsOfTheEndsTrimsNothing)
{
    struct Case {
        double in;
        double out;
        double keptIn;
        double keptOut;
    };
    const Case cases[] = {
        {0, forever, 0, forever},
        {-5, 10'500, 0, forever},
        {0.9, 9999.4, 0, forever},
        {1, 9998.9, 1, 9998.9},
    };
    for (const Case& c : cases) {
        Cuts cuts;
        cuts.setTrim(c.in, c.out, 10'000);
        EXPECT_EQ(cuts.trimIn, c.keptIn) << c.in;
        EXPECT_EQ(cuts.trimOut, c.keptOut) << c.out;
        EXPECT_EQ(cuts.effective.empty(), !cuts.isTrimmed());
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
