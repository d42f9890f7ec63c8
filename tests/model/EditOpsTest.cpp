#include "model/EditOps.h"

#include "model/Cuts.h"
#include "platform/MonotonicClock.h"

#include <gtest/gtest.h>

using namespace kelmo;

namespace {

using Spans = std::vector<Span>;
using Words = std::vector<Word>;

Words wordsAt(const Spans& times)
{
    Words words;
    for (const Span& time : times)
        words.push_back({QStringLiteral("w"), time.start, time.end, std::nullopt});
    return words;
}

Words wordsOf(const QStringList& texts)
{
    Words words;
    for (const QString& text : texts) {
        const double start = 500.0 * static_cast<double>(words.size());
        words.push_back({text, start, start + 300, std::nullopt});
    }
    return words;
}

} // namespace

TEST(EditOps, spanPadsIntoSilenceAndSparesNeighbours)
{
    struct Case {
        const char* what;
        Spans words;
        int lo;
        int hi;
        std::optional<double> duration;
        Span expected;
    };
    const Case cases[] = {
        {"wide gaps", {{0, 400}, {600, 900}, {1100, 1500}}, 1, 1, 5000, {445, 1000}},
        {"narrow gap before", {{0, 400}, {430, 900}, {1100, 1500}}, 1, 1, 5000, {400, 1000}},
        {"small wide-enough gap before", {{0, 400}, {460, 900}, {1100, 1500}}, 1, 1, 5000, {410, 1000}},
        {"no gap after", {{0, 400}, {600, 900}, {900, 1500}}, 1, 1, 5000, {445, 900}},
        {"narrow gap after", {{0, 400}, {600, 900}, {930, 1500}}, 1, 1, 5000, {445, 930}},
        {"first word", {{300, 400}, {600, 900}}, 0, 0, 5000, {0, 500}},
        {"last word", {{0, 400}, {600, 900}}, 1, 1, 5000, {445, 5000}},
        {"last word, duration unknown", {{0, 400}, {600, 900}}, 1, 1, std::nullopt, {445, 900}},
        {"whole take", {{100, 400}, {600, 900}}, 0, 1, 5000, {0, 5000}},
        {"overlapped by a long word", {{0, 2000}, {10, 50}, {60, 90}}, 1, 1, 5000, {60, 70}},
        {"next word begins inside", {{0, 400}, {600, 2000}, {700, 800}}, 1, 1, 5000, {445, 700}},
        {"short next word is spared", {{0, 400}, {600, 990}, {1000, 1005}}, 1, 1, 5000, {445, 985}},
        {"take shorter than its words", {{0, 400}, {600, 900}}, 1, 1, 300, {290, 300}},
        {"halves round away from zero", {{0, 400}, {430.9, 900}, {903.125, 1500}}, 1, 1, 5000, {400, 903}},
    };
    for (const Case& c : cases) {
        const Span span = EditOps::span(wordsAt(c.words), c.lo, c.hi, c.duration);
        EXPECT_TRUE(span == c.expected) << c.what << ": " << span.start << "-" << span.end;
    }
}

TEST(EditOps, isCutNeedsMoreThanHalfTheWord)
{
    const Word word{QString(), 1000, 2000, std::nullopt};
    EXPECT_FALSE(EditOps::isCut(word, {{1000, 1500}}));
    EXPECT_TRUE(EditOps::isCut(word, {{1000, 1501}}));
    EXPECT_FALSE(EditOps::isCut(word, {{0, 1250}, {1750, 9000}}));
    EXPECT_TRUE(EditOps::isCut(word, {{0, 1250}, {1500, 1510}, {1750, 9000}}));
    EXPECT_TRUE(EditOps::isCut(word, {{1400, std::numeric_limits<double>::infinity()}}));
    const Word point{QString(), 500, 500, std::nullopt};
    EXPECT_TRUE(EditOps::isCut(point, {{500, 510}}));
    EXPECT_FALSE(EditOps::isCut(point, {{0, 10}, {490, 500}}));
    EXPECT_FALSE(EditOps::isCut(point, {}));
}

TEST(EditOps, runsGroupNeighboursAndTakeRepeatsAsGiven)
{
    using Runs = std::vector<EditOps::IndexRange>;
    EXPECT_EQ(EditOps::runs({5, 3, 4, 9}), (Runs{{3, 5}, {9, 9}}));
    EXPECT_EQ(EditOps::runs({2, 2, 3}), (Runs{{2, 2}, {2, 3}}));
    EXPECT_TRUE(EditOps::runs({}).empty());
}

TEST(EditOps, normKeepsLowerCaseLettersAndTheStraightApostrophe)
{
    const std::pair<const char*, const char*> cases[] = {{"Um,", "um"}, {"UHH...", "uhh"}, {"Um-hum", "umhum"},
        {"Ähm", "ähm"}, {"Don't 2", "don't"}, {"don’t", "dont"}, {"ªº", ""}, {"中文", ""}, {"𝐔𐐀x", "𐐨x"}, {"", ""}};
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(EditOps::norm(QString::fromUtf8(text)), QString::fromUtf8(expected)) << text;
}

TEST(EditOps, fillerIndicesFindUncutFillersOnly)
{
    const Words words
        = wordsOf({QStringLiteral("Um,"), QStringLiteral("so"), QStringLiteral("UHM…"), QStringLiteral("Ähm"),
            QStringLiteral("like"), QStringLiteral("Hmm?"), QStringLiteral("Um-hum"), QStringLiteral("er")});
    EXPECT_EQ(EditOps::fillerIndices(words, {}), (std::vector<int>{0, 2, 5, 7}));
    EXPECT_EQ(EditOps::fillerIndices(words, {{900, 1200}, {3500, 3600}}), (std::vector<int>{0, 5, 7}));
}

TEST(EditOps, tightenSpansShrinksLongPausesToTheTarget)
{
    const Words words = wordsAt({{1000, 1400}, {1800, 2000}, {2401, 2600}, {5000, 5200}});
    // The first pause is 400 ms exactly and stays.
    EXPECT_EQ(
        EditOps::tightenSpans(words, {}, 7000, 400, 150), (Spans{{0, 850}, {2090, 2341}, {2690, 4940}, {5350, 7000}}));
    // What is already cut is no silence, and a cut word is no neighbour.
    EXPECT_EQ(
        EditOps::tightenSpans(words, {{0, 900}, {1750, 2450}, {2700, 4900}, {5300, 6900}}, 7000, 400, 150), (Spans{}));
    EXPECT_EQ(
        EditOps::tightenSpans(words, {{1800, 2000}}, 5300, 400, 150), (Spans{{0, 850}, {1490, 2341}, {2690, 4940}}));
    EXPECT_TRUE(EditOps::tightenSpans(words, {{0, 6000}}, 7000, 400, 150).empty());
    EXPECT_TRUE(EditOps::tightenSpans(words, {}, 0, 400, 5000).empty());
}

TEST(EditOps, trimWordsFindTheirOwnBoundariesAgain)
{
    const Words words = wordsAt({{1000, 1400}, {1800, 2000}, {2401, 2600}, {5000, 5200}});
    const double duration = 6000;
    for (int i = 0; i < 4; ++i) {
        const double in = EditOps::trimInBefore(i, words, duration);
        const double out = EditOps::trimOutAfter(i, words, duration);
        EXPECT_EQ(EditOps::trimInWord(in + 0.9, words, duration), i);
        EXPECT_EQ(EditOps::trimInWord(in + 1.1, words, duration), std::nullopt);
        EXPECT_EQ(EditOps::trimOutWord(out - 0.9, words, duration), i);
        EXPECT_EQ(EditOps::trimOutWord(out - 1.1, words, duration), std::nullopt);
    }
    EXPECT_EQ(EditOps::trimInBefore(0, words, duration), 850);
    EXPECT_EQ(EditOps::trimInBefore(1, words, duration), 1700);
    EXPECT_EQ(EditOps::trimOutAfter(3, words, duration), 5350);
    EXPECT_EQ(EditOps::trimOutAfter(0, words, duration), 1445);
}

TEST(EditOps, trimIndexOutOfRangeGivesTheEndsOfTheTake)
{
    const Words words = wordsAt({{100, 1400}, {1800, 5950}});
    EXPECT_EQ(EditOps::trimInBefore(-3, words, 6000), 0);
    EXPECT_EQ(EditOps::trimInBefore(2, words, 6000), 6000);
    EXPECT_EQ(EditOps::trimOutAfter(-1, words, 6000), 0);
    EXPECT_EQ(EditOps::trimOutAfter(9, words, 6000), 6000);
    EXPECT_EQ(EditOps::trimInBefore(5, {}, 6000), 0);
    EXPECT_EQ(EditOps::trimOutAfter(-5, {}, 6000), 6000);
    EXPECT_EQ(EditOps::trimInWord(0, {}, 6000), std::nullopt);
    EXPECT_EQ(EditOps::trimOutWord(6000, {}, 6000), std::nullopt);
}

// Three hours of speech with a thousand cuts. Words times spans would take seconds here, so the limit is generous
// and still tells the two apart.
TEST(EditOps, passOverALongTakeStaysNearLinear)
{
    Words words;
    Cuts cuts;
    Spans spans;
    for (int i = 0; i < 25'000; ++i) {
        const double start = i * 430.0;
        words.push_back({i % 9 ? QStringLiteral("Word,") : QStringLiteral("Um,"), start, start + 300, std::nullopt});
        if (i % 25 == 0)
            spans.push_back({start - 20, start + 310});
    }
    cuts.add(spans);
    const double duration = 25'000 * 430.0;
    const double before = MonotonicClock::nowMs();
    const auto fillers = EditOps::fillerIndices(words, cuts.effective);
    const auto pauses = EditOps::tightenSpans(words, cuts.effective, duration, 100, 50);
    const auto in = EditOps::trimInWord(EditOps::trimInBefore(24'000, words, duration), words, duration);
    const auto out = EditOps::trimOutWord(EditOps::trimOutAfter(1000, words, duration), words, duration);
    const double elapsed = MonotonicClock::nowMs() - before;
    EXPECT_EQ(fillers.size(), 2778U - 112U);
    // Between all kept words, before the first and after the last.
    EXPECT_EQ(pauses.size(), 24'000U + 1U);
    EXPECT_EQ(in, 24'000);
    EXPECT_EQ(out, 1000);
    EXPECT_LT(elapsed, 300);
    RecordProperty("elapsedMs", QString::number(elapsed).toStdString());
}
