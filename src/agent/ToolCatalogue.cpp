#include "agent/ToolCatalogue.h"

#include "agent/JsonText.h"

#include <QJsonArray>

namespace kelmo {

namespace {

using ToolCatalogue::Argument;
using ToolCatalogue::Media;
using ToolCatalogue::Tool;

QJsonObject schema(const char* type, const char* description = nullptr)
{
    QJsonObject schema{{QStringLiteral("type"), QString::fromUtf8(type)}};
    if (description)
        schema.insert(QStringLiteral("description"), QString::fromUtf8(description));
    return schema;
}

QJsonObject choice(const char* type, const QJsonArray& values, const char* description)
{
    QJsonObject choice = schema(type, description);
    choice.insert(QStringLiteral("enum"), values);
    return choice;
}

QJsonObject listOf(const QJsonObject& items, const char* description = nullptr)
{
    QJsonObject list = schema("array", description);
    list.insert(QStringLiteral("items"), items);
    return list;
}

QJsonObject ranges()
{
    QJsonObject object = schema("object");
    object.insert(QStringLiteral("properties"),
        QJsonObject{{QStringLiteral("startMs"), schema("number")}, {QStringLiteral("endMs"), schema("number")}});
    object.insert(QStringLiteral("required"), QJsonArray{QStringLiteral("startMs"), QStringLiteral("endMs")});
    QJsonObject pair = listOf(schema("number"));
    pair.insert(QStringLiteral("minItems"), 2);
    pair.insert(QStringLiteral("maxItems"), 2);
    return listOf(QJsonObject{{QStringLiteral("oneOf"), QJsonArray{object, pair}}},
        "Source-clock ranges in ms, as [{\"startMs\":1200,\"endMs\":1850}] or [[1200,1850]].");
}

std::vector<Tool> makeTools()
{
    return {
        {"get_transcript", "Read the transcript", {.readOnly = true, .idempotent = true},
            "The open take's words with index, text, source startMs/endMs and whether each is cut (trimmed words count "
            "as cut), plus the keep ranges, current cuts, the trim and durations.",
            {}, Tools::getTranscript},
        {"cut_ranges", "Cut words or ranges", {},
            "Cut source-clock time ranges (ms) from the edit — one undoable step in the app. Optionally cut whole "
            "words by index (uses the same word-boundary padding as deleting in the transcript). Set restore=true to "
            "un-cut the ranges instead.",
            {
                {"ranges", ranges()},
                {"wordIndices", listOf(schema("integer"), "Word indices from get_transcript to cut.")},
                {"restore", schema("boolean", "Un-cut instead of cut.")},
            },
            Tools::cutRanges},
        {"trim", "Trim the start or end", {.idempotent = true},
            "Trim the head and/or tail of the take — where the edit starts and ends — as one undoable step (like "
            "dragging the timeline's end handles). Give startMs/endMs on the SOURCE clock (same as word startMs/endMs; "
            "they snap to the nearest word boundary with the usual cut padding unless exact:true), or "
            "startWord/endWord: the first/last word index to keep. Omit a side to leave it as it is; clear:true "
            "removes the trim. Cuts inside the trimmed parts are kept, so clearing brings back the take as it was "
            "edited.",
            {
                {"startMs", schema("number", "Source ms the edit starts at.")},
                {"endMs", schema("number", "Source ms the edit ends at.")},
                {"startWord", schema("integer", "First word index to keep (trims everything before it).")},
                {"endWord", schema("integer", "Last word index to keep (trims everything after it).")},
                {"exact", schema("boolean", "Use startMs/endMs as given, no snapping to word boundaries.")},
                {"clear", schema("boolean", "Remove the trim (applied before startMs/endMs/startWord/endWord).")},
            },
            Tools::trim, Media::Loaded},
        {"get_frame", "Look at a frame", {.readOnly = true, .idempotent = true},
            "PNG of the edited video at timeMs on the EDITED clock (after cuts), with the face circle composited.",
            {
                {"timeMs", schema("number"), true},
                {"maxWidth", schema("number", "Default 1280.")},
            },
            Tools::getFrame, Media::Loaded},
        {"export", "Export the video", {},
            "Export the edit to an MP4 in ~/Movies (hardware encode). Returns the path and how long it took. Blocks "
            "until done.",
            {
                {"codec",
                    choice("string", {QStringLiteral("h264"), QStringLiteral("hevc")},
                        "Default: the app's current choice (HEVC).")},
                {"height",
                    schema(
                        "integer", "Output height, e.g. 1080. 0 or omitted = the app's setting (native by default).")},
                {"fps", choice("integer", {30, 60}, "Frame-rate cap. Default: the app's setting (30).")},
                {"engine",
                    choice("string", {QStringLiteral("writer"), QStringLiteral("session")},
                        "writer (default, fast HW pipeline) or session (AVAssetExportSession, for comparison).")},
            },
            Tools::exportVideo, Media::Loaded},
        {"cut_fillers", "Cut filler words", {.idempotent = true}, "Cut every um/uh-style filler word (one undo step).",
            {}, Tools::cutFillers},
        {"tighten_pauses", "Tighten pauses", {.idempotent = true},
            "Trim every pause over 0.4 s between kept words down to 0.15 s (one undo step).", {}, Tools::tightenPauses},
        {"undo", "Undo the last edit", {}, "Undo the last edit.", {}, Tools::undo},
        {"share", "Share a link", {.destructive = true, .openWorld = true},
            "Get a share link for the current edit (on the user's Cloudflare). The link is created and copied to the "
            "clipboard at once; the video exports and uploads behind it (the page shows progress, then plays). If the "
            "take was shared before, this updates the SAME link with the current edit. wait:true returns only once the "
            "link plays.",
            {{"wait", schema("boolean")}}, Tools::share, Media::Loaded},
        {"open_take", "Open a take", {.idempotent = true},
            "Open a take by path to its <base>.mov (or any sidecar). Without a path, opens the newest take in the "
            "Recordings folder.",
            {{"path", schema("string")}}, Tools::openTake},
    };
}

QJsonObject inputSchema(const std::vector<Argument>& arguments)
{
    QJsonObject properties;
    QJsonArray required;
    for (const Argument& argument : arguments) {
        properties.insert(QString::fromUtf8(argument.name), argument.schema);
        if (argument.required)
            required.append(QString::fromUtf8(argument.name));
    }
    QJsonObject input = schema("object");
    input.insert(QStringLiteral("properties"), properties);
    if (!required.isEmpty())
        input.insert(QStringLiteral("required"), required);
    return input;
}

QJsonObject describe(const Tool& tool)
{
    const QString title = QString::fromUtf8(tool.title);
    const QJsonObject annotations{
        {QStringLiteral("title"), title},
        {QStringLiteral("readOnlyHint"), tool.hints.readOnly},
        {QStringLiteral("destructiveHint"), tool.hints.destructive},
        {QStringLiteral("idempotentHint"), tool.hints.idempotent},
        {QStringLiteral("openWorldHint"), tool.hints.openWorld},
    };
    return {
        {QStringLiteral("name"), QString::fromUtf8(tool.name)},
        {QStringLiteral("title"), title},
        {QStringLiteral("annotations"), annotations},
        {QStringLiteral("description"), QString::fromUtf8(tool.description)},
        {QStringLiteral("inputSchema"), inputSchema(tool.arguments)},
    };
}

} // namespace

const std::vector<Tool>& ToolCatalogue::tools()
{
    static const std::vector<Tool> tools = makeTools();
    return tools;
}

const Tool* ToolCatalogue::find(const QString& name)
{
    const auto found = std::find_if(
        tools().begin(), tools().end(), [&name](const Tool& tool) { return name == QLatin1String(tool.name); });
    return found == tools().end() ? nullptr : &*found;
}

QByteArray ToolCatalogue::json()
{
    static const QByteArray json = [] {
        QJsonArray list;
        for (const Tool& tool : tools())
            list.append(describe(tool));
        return JsonText::object({{QStringLiteral("tools"), list}});
    }();
    return json;
}

} // namespace kelmo
