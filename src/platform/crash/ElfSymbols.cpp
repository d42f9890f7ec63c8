#include "platform/crash/ElfSymbols.h"

#include <QFile>

#include <algorithm>
#include <cstring>

#include <link.h>

namespace kelmo {

namespace {

/// The bytes of a file, of which nothing is taken for granted.
class ElfFile {
public:
    ElfFile(const uchar* bytes, quint64 size)
        : m_bytes(bytes)
        , m_size(size)
    {
    }

    [[nodiscard]] bool holds(quint64 place, quint64 size) const { return place <= m_size && size <= m_size - place; }

    /// A zeroed value when the place lies outside the file.
    template <class Value> [[nodiscard]] Value at(quint64 place) const
    {
        Value value{};
        if (holds(place, sizeof(value)))
            std::memcpy(&value, m_bytes + place, sizeof(value));
        return value;
    }

    [[nodiscard]] QByteArray bytes(quint64 place, quint64 size) const
    {
        if (!holds(place, size))
            return {};
        return {reinterpret_cast<const char*>(m_bytes + place), static_cast<qsizetype>(size)};
    }

    [[nodiscard]] bool isElf() const
    {
        const auto header = at<ElfW(Ehdr)>(0);
        constexpr int wordSize = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
        return std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 && header.e_ident[EI_CLASS] == wordSize;
    }

    /// The address at which the file asks for its own beginning; zero for all that can be mapped anywhere.
    [[nodiscard]] quint64 preferredBase() const
    {
        const auto header = at<ElfW(Ehdr)>(0);
        for (quint64 i = 0; i < header.e_phnum; ++i) {
            const auto part = at<ElfW(Phdr)>(header.e_phoff + i * sizeof(ElfW(Phdr)));
            if (part.p_type == PT_LOAD)
                return part.p_vaddr - part.p_offset;
        }
        return 0;
    }

    [[nodiscard]] ElfW(Shdr) section(quint64 index) const
    {
        return at<ElfW(Shdr)>(at<ElfW(Ehdr)>(0).e_shoff + index * sizeof(ElfW(Shdr)));
    }

    [[nodiscard]] std::optional<ElfW(Shdr)> sectionOfType(quint32 type) const
    {
        const quint64 count = at<ElfW(Ehdr)>(0).e_shnum;
        for (quint64 i = 0; i < count; ++i) {
            if (section(i).sh_type == type)
                return section(i);
        }
        return {};
    }

private:
    const uchar* const m_bytes;
    const quint64 m_size;
};

} // namespace

ElfSymbols ElfSymbols::read(const QString& path)
{
    ElfSymbols symbols;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return symbols;
    const auto size = static_cast<quint64>(file.size());
    const uchar* const bytes = file.map(0, file.size());
    if (!bytes)
        return symbols;
    const ElfFile elf(bytes, size);
    if (!elf.isElf())
        return symbols;
    std::optional<ElfW(Shdr)> table = elf.sectionOfType(SHT_SYMTAB);
    if (!table)
        table = elf.sectionOfType(SHT_DYNSYM);
    if (!table || !elf.holds(table->sh_offset, table->sh_size))
        return symbols;
    const ElfW(Shdr) texts = elf.section(table->sh_link);
    symbols.m_texts = elf.bytes(texts.sh_offset, texts.sh_size);
    const quint64 base = elf.preferredBase();
    for (quint64 place = 0; place + sizeof(ElfW(Sym)) <= table->sh_size; place += sizeof(ElfW(Sym))) {
        const auto symbol = elf.at<ElfW(Sym)>(table->sh_offset + place);
        if ((symbol.st_info & 15U) == STT_FUNC && symbol.st_shndx != SHN_UNDEF)
            symbols.m_entries.push_back({symbol.st_value - base, symbol.st_size, symbol.st_name});
    }
    std::sort(symbols.m_entries.begin(), symbols.m_entries.end(),
        [](const Entry& a, const Entry& b) { return a.start < b.start; });
    return symbols;
}

std::optional<ElfSymbols::Function> ElfSymbols::find(quint64 offset) const
{
    auto entry = std::upper_bound(m_entries.begin(), m_entries.end(), offset,
        [](quint64 place, const Entry& candidate) { return place < candidate.start; });
    if (entry == m_entries.begin())
        return {};
    --entry;
    // A function written in assembler may not say how long it is; such are short.
    constexpr quint64 unknownSize = 4096;
    if (offset - entry->start >= (entry->size > 0 ? entry->size : unknownSize))
        return {};
    if (entry->name >= m_texts.size())
        return {};
    return Function{QByteArray(m_texts.constData() + entry->name), offset - entry->start};
}

} // namespace kelmo
