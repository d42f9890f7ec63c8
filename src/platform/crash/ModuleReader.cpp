#include "platform/crash/ModuleReader.h"

#include <algorithm>
#include <cstring>

#include <fcntl.h>
#include <link.h>
#include <unistd.h>

namespace kelmo {

namespace {

template <class Value> bool readMemory(int memory, std::uint64_t address, Value& value)
{
    return ::pread(memory, &value, sizeof(value), static_cast<off_t>(address)) == sizeof(value);
}

constexpr size_t padded(size_t size) { return (size + 3) & ~size_t(3); }

/// The bytes of the build ID among the notes in `text`.
std::string_view findBuildID(std::string_view text)
{
    ElfW(Nhdr) note;
    while (text.size() >= sizeof(note)) {
        std::memcpy(&note, text.data(), sizeof(note));
        text.remove_prefix(sizeof(note));
        const size_t nameSize = padded(note.n_namesz);
        const size_t size = padded(note.n_descsz);
        if (nameSize > text.size() || size > text.size() - nameSize)
            return {};
        if (note.n_type == NT_GNU_BUILD_ID && text.substr(0, nameSize) == std::string_view("GNU\0", 4))
            return text.substr(nameSize, note.n_descsz);
        text.remove_prefix(nameSize + size);
    }
    return {};
}

} // namespace

ModuleReader::ModuleReader()
    : m_memory(::open("/proc/self/mem", O_RDONLY | O_CLOEXEC))
{
}

ModuleReader::~ModuleReader()
{
    if (m_memory >= 0)
        ::close(m_memory);
}

bool ModuleReader::next(LoadedModule& module)
{
    MappedRegion region;
    while (m_regions.next(region)) {
        if (!region.path.starts_with('/'))
            continue;
        if (region.fileOffset == 0) {
            m_base = region.start;
            m_inode = region.inode;
            m_buildIDLength = 0;
        }
        if (region.permissions.size() < 3 || region.permissions[2] != 'x' || region.inode != m_inode)
            continue;
        readBuildID();
        const std::string_view buildID(m_buildID.data(), m_buildIDLength);
        module = {region.start, region.end, m_base, buildID, region.path, region.name()};
        return true;
    }
    return false;
}

void ModuleReader::readBuildID()
{
    m_buildIDLength = 0;
    ElfW(Ehdr) header;
    if (!readMemory(m_memory, m_base, header) || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0)
        return;
    for (unsigned i = 0; i < header.e_phnum && m_buildIDLength == 0; ++i) {
        ElfW(Phdr) part;
        if (!readMemory(m_memory, m_base + header.e_phoff + i * sizeof(part), part))
            return;
        std::array<char, 512> notes;
        if (part.p_type != PT_NOTE || part.p_filesz > notes.size())
            continue;
        const ssize_t size = ::pread(m_memory, notes.data(), part.p_filesz, static_cast<off_t>(m_base + part.p_offset));
        for (const char byte : findBuildID({notes.data(), static_cast<size_t>(std::max<ssize_t>(size, 0))})) {
            if (m_buildIDLength + 2 > m_buildID.size())
                break;
            m_buildID.at(m_buildIDLength++) = "0123456789abcdef"[static_cast<unsigned char>(byte) >> 4U];
            m_buildID.at(m_buildIDLength++) = "0123456789abcdef"[static_cast<unsigned char>(byte) & 15U];
        }
    }
}

} // namespace kelmo
