#pragma once

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

namespace kelmo {

/// The functions that one program or library file names: all of them, or in a stripped file those that other files may
/// call. A plain value, read once.
class ElfSymbols {
public:
    struct Function {
        QByteArray name; ///< As the compiler spells it.
        quint64 offset = 0; ///< Of the place asked for, from the function's start.
    };

    /// Empty when the file can't be read or isn't an ELF file of this machine's word size.
    [[nodiscard]] static ElfSymbols read(const QString& path);

    /// The function that holds the place `offset` bytes behind where the file's own beginning gets mapped.
    [[nodiscard]] std::optional<Function> find(quint64 offset) const;

private:
    struct Entry {
        quint64 start;
        quint64 size;
        quint32 name; ///< In the texts.
    };

    std::vector<Entry> m_entries; ///< In ascending order.
    QByteArray m_texts;
};

} // namespace kelmo
