#include "model/Transcript.h"

#include "model/JsonFile.h"

#include <simdjson.h>

#include <algorithm>
#include <array>

namespace kelmo {

namespace {

using simdjson::dom::array;
using simdjson::dom::element;
using simdjson::dom::object;

/// The values of the keys, in their order, where they are there and not null; of a key's several values the last. One
/// look over the object, for there are many words.
template <size_t count>
std::array<std::optional<element>, count> values(object json, const std::array<std::string_view, count>& keys)
{
    std::array<std::optional<element>, count> found;
    for (const auto field : json) {
        const auto key = std::find(keys.begin(), keys.end(), field.key);
        if (key != keys.end())
            found[size_t(key - keys.begin())]
                = field.value.is_null() ? std::nullopt : std::optional<element>(field.value);
    }
    return found;
}

/// Nothing when there is no value or it is of another type.
template <typename Value> std::optional<Value> as(const std::optional<element>& value)
{
    Value read{};
    return value && value->get(read) == simdjson::SUCCESS ? std::optional(read) : std::nullopt;
}

QString text(std::string_view utf8) { return QString::fromUtf8(utf8.data(), qsizetype(utf8.size())); }

std::optional<Word> decodeWord(element value)
{
    object json;
    if (value.get(json) != simdjson::SUCCESS)
        return std::nullopt;
    const auto [textValue, startValue, endValue, confidenceValue]
        = values<4>(json, {"text", "startMs", "endMs", "confidence"});
    const auto said = as<std::string_view>(textValue);
    const auto start = as<double>(startValue);
    const auto end = as<double>(endValue);
    const auto confidence = as<double>(confidenceValue);
    if (!said || !start || !end || (confidenceValue && !confidence))
        return std::nullopt;
    return Word{text(*said), *start, *end, confidence};
}

std::optional<std::vector<Word>> decodeWords(array list)
{
    std::vector<Word> words;
    words.reserve(list.size());
    for (const element value : list) {
        std::optional<Word> word = decodeWord(value);
        if (!word)
            return std::nullopt;
        if (word->isValid())
            words.push_back(std::move(*word));
    }
    if (!std::ranges::is_sorted(words, {}, &Word::startMs)) // The recorder writes them in order.
        std::ranges::stable_sort(words, {}, &Word::startMs);
    return words;
}

} // namespace

std::optional<Transcript> Transcript::read(const QString& path)
{
    const std::optional<QByteArray> json = JsonFile::read(path);
    return json ? decode(*json) : std::nullopt;
}

std::optional<Transcript> Transcript::decode(const QByteArray& utf8)
{
    // Qt skips this mark in the other files, too.
    const qsizetype mark = utf8.startsWith("\xEF\xBB\xBF") ? 3 : 0;
    // The parser looks a few bytes past the end, and copies a text that has no room there.
    const bool copied = utf8.capacity() < utf8.size() + qsizetype(simdjson::SIMDJSON_PADDING);
    simdjson::dom::parser parser;
    object json;
    if (parser.parse(utf8.constData() + mark, size_t(utf8.size() - mark), copied).get(json) != simdjson::SUCCESS)
        return std::nullopt;
    const auto [wordsValue, timeBaseValue, alignedValue] = values<3>(json, {"words", "timeBase", "aligned"});
    const auto list = as<array>(wordsValue);
    const auto timeBase = as<std::string_view>(timeBaseValue);
    const auto aligned = as<bool>(alignedValue);
    if ((wordsValue && !list) || (timeBaseValue && !timeBase) || (alignedValue && !aligned))
        return std::nullopt;
    std::optional<std::vector<Word>> words = list ? decodeWords(*list) : std::vector<Word>();
    if (!words)
        return std::nullopt;
    return Transcript{std::move(*words), timeBase ? std::optional(text(*timeBase)) : std::nullopt, aligned};
}

} // namespace kelmo
