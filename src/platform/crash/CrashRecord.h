#pragma once

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

namespace kelmo {

/// What a run of the program noted about its own crashes and hangs. A plain value.
struct CrashRecord {
    /// Code of one program or library file, at the addresses [start, end) of that run.
    struct Module {
        quint64 start = 0;
        quint64 end = 0;
        quint64 base = 0; ///< Where the file's own beginning was.
        QByteArray buildID; ///< In hexadecimal digits; empty when the file had none.
        QString name;
    };

    struct Section {
        std::vector<Module> modules;
        std::vector<quint64> frames; ///< Innermost first.
    };

    struct Region {
        quint64 start = 0;
        quint64 end = 0;
        QString permissions;
        QString name; ///< Empty for memory without one.
    };

    struct Crash : Section {
        int signal = 0;
        int code = 0; ///< The signal's own, which says why it was sent.
        std::optional<quint64> address; ///< What the program tried to reach.
        std::optional<Region> region; ///< The one that holds `address`, or the next one above it.
    };

    struct Hang : Section {
        qint64 durationMs = 0;
    };

    QString version;
    QString build;
    QString system;
    QString architecture;
    std::vector<Crash> crashes;
    std::vector<Hang> hangs;

    /// Whatever can be made out in `bytes`, which may be cut short anywhere or be no record at all.
    [[nodiscard]] static CrashRecord parse(const QByteArray& bytes);
};

} // namespace kelmo
