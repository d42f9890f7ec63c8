#include "tests/agent/ServerFixture.h"

using namespace kelmo;

namespace {

using MCPProtocolTest = ServerFixture;

QString text(const char* utf8) { return QString::fromUtf8(utf8); }

} // namespace

TEST_F(MCPProtocolTest, initializeAnswersAKnownVersionOrTheDefault)
{
    serve();
    const struct {
        QJsonValue asked;
        const char* answered;
    } cases[] = {
        {text("2025-06-18"), "2025-06-18"},
        {text("2025-03-26"), "2025-03-26"},
        {text("2024-11-05"), "2024-11-05"},
        {text("2099-01-01"), "2025-06-18"},
        {7, "2025-06-18"},
        {QJsonValue(QJsonValue::Undefined), "2025-06-18"},
    };
    for (const auto& each : cases) {
        const QJsonObject result
            = request(text("initialize"), {{text("protocolVersion"), each.asked}}).value(u"result").toObject();
        EXPECT_EQ(result.value(u"protocolVersion").toString(), text(each.answered));
        EXPECT_EQ(result.value(u"serverInfo")[u"name"].toString(), text("kelmo-editor"));
        EXPECT_TRUE(result.value(u"capabilities")[u"tools"].isObject());
        EXPECT_TRUE(result.value(u"instructions").toString().endsWith(text("Call get_transcript first.")));
    }
}

TEST_F(MCPProtocolTest, wrongCallsAreErrors)
{
    serve();
    const struct {
        const char* method;
        QJsonObject params;
        int code;
        const char* message;
    } cases[] = {
        {"resources/list", {}, -32601, "Method not found: resources/list"},
        {"notifications/initialized", {}, -32601, "Method not found: notifications/initialized"},
        {"Ping", {}, -32601, "Method not found: Ping"},
        {"", {}, -32601, "Method not found: "},
        {"tools/call", {}, -32602, "Unknown tool: "},
        {"tools/call", {{text("name"), text("Undo")}}, -32602, "Unknown tool: Undo"},
        {"tools/call", {{text("name"), text("get_frame")}}, -32602, "timeMs is required"},
        {"tools/call",
            {{text("name"), text("get_frame")},
                {text("arguments"), QJsonObject{{text("timeMs"), text("7")}, {text("more"), 1}}}},
            -32602, "timeMs is required"},
        {"tools/call", {{text("name"), text("get_frame")}, {text("arguments"), QJsonArray{1}}}, -32602,
            "timeMs is required"},
        {"tools/call", {{text("name"), text("trim")}, {text("arguments"), QJsonObject{{text("startWord"), 0}}}}, -32602,
            "startWord 0 is out of range (0–-1)"},
    };
    for (const auto& each : cases) {
        const QJsonObject error = request(text(each.method), each.params).value(u"error").toObject();
        EXPECT_EQ(error.value(u"code").toInt(), each.code) << each.message;
        EXPECT_EQ(error.value(u"message").toString(), text(each.message));
    }
}

TEST_F(MCPProtocolTest, listToolsNamesTheTenWithTheirHints)
{
    serve();
    const QJsonArray tools = request(text("tools/list")).value(u"result")[u"tools"].toArray();
    // r: read only, d: destructive, i: idempotent, o: open world.
    const struct {
        const char* name;
        const char* hints;
        QStringList arguments;
    } expected[] = {
        {"get_transcript", "ri", {}},
        {"cut_ranges", "", {text("ranges"), text("restore"), text("wordIndices")}},
        {"trim", "i",
            {text("clear"), text("endMs"), text("endWord"), text("exact"), text("startMs"), text("startWord")}},
        {"get_frame", "ri", {text("maxWidth"), text("timeMs")}},
        {"export", "", {text("codec"), text("engine"), text("fps"), text("height")}},
        {"cut_fillers", "i", {}},
        {"tighten_pauses", "i", {}},
        {"undo", "", {}},
        {"share", "do", {text("wait")}},
        {"open_take", "i", {text("path")}},
    };
    ASSERT_EQ(tools.size(), std::ssize(expected));
    for (int i = 0; i < tools.size(); ++i) {
        const QJsonObject tool = tools[i].toObject();
        EXPECT_EQ(tool.value(u"name").toString(), text(expected[i].name));
        QString hints;
        for (const char* hint : {"readOnlyHint", "destructiveHint", "idempotentHint", "openWorldHint"}) {
            if (tool.value(u"annotations")[text(hint)].toBool())
                hints += QLatin1Char(hint[0]);
        }
        EXPECT_EQ(hints, text(expected[i].hints)) << expected[i].name;
        EXPECT_EQ(tool.value(u"annotations")[u"title"], tool.value(u"title"));
        const QJsonObject schema = tool.value(u"inputSchema").toObject();
        EXPECT_EQ(schema.value(u"properties").toObject().keys(), expected[i].arguments) << expected[i].name;
        EXPECT_EQ(schema.contains(u"required"), text(expected[i].name) == text("get_frame"));
        EXPECT_FALSE(tool.value(u"description").toString().isEmpty());
    }
}
