#include "platform/crash/MemoryMapReader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace kelmo {

namespace {

std::string_view takeWord(std::string_view& line)
{
    const size_t begin = std::min(line.find_first_not_of(' '), line.size());
    const size_t end = std::min(line.find_first_of(" -", begin), line.size());
    const std::string_view word = line.substr(begin, end - begin);
    line.remove_prefix(std::min(end + 1, line.size()));
    return word;
}

std::uint64_t takeNumber(std::string_view& line, unsigned base)
{
    std::uint64_t value = 0;
    for (const char digit : takeWord(line))
        value = value * base + static_cast<unsigned>(digit >= 'a' ? digit - 'a' + 10 : digit - '0');
    return value;
}

} // namespace

std::string_view MappedRegion::name() const { return path.substr(path.rfind('/') + 1); }

MemoryMapReader::MemoryMapReader()
    : m_file(::open("/proc/self/maps", O_RDONLY | O_CLOEXEC))
{
}

MemoryMapReader::~MemoryMapReader()
{
    if (m_file >= 0)
        ::close(m_file);
}

// A line reads "start-end permissions offset device inode path", where permissions may hold dashes too.
bool MemoryMapReader::next(MappedRegion& region)
{
    constexpr size_t permissionsLength = 4;
    std::string_view line;
    if (!nextLine(line))
        return false;
    region.start = takeNumber(line, 16);
    region.end = takeNumber(line, 16);
    region.permissions = line.substr(0, permissionsLength);
    line.remove_prefix(std::min(permissionsLength, line.size()));
    region.fileOffset = takeNumber(line, 16);
    takeWord(line);
    region.inode = takeNumber(line, 10);
    region.path = line.substr(std::min(line.find_first_not_of(' '), line.size()));
    return true;
}

bool MemoryMapReader::nextLine(std::string_view& line)
{
    for (;;) {
        const std::string_view waiting(m_text.data() + m_begin, m_end - m_begin);
        const size_t length = waiting.find('\n');
        if (length != std::string_view::npos) {
            line = waiting.substr(0, length);
            m_begin += length + 1;
            return true;
        }
        std::memmove(m_text.data(), waiting.data(), waiting.size());
        m_begin = 0;
        m_end = waiting.size();
        const ssize_t count = ::read(m_file, m_text.data() + m_end, m_text.size() - m_end);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        m_end += static_cast<size_t>(count);
    }
}

} // namespace kelmo
