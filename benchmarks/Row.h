#pragma once

#include <QString>

#include <functional>
#include <vector>

namespace kelmo::bench {

/// What a row came out at, and whether that reaches its target.
struct Outcome {
    double value = 0;
    QString unit; ///< "times", "MB" and the like.
    QString target; ///< As written in the table.
    bool met = false;
    QString detail; ///< The figures behind it, for the reader.
};

/// One line of the benchmark table. `measure` runs it, which takes from seconds to minutes.
struct Row {
    QString name;
    QString description;
    std::function<Outcome()> measure;
};

[[nodiscard]] std::vector<Row> exportRows();
[[nodiscard]] std::vector<Row> editRows();
[[nodiscard]] std::vector<Row> frameRows();
[[nodiscard]] std::vector<Row> playerRows();
[[nodiscard]] std::vector<Row> seekRows();
[[nodiscard]] std::vector<Row> transcriptRows();
[[nodiscard]] std::vector<Row> timelineRows();
[[nodiscard]] std::vector<Row> shareRows();
[[nodiscard]] std::vector<Row> windowRows();

/// Runs `ours` and `peer` in turns, `rounds` times each after one warming round, and returns the medians in seconds.
struct Pair {
    double ours = 0;
    double peer = 0;
};
[[nodiscard]] Pair alternate(int rounds, const std::function<double()>& ours, const std::function<double()>& peer);

[[nodiscard]] double median(std::vector<double> values);
[[nodiscard]] double wallSeconds(const std::function<void()>& work);
/// Processor time of this process, all threads.
[[nodiscard]] double cpuSeconds(const std::function<void()>& work);

/// Runs the event loop until it holds.
void waitFor(const std::function<bool()>& holds);

/// Runs a program to its end and returns how long it took; ends the benchmark when it fails.
[[nodiscard]] double programSeconds(const QString& program, const QStringList& arguments);

} // namespace kelmo::bench
