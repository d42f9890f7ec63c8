#include "agent/TranscriptDocument.h"

#include "agent/EditJson.h"
#include "agent/JsonText.h"

namespace kelmo {

namespace {

// What one word takes at most in a usual transcript; too little only costs a reallocation.
constexpr qsizetype bytesPerWord = 112;

} // namespace

TranscriptDocument::TranscriptDocument(const Editor& editor)
    : m_take(editor.take() ? std::optional(editor.take()->base) : std::nullopt)
    , m_sourceDurationMs(editor.sourceDurationMs())
    , m_words(editor.words())
    , m_cuts(editor.cuts())
    , m_timeline(editor.timeline())
{
}

QByteArray TranscriptDocument::json() const
{
    QByteArray json = JsonText::object({
        {QStringLiteral("take"), m_take ? QJsonValue(*m_take) : QJsonValue()},
        {QStringLiteral("sourceDurationMs"), std::round(m_sourceDurationMs)},
        {QStringLiteral("editedDurationMs"), std::round(m_timeline.durationMs)},
        {QStringLiteral("cuts"), EditJson::roundedPairs(m_cuts.spans)},
        {QStringLiteral("trim"), EditJson::trim(m_cuts, m_sourceDurationMs)},
        {QStringLiteral("keep"), EditJson::roundedPairs(m_timeline.keep)},
    });
    // "words" sorts behind all the other keys, so it can be written at the end.
    json.chop(1);
    return json + ",\"words\":" + wordsJson() + '}';
}

QByteArray TranscriptDocument::wordsJson() const
{
    QByteArray json("[");
    json.reserve(static_cast<qsizetype>(m_words.size()) * bytesPerWord);
    for (size_t i = 0; i < m_words.size(); ++i) {
        const Word& word = m_words[i];
        json += i == 0 ? "{\"cut\":" : ",{\"cut\":";
        json += EditOps::isCut(word, m_cuts.effective) ? "true" : "false";
        json += ",\"endMs\":";
        JsonText::appendNumber(json, word.endMs);
        json += ",\"i\":";
        json += QByteArray::number(static_cast<qint64>(i));
        json += ",\"startMs\":";
        JsonText::appendNumber(json, word.startMs);
        json += ",\"text\":";
        JsonText::appendString(json, word.text);
        json += '}';
    }
    return json + ']';
}

} // namespace kelmo
