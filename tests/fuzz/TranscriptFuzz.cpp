#include "model/Transcript.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <cmath>
#include <cstdlib>

using namespace kelmo;

namespace {

void require(bool condition)
{
    if (!condition)
        std::abort();
}

} // namespace

// Whatever a transcript file holds, the words that come out are usable: finite, sorted, and the same when written down
// and read again.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const auto transcript = Transcript::decode(QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)));
    if (!transcript)
        return 0;
    double before = -HUGE_VAL;
    for (const Word& word : transcript->words) {
        require(std::isfinite(word.startMs) && std::isfinite(word.endMs));
        require(word.startMs <= word.endMs && before <= word.startMs);
        before = word.startMs;
    }
    QJsonArray written;
    for (const Word& word : transcript->words)
        written.append(word.toJson());
    const auto again = Transcript::decode(QJsonDocument(QJsonObject{{QStringLiteral("words"), written}}).toJson());
    require(again && again->words == transcript->words);
    return 0;
}
