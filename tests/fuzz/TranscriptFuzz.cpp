#include "model/Transcript.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <cmath>
#include <cstdlib>

using namespace kelmo;

namespace {

void require(bool condition)
{
    if (!condition)
        std::abort();
}

/// The words of a text that decodes, as another reader of JSON sees them.
std::vector<Word> wordsByQt(const QByteArray& utf8)
{
    std::vector<Word> words;
    for (const QJsonValue each : QJsonDocument::fromJson(utf8).object().value(QLatin1String("words")).toArray()) {
        const QJsonValue confidence = each[QLatin1String("confidence")];
        const Word word{each[QLatin1String("text")].toString(), each[QLatin1String("startMs")].toDouble(),
            each[QLatin1String("endMs")].toDouble(),
            confidence.isDouble() ? std::optional(confidence.toDouble()) : std::nullopt};
        if (word.isValid())
            words.push_back(word);
    }
    std::ranges::stable_sort(words, {}, &Word::startMs);
    return words;
}

/// Whether its numbers, written as whole ones, have few enough digits for any reader.
bool isModest(const Word& word)
{
    constexpr double most = 1e18;
    return std::abs(word.startMs) < most && std::abs(word.endMs) < most && std::abs(word.confidence.value_or(0)) < most;
}

} // namespace

// Whatever a transcript file holds, the words that come out are usable, finite and sorted; they are the ones that
// another reader sees, and the same when written down and read again.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray utf8(reinterpret_cast<const char*>(data), qsizetype(size));
    const auto transcript = Transcript::decode(utf8);
    if (!transcript)
        return 0;
    double before = -HUGE_VAL;
    QJsonArray written;
    for (const Word& word : transcript->words) {
        require(std::isfinite(word.startMs) && std::isfinite(word.endMs));
        require(word.startMs <= word.endMs && before <= word.startMs);
        before = word.startMs;
        written.append(word.toJson());
    }
    require(transcript->words == wordsByQt(utf8));
    if (!std::ranges::all_of(transcript->words, isModest))
        return 0;
    const auto again = Transcript::decode(QJsonDocument(QJsonObject{{QStringLiteral("words"), written}}).toJson());
    require(again && again->words == transcript->words);
    return 0;
}
