#include "agent/JsonText.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QLocale>

#include <charconv>

namespace kelmo {

namespace {

bool needsNoEscape(const QString& text)
{
    return std::all_of(text.begin(), text.end(),
        [](QChar c) { return c >= QChar(' ') && c < QChar(0x7f) && c != QChar('"') && c != QChar('\\'); });
}

bool isNumberPart(char c) { return (c >= '0' && c <= '9') || c == '-' || c == '+' || c == '.' || c == 'e' || c == 'E'; }

// The position after the string that starts at `from`.
qsizetype stringEnd(const QByteArray& json, qsizetype from)
{
    for (qsizetype i = from + 1; i < json.size(); ++i) {
        if (json[i] == '\\')
            ++i;
        else if (json[i] == '"')
            return i + 1;
    }
    return json.size();
}

qsizetype blanksEnd(const QByteArray& json, qsizetype from)
{
    while (from < json.size() && (json[from] == ' ' || json[from] == '\t' || json[from] == '\n' || json[from] == '\r'))
        ++from;
    return from;
}

QByteArray numberFrom(const QByteArray& json, qsizetype from)
{
    qsizetype end = from;
    while (end < json.size() && isNumberPart(json[end]))
        ++end;
    return json.sliced(from, end - from);
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

qsizetype digitsEnd(QByteArrayView text, qsizetype from)
{
    while (from < text.size() && isDigit(text[from]))
        ++from;
    return from;
}

// The position after the number that starts at `from`; nothing when it is not strict.
std::optional<qsizetype> strictNumberEnd(QByteArrayView json, qsizetype from)
{
    const auto at = [&](qsizetype i) { return i < json.size() ? json[i] : '\0'; };
    const qsizetype first = at(from) == '-' ? from + 1 : from;
    qsizetype end = digitsEnd(json, first);
    if (end == first || (at(first) == '0' && end > first + 1))
        return std::nullopt;
    if (at(end) == '.') {
        const qsizetype fraction = end + 1;
        end = digitsEnd(json, fraction);
        if (end == fraction)
            return std::nullopt;
    }
    if (at(end) == 'e' || at(end) == 'E') {
        const qsizetype exponent = end + (at(end + 1) == '-' || at(end + 1) == '+' ? 2 : 1);
        end = digitsEnd(json, exponent);
        if (end == exponent)
            return std::nullopt;
    }
    return isNumberPart(at(end)) ? std::nullopt : std::optional(end);
}

bool isHexDigit(char c) { return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

// The position after the string whose text starts at `from`; nothing when it is not strict.
std::optional<qsizetype> strictStringEnd(QByteArrayView json, qsizetype from)
{
    for (qsizetype i = from; i < json.size(); ++i) {
        if (json[i] == '"')
            return i + 1;
        if (static_cast<unsigned char>(json[i]) < ' ')
            return std::nullopt;
        if (json[i] != '\\')
            continue;
        ++i;
        const QByteArrayView escape = json.sliced(i);
        if (escape.startsWith('u')) {
            if (escape.size() < 5 || !std::all_of(escape.begin() + 1, escape.begin() + 5, isHexDigit))
                return std::nullopt;
        } else if (escape.isEmpty() || !QByteArrayView("\"\\/bfnrt").contains(escape.front())) {
            return std::nullopt;
        }
    }
    return std::nullopt;
}

} // namespace

QByteArray JsonText::object(const QJsonObject& object) { return QJsonDocument(object).toJson(QJsonDocument::Compact); }

QByteArray JsonText::string(const QString& text)
{
    QByteArray json;
    appendString(json, text);
    return json;
}

void JsonText::appendString(QByteArray& json, const QString& text)
{
    if (needsNoEscape(text)) {
        json += '"';
        json += text.toLatin1();
        json += '"';
        return;
    }
    const QByteArray list = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    json += QByteArrayView(list).sliced(1, list.size() - 2);
}

void JsonText::appendNumber(QByteArray& json, double value)
{
    // In this range the standard library writes what Qt writes, several times as fast. Beyond it the two choose
    // differently between plain digits and an exponent.
    constexpr double plainFrom = 1e-4;
    constexpr double plainUpTo = 9007199254740992.0;
    const double size = std::abs(value);
    if (!std::isfinite(value)) {
        json += "null";
    } else if (size == 0 || (size >= plainFrom && size <= plainUpTo)) {
        std::array<char, 32> digits;
        // Zero may have a sign, which JSON's readers would see and Qt's writer drops.
        const auto written
            = std::to_chars(digits.begin(), digits.end(), size == 0 ? 0 : value, std::chars_format::fixed);
        json.append(digits.data(), written.ptr - digits.data());
    } else {
        json += QByteArray::number(value, 'g', QLocale::FloatingPointShortest);
    }
}

QByteArray JsonText::quoted(const QByteArray& text)
{
    const auto isEscaped = [](char c) { return c == '"' || c == '\\'; };
    const auto escapes = std::count_if(text.begin(), text.end(), isEscaped);
    QByteArray quoted(text.size() + escapes + 2, Qt::Uninitialized);
    char* to = quoted.data();
    *to++ = '"';
    for (const char c : text) {
        if (isEscaped(c))
            *to++ = '\\';
        *to++ = c;
    }
    *to = '"';
    return quoted;
}

bool JsonText::isStrict(QByteArrayView json)
{
    for (qsizetype i = 0; i < json.size();) {
        std::optional<qsizetype> end = i + 1;
        if (json[i] == '"')
            end = strictStringEnd(json, i + 1);
        else if (json[i] == '-' || json[i] == '+' || json[i] == '.' || isDigit(json[i]))
            end = strictNumberEnd(json, i);
        if (!end)
            return false;
        i = *end;
    }
    return true;
}

QByteArray JsonText::numberAt(const QByteArray& json, QByteArrayView key)
{
    QByteArray number;
    int depth = 0;
    for (qsizetype i = 0; i < json.size(); ++i) {
        const char c = json[i];
        if (c == '{' || c == '[')
            ++depth;
        if (c == '}' || c == ']')
            --depth;
        if (c != '"')
            continue;
        const qsizetype end = stringEnd(json, i);
        const qsizetype colon = blanksEnd(json, end);
        const bool isKey = depth == 1 && colon < json.size() && json[colon] == ':';
        if (isKey && QByteArrayView(json).sliced(i, end - i).sliced(1).chopped(1) == key)
            number = numberFrom(json, blanksEnd(json, colon + 1));
        i = end - 1;
    }
    return number;
}

} // namespace kelmo
