#pragma once

#include "platform/crash/CrashRecord.h"
#include "platform/crash/ElfSymbols.h"

#include <QHash>

#include <optional>

namespace kelmo {

/// Names the functions at a past run's addresses. Only files that are loaded now, and are by their build ID the very
/// same as then, can be asked; a record holds no paths to look elsewhere. Belongs to one thread.
class Symbolizer {
public:
    Symbolizer();

    /// The function that holds `address`, readable and shortened where it goes on and on. `module` is the one that
    /// held the address in that run.
    [[nodiscard]] std::optional<QString> function(const CrashRecord::Module& module, quint64 address);

private:
    QHash<QByteArray, QString> m_pathOfBuild;
    QHash<QByteArray, ElfSymbols> m_symbolsOfBuild;
};

} // namespace kelmo
