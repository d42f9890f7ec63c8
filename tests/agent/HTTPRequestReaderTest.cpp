#include "agent/HTTPRequestReader.h"

#include <gtest/gtest.h>

using namespace kelmo;

namespace {

using State = HTTPRequestReader::State;

struct Form {
    const char* what;
    QByteArray bytes;
    State state;
    QByteArray method = {};
    QByteArray path = {};
    QByteArray body = {};
};

HTTPLimits smallLimits()
{
    HTTPLimits limits;
    limits.headBytes = 200;
    limits.bodyBytes = 1000;
    return limits;
}

QByteArray post(const QByteArray& headers, const QByteArray& rest = {})
{
    return "POST /mcp HTTP/1.1\r\n" + headers + "\r\n" + rest;
}

QByteArray headOf(qsizetype size)
{
    const QByteArray start = "POST /mcp HTTP/1.1\r\nX: ";
    return start + QByteArray(size - start.size(), 'x') + "\r\n\r\n";
}

std::vector<Form> forms()
{
    const auto complete
        = [](const char* what, const QByteArray& headers, const QByteArray& rest, const QByteArray& body) {
              return Form{what, post(headers, rest), State::Complete, "POST", "/mcp", body};
          };
    using namespace std::string_literals;
    return {
        complete("body of the declared length", "Content-Length: 5\r\n", "hello", "hello"),
        complete("no length, no body", "Host: localhost\r\n", "hello", ""),
        complete("lower-case name", "content-length: 5\r\n", "hello", "hello"),
        complete("no blank after the colon", "Content-Length:5\r\n", "hello", "hello"),
        complete("plus sign and blanks", "Content-Length: \t+5 \t\r\n", "hello", "hello"),
        complete("the later length counts", "Content-Length: 5\r\nContent-Length: 2\r\n", "hello", "he"),
        complete("an empty length is no length", "Content-Length: 2\r\nContent-Length:\r\n", "hello", "he"),
        complete("a blank length is 0", "Content-Length: 2\r\nContent-Length: \r\n", "hello", ""),
        complete("letters are 0", "Content-Length: abc\r\n", "hello", ""),
        complete("half a number is 0", "Content-Length: 5x\r\n", "hello", ""),
        complete("two numbers are 0", "Content-Length: 5, 5\r\n", "hello", ""),
        complete("two signs are 0", "Content-Length: +-5\r\n", "hello", ""),
        complete("a negative length is 0", "Content-Length: -5\r\n", "hello", ""),
        complete("beyond 64 bits is 0", "Content-Length: 9223372036854775808\r\n", "hello", ""),
        complete("a blank in the name makes it another header", "Content-Length : 5\r\n", "hello", ""),
        complete("a folded line is no length", "X: y\r\n Content-Length: 5\r\n", "hello", ""),
        complete("lines without a colon, or only one", "nonsense\r\n:\r\n:x\r\nContent-Length: 1\r\n", "hello", "h"),
        complete("a blank line in the body", "Content-Length: 6\r\n", "\r\n\r\nab", "\r\n\r\nab"),
        complete("bytes of no character", "X: \xff\xfe\r\nContent-Length: 3\r\n", "\xff\x80z", "\xff\x80z"),
        complete("NUL in head and body", QByteArray("X: \0\r\nContent-Length: 2\r\n", 25), QByteArray("\0z", 2),
            QByteArray("\0z", 2)),
        {"further words and blanks in the request line", "  GET   /mcp?x=1  HTTP/1.1 and more \r\n\r\n",
            State::Complete, "GET", "/mcp?x=1"},
        {"no version", "GET /\r\n\r\n", State::Complete, "GET", "/"},
        {"one word only", "POST\r\nContent-Length: 1\r\n\r\nx", State::Malformed},
        {"tabs don't part words", "POST\t/mcp\tHTTP/1.1\r\n\r\n", State::Malformed},
        {"an empty request line", "\r\n\r\nPOST /mcp HTTP/1.1\r\n\r\n", State::Malformed},
        {"nothing yet", "", State::Incomplete},
        {"lines ended by line feeds only", "POST /mcp HTTP/1.1\nContent-Length: 0\n\n", State::Incomplete},
        {"half a blank line", "POST /mcp HTTP/1.1\r\n\r", State::Incomplete},
        {"a body one byte short", post("Content-Length: 5\r\n", "hell"), State::Incomplete},
        {"the longest head", headOf(200), State::Complete, "POST", "/mcp"},
        {"a longer head", headOf(201), State::TooLarge},
        {"a head without end", QByteArray(5000, 'x'), State::TooLarge},
        {"the longest body announced", post("Content-Length: 1000\r\n"), State::Incomplete},
        {"a longer body announced", post("Content-Length: 1001\r\n"), State::TooLarge},
        {"the longest length there is", post("Content-Length: 9223372036854775807\r\n"), State::TooLarge},
    };
}

void expectForm(const Form& form, HTTPRequestReader& reader)
{
    EXPECT_EQ(reader.state(), form.state) << form.what;
    if (form.state != State::Complete || reader.state() != State::Complete)
        return;
    const HTTPRequest request = reader.takeRequest();
    EXPECT_EQ(request.method, form.method) << form.what;
    EXPECT_EQ(request.path, form.path) << form.what;
    EXPECT_EQ(request.body, form.body) << form.what;
}

} // namespace

TEST(HTTPRequestReader, addFormYieldsTheSameWholeAndInPieces)
{
    for (const Form& form : forms()) {
        for (const qsizetype piece : {form.bytes.size() + 1, qsizetype(1), qsizetype(3), qsizetype(7)}) {
            HTTPRequestReader reader(smallLimits());
            for (qsizetype at = 0; at < form.bytes.size(); at += piece)
                reader.add(QByteArrayView(form.bytes).sliced(at, std::min(piece, form.bytes.size() - at)));
            expectForm(form, reader);
        }
    }
}

TEST(HTTPRequestReader, addManySmallPiecesStaysQuick)
{
    // 64 MiB one KiB at a time: anything that looks at the whole buffer again for each piece takes minutes here.
    const QByteArray piece(1024, 'x');
    HTTPRequestReader reader;
    reader.add(post("Content-Length: 67108864\r\n"));
    for (int i = 0; i < 65536; ++i)
        reader.add(piece);
    ASSERT_EQ(reader.state(), State::Complete);
    EXPECT_EQ(reader.takeRequest().body.size(), 67108864);
}

TEST(HTTPRequestReader, hostsAndOriginsHoweverWrittenAreAllNoticed)
{
    HTTPRequestReader reader;
    reader.add(post("HOST: a\r\nhost : b\r\nOrigin:\r\n Origin : \tnull \r\nX-Origin: x\r\n"));
    ASSERT_EQ(reader.state(), State::Complete);
    const HTTPRequest request = reader.takeRequest();
    EXPECT_EQ(request.hosts, (std::vector<QByteArray>{"a", "b"}));
    EXPECT_EQ(request.origins, (std::vector<QByteArray>{"", "null"}));
}
