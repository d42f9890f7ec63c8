#include "agent/JsonRpc.h"

#include "agent/JsonText.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>

#include <random>

using namespace kelmo;

namespace {

QByteArray listed(const QJsonValue& value)
{
    const QByteArray list = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return list.sliced(1, list.size() - 2);
}

} // namespace

TEST(JsonRpc, parseBodyThatIsNoRequestYieldsNothing)
{
    const QByteArray deep = "{\"method\":\"m\",\"params\":" + QByteArray(100'000, '[');
    const QByteArray bodies[] = {"", " ", "{", "{}", "[]", "null", "7", "\"method\"", R"([{"method":"ping","id":1}])",
        R"({"method":7,"id":1})", R"({"method":null})", R"({"Method":"ping"})", R"({"method":"ping",})",
        R"({"method":"ping"} x)", R"({"method":"ping"}{"method":"ping"})", R"({'method':'ping'})",
        "{\"method\":\"\xff\xfe\"}", QByteArray("{\"method\":\"ping\"\0}", 18), QByteArray("\0", 1),
        R"({"method":"ping","id":1e999})", R"({"method":"ping","id":01})", R"({"method":"ping","id":NaN})", deep,
        "{\"method\":\"pi\nng\"}", "{\"method\":\"ping\",\"a\tb\":1}", QByteArray("{\"method\":\"p\0\"}", 14),
        "{\"method\":\"p\x1f\"}", R"({"method":"\q"})", R"({"method":"ping","\a":1})", R"({"method":"\u12g4"})",
        R"({"method":"\U0041"})", R"({"method":"ping","id":.5})", R"({"method":"ping","id":-.5})",
        R"({"method":"ping","id":5.})", R"({"method":"ping","id":0.e5})", R"({"method":"ping","id":1e})",
        R"({"method":"ping","id":1e+})", R"({"method":"ping","id":-})", R"({"method":"ping","id":+1})",
        deep + QByteArray(100'000, ']') + '}'};
    for (const QByteArray& body : bodies)
        EXPECT_FALSE(JsonRpc::parse(body)) << body.left(60).toStdString();
}

TEST(JsonRpc, parseIdIsEchoedExactly)
{
    const struct {
        const char* body;
        std::optional<QByteArray> id;
    } cases[] = {
        {R"({"method":"m"})", std::nullopt},
        {R"({"method":"m","params":{"id":4}})", std::nullopt},
        {R"({"method":"m","id":null})", "null"},
        {R"({"method":"m","id":0})", "0"},
        {R"({"method":"m","id":-0})", "-0"},
        {R"({"method":"m","id":1.50})", "1.50"},
        {R"({"method":"m","id":1e2})", "1e2"},
        {R"({"method":"m","id":9007199254740993})", "9007199254740993"},
        {R"({"method":"m","id":9223372036854775807})", "9223372036854775807"},
        {R"({"method":"m","id":18446744073709551615})", "18446744073709551615"},
        {R"({"method":"m","id":123456789012345678901234567890})", "123456789012345678901234567890"},
        {R"({"params":{"id":4,"x":["id",{"id":5}]}, "id" :  6 ,"method":"m"})", "6"},
        {R"({"id":1,"id":2,"method":"m"})", "2"},
        {R"({"id":1,"\u0069d":2,"method":"m"})", "2"},
        {R"({"x":"\"id\":3","id":4,"y":"id","method":"id"})", "4"},
        {R"({"id":"","method":"m"})", R"("")"},
        {R"({"id":"a\"b\\cé\u0000","method":"m"})", R"("a\"b\\cé\u0000")"},
        {R"({"id":"\ud800","method":"m"})", R"("\ud800")"},
        {R"({"id":true,"method":"m"})", "true"},
        {R"({"id":"\\q\/\b\f\n\r\t\"\u00E9","method":"m"})", R"("\\q/\b\f\n\r\t\"é")"},
        {R"({"x":[-0.5e-7,0,-12,3E+2,0.0],"id":7,"method":"m"})", "7"},
        {R"({"id":[1, {"b":2}],"method":"m"})", R"([1,{"b":2}])"},
    };
    for (const auto& each : cases) {
        const std::optional<JsonRpc::Request> request = JsonRpc::parse(each.body);
        ASSERT_TRUE(request) << each.body;
        EXPECT_EQ(request->id, each.id) << each.body;
    }
}

TEST(JsonRpc, parseParamsOfAnotherKindAreEmpty)
{
    for (const char* params : {"[1,2]", "null", "7", "\"x\""}) {
        const auto request = JsonRpc::parse(QByteArray("{\"method\":\"m\",\"params\":") + params + '}');
        ASSERT_TRUE(request) << params;
        EXPECT_TRUE(request->params.isEmpty()) << params;
    }
}

TEST(JsonRpc, envelopesHaveSortedKeys)
{
    EXPECT_EQ(JsonRpc::result("7", "{}"), R"({"id":7,"jsonrpc":"2.0","result":{}})");
    EXPECT_EQ(JsonRpc::error("null", {-32700, QStringLiteral("Parse \"error\"")}),
        R"({"error":{"code":-32700,"message":"Parse \"error\""},"id":null,"jsonrpc":"2.0"})");
}

TEST(JsonText, appendNumberWritesWhatTheLibraryWrites)
{
    std::mt19937_64 random(7);
    std::vector<double> numbers{0, -0.0, 1, -1, 0.1, 1200.5, 1e15, 123456789012345680.0, 9007199254740993.0, 1e21, 1e22,
        1.7976931348623157e308, 5e-324, -2.5e-7, std::numeric_limits<double>::infinity(), std::nan("")};
    for (int i = 0; i < 20'000; ++i) {
        double number = 0;
        const uint64_t bits = random();
        memcpy(&number, &bits, sizeof number);
        numbers.push_back(number);
        numbers.push_back(double(bits % 100'000'000) / 1000);
        numbers.push_back(double(bits) * std::pow(10, double(i % 25) - 25));
    }
    for (const double number : numbers) {
        QByteArray json;
        JsonText::appendNumber(json, number);
        EXPECT_EQ(json, listed(number)) << number;
    }
}

TEST(JsonText, appendStringWritesWhatTheLibraryWrites)
{
    const QString strings[] = {QString(), QStringLiteral("plain, with 'punctuation'."), QStringLiteral("q\"b\\s/"),
        QStringLiteral("tab\tline\nnul") + QChar(0) + QChar(0x7f), QStringLiteral("“naïve” 日本 🎬"),
        QString(QChar(0xd800)), QString(QChar(0x2028))};
    for (const QString& text : strings)
        EXPECT_EQ(JsonText::string(text), listed(text)) << text.toStdString();
    const QByteArray document = R"({"a":"q\"\\","b":"é"})";
    EXPECT_EQ(JsonText::quoted(document), listed(QString::fromUtf8(document)));
}
