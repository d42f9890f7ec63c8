#include "agent/HTTPRequestReader.h"

#include <charconv>

namespace kelmo {

namespace {

constexpr QByteArrayView lineEnd("\r\n");
constexpr QByteArrayView blankLine("\r\n\r\n");

QByteArrayView withoutBlanks(QByteArrayView text)
{
    const auto isBlank = [](char c) { return c == ' ' || c == '\t'; };
    while (!text.isEmpty() && isBlank(text.front()))
        text = text.sliced(1);
    while (!text.isEmpty() && isBlank(text.back()))
        text.chop(1);
    return text;
}

// Whatever is no number, negative or beyond 64 bits counts as no body at all.
qint64 lengthFrom(QByteArrayView text)
{
    if (!text.isEmpty() && text.front() == '+')
        text = text.sliced(1);
    if (text.isEmpty() || text.front() == '-')
        return 0;
    qint64 length = 0;
    const auto [end, error] = std::from_chars(text.begin(), text.end(), length);
    return error == std::errc() && end == text.end() ? length : 0;
}

std::vector<QByteArrayView> wordsOf(QByteArrayView line)
{
    std::vector<QByteArrayView> words;
    qsizetype start = 0;
    while (start < line.size() && words.size() < 2) {
        qsizetype end = line.indexOf(' ', start);
        if (end < 0)
            end = line.size();
        if (end > start)
            words.push_back(line.sliced(start, end - start));
        start = end + 1;
    }
    return words;
}

} // namespace

HTTPRequestReader::HTTPRequestReader(const HTTPLimits& limits)
    : m_limits(limits)
{
}

HTTPRequestReader::State HTTPRequestReader::add(QByteArrayView bytes)
{
    if (m_state != State::Incomplete)
        return m_state;
    if (m_headEnded)
        addToBody(bytes);
    else
        addToHead(bytes);
    return m_state;
}

HTTPRequest HTTPRequestReader::takeRequest() { return std::exchange(m_request, {}); }

void HTTPRequestReader::addToHead(QByteArrayView bytes)
{
    // The blank line may have begun in the bytes before.
    const qsizetype searchFrom = std::max<qsizetype>(0, m_head.size() - (blankLine.size() - 1));
    const qsizetype maxNeeded = m_limits.headBytes + blankLine.size() - m_head.size();
    const qsizetype before = m_head.size();
    m_head.append(bytes.first(std::min(bytes.size(), maxNeeded)));
    const qsizetype end = m_head.indexOf(blankLine, searchFrom);
    if (end < 0) {
        if (m_head.size() >= m_limits.headBytes + blankLine.size())
            m_state = State::TooLarge;
        return;
    }
    const qsizetype taken = end + blankLine.size() - before;
    m_head.truncate(end);
    m_headEnded = true;
    parseHead();
    m_head.clear();
    if (m_state == State::Incomplete)
        addToBody(bytes.sliced(taken));
}

void HTTPRequestReader::addToBody(QByteArrayView bytes)
{
    const qint64 missing = m_contentLength - m_request.body.size();
    m_request.body.append(bytes.first(std::min<qint64>(bytes.size(), missing)));
    if (m_request.body.size() == m_contentLength)
        m_state = State::Complete;
}

void HTTPRequestReader::parseHead()
{
    const QByteArrayView head(m_head);
    qsizetype end = head.indexOf(lineEnd);
    const std::vector<QByteArrayView> words = wordsOf(end < 0 ? head : head.first(end));
    if (words.size() < 2) {
        m_state = State::Malformed;
        return;
    }
    m_request.method = words[0].toByteArray();
    m_request.path = words[1].toByteArray();
    while (end >= 0) {
        const qsizetype start = end + lineEnd.size();
        end = head.indexOf(lineEnd, start);
        parseHeader(head.sliced(start, (end < 0 ? head.size() : end) - start));
    }
    if (m_contentLength > m_limits.bodyBytes)
        m_state = State::TooLarge;
}

void HTTPRequestReader::parseHeader(QByteArrayView line)
{
    const qsizetype colon = line.indexOf(':');
    if (colon <= 0)
        return;
    const QByteArray name = line.first(colon).toByteArray().toLower();
    const QByteArrayView value = line.sliced(colon + 1);
    if (name == "content-length") {
        if (!value.isEmpty())
            m_contentLength = lengthFrom(withoutBlanks(value));
        return;
    }
    // Read as generously as possible: blanks around the name must not hide where a request came from.
    if (name.trimmed() == "host")
        m_request.hosts.push_back(withoutBlanks(value).toByteArray());
    else if (name.trimmed() == "origin")
        m_request.origins.push_back(withoutBlanks(value).toByteArray());
}

} // namespace kelmo
