#pragma once

#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <optional>

namespace kelmo {

/// What the command line and the environment ask for. A plain value.
struct CommandLine {
    static constexpr quint16 defaultPort = 7799;

    bool background = false; ///< Serve agents without a window, and open nothing.
    bool muted = false;
    bool selfTestUI = false; ///< Drive the window as a user would and log what comes of it.
    bool selfTestSplit = false;
    bool selfTestTrim = false;
    bool help = false;
    bool version = false;
    std::optional<QString> take; ///< Any file of the take to open instead of the newest.
    std::optional<QString> benchPlay; ///< The take to measure playing on, instead of everything else.
    std::optional<QString> benchPreview; ///< The take to measure preview pictures on.
    quint16 port = defaultPort; ///< Of the agent server.

    /// Another one that already runs is none of its business.
    [[nodiscard]] bool runsBeside() const { return background || selfTestUI || selfTestSplit || selfTestTrim; }

    /// Arguments are exact and case-sensitive; unknown ones, and a switch whose value is missing, are ignored.
    [[nodiscard]] static CommandLine parse(const QStringList& arguments, const QProcessEnvironment& environment);

    /// The argument that follows the first one equal to `name`.
    [[nodiscard]] static std::optional<QString> arg(const QStringList& arguments, const QString& name);

    /// The take's path as any other program understands it.
    [[nodiscard]] std::optional<QString> absoluteTake() const;

    [[nodiscard]] static QString helpText();
};

} // namespace kelmo
