#include "benchmarks/Row.h"

#include <QApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include <cstdio>
#include <unistd.h>

namespace kelmo::bench {

void exportOnce();
void playInWindow(const QString& path);

namespace {

std::vector<Row> allRows()
{
    std::vector<Row> rows = exportRows();
    for (const std::vector<Row>& more : {frameRows(), editRows(), playerRows(), seekRows(), transcriptRows(),
             timelineRows(), shareRows(), windowRows()})
        rows.insert(rows.end(), more.begin(), more.end());
    return rows;
}

QJsonObject measured(const Row& row, std::FILE* table)
{
    std::fprintf(stderr, "%s\n", qPrintable(row.name));
    const Outcome outcome = row.measure();
    std::fprintf(table, "| %s | %.2f %s | %s | %s | %s |\n", qPrintable(row.description), outcome.value,
        qPrintable(outcome.unit), qPrintable(outcome.target), outcome.met ? "yes" : "no", qPrintable(outcome.detail));
    std::fflush(table);
    return {{QStringLiteral("row"), row.name}, {QStringLiteral("value"), outcome.value},
        {QStringLiteral("unit"), outcome.unit}, {QStringLiteral("target"), outcome.target},
        {QStringLiteral("met"), outcome.met}};
}

/// Where the table goes. The program's own log, which shares standard output, is left out of it.
std::FILE* tableOutput()
{
    std::FILE* table = fdopen(dup(STDOUT_FILENO), "w");
    [[maybe_unused]] std::FILE* silenced = std::freopen("/dev/null", "w", stdout);
    return table;
}

int run(const QStringList& names, const QString& jsonPath)
{
    std::FILE* table = tableOutput();
    QJsonArray results;
    std::fprintf(table, "| row | measured | to reach | reached | figures |\n|---|---|---|---|---|\n");
    for (const Row& row : allRows()) {
        if (names.isEmpty() || names.contains(row.name))
            results.append(measured(row, table));
    }
    if (results.isEmpty()) {
        std::fprintf(stderr, "No such row. There are:\n");
        for (const Row& row : allRows())
            std::fprintf(stderr, "  %s\n", qPrintable(row.name));
        return 1;
    }
    QSaveFile file(jsonPath);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(QJsonDocument(results).toJson());
        file.commit();
    }
    return 0;
}

} // namespace

} // namespace kelmo::bench

int main(int argc, char** argv)
{
    const bool playsInWindow = argc == 3 && QByteArray(argv[1]) == "--play-window";
    if (!playsInWindow)
        qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("KELMO_ANALYTICS", "0");
    QApplication application(argc, argv);
    QStringList arguments = QApplication::arguments().mid(1);
    if (arguments == QStringList{QStringLiteral("--export-once")}) {
        kelmo::bench::exportOnce();
        return 0;
    }
    if (playsInWindow) {
        kelmo::bench::playInWindow(arguments.last());
        return 0;
    }
    const QString jsonPath = arguments.isEmpty() ? QStringLiteral("bench.json") : arguments.takeFirst();
    return kelmo::bench::run(arguments, jsonPath);
}
