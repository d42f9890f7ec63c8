#include "benchmarks/BenchTake.h"
#include "benchmarks/Row.h"

#include "agent/TranscriptDocument.h"
#include "editor/Editor.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <random>

namespace kelmo::bench {

namespace {

constexpr int rounds = 9;

QString text(const char* latin) { return QString::fromLatin1(latin); }

void openFully(Editor& editor, const QString& path)
{
    editor.open(path);
    while (!editor.built())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

/// Seconds for one edit that changes an edit of `cuts` cuts: setCuts with everything that it brings about.
double editSeconds(Editor& editor, int cuts, int round)
{
    Cuts edit;
    const double step = editor.sourceDurationMs() / cuts;
    for (int i = 0; i < cuts; ++i)
        edit.add({{i * step + 50 + round, i * step + step * 0.4}});
    return wallSeconds([&] { editor.setCuts(std::move(edit), text("Bench")); });
}

Outcome editIsLinear()
{
    const QTemporaryDir largeFolder;
    const QTemporaryDir smallFolder;
    Editor large;
    Editor small;
    openFully(large, BenchTake::withWords(largeFolder, *BenchTake::tenMinutes(), 25000));
    openFully(small, BenchTake::withWords(smallFolder, *BenchTake::tenMinutes(), 2500));
    int round = 0;
    const Pair seconds = alternate(
        rounds, [&] { return editSeconds(large, 1000, ++round); }, [&] { return editSeconds(small, 100, ++round); });
    const double times = seconds.ours / seconds.peer;
    return {times, text("times as long"), text("12 or less"), times <= 12,
        QStringLiteral("%1 ms against %2 ms").arg(seconds.ours * 1e3, 0, 'f', 2).arg(seconds.peer * 1e3, 0, 'f', 2)};
}

Outcome transcriptDocument()
{
    const QTemporaryDir folder;
    Editor editor;
    openFully(editor, BenchTake::withWords(folder, *BenchTake::tenMinutes(), 25000));
    [[maybe_unused]] const double cut = editSeconds(editor, 1000, 0);
    const QJsonDocument same = QJsonDocument::fromJson(TranscriptDocument(editor).json());
    const Pair seconds = alternate(
        rounds, [&] { return wallSeconds([&] { (void)TranscriptDocument(editor).json(); }); },
        [&] { return wallSeconds([&] { (void)same.toJson(QJsonDocument::Compact); }); });
    const double times = seconds.ours / seconds.peer;
    return {times, text("times as long"), text("1.5 or less"), times <= 1.5,
        QStringLiteral("%1 ms against %2 ms").arg(seconds.ours * 1e3, 0, 'f', 2).arg(seconds.peer * 1e3, 0, 'f', 2)};
}

} // namespace

std::vector<Row> editRows()
{
    return {{text("edit-linear"), text("setCuts plus build, 25,000 words and 1,000 cuts against 2,500 and 100"),
                editIsLinear},
        {text("transcript"), text("get_transcript of 25,000 words, against QJsonDocument writing the same document"),
            transcriptDocument}};
}

} // namespace kelmo::bench
