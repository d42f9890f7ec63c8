#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kelmo {

/// One stretch of this process's memory, [start, end).
struct MappedRegion {
    std::uint64_t start = 0;
    std::uint64_t end = 0;
    std::uint64_t fileOffset = 0;
    std::uint64_t inode = 0;
    std::string_view permissions; ///< "r-xp" and the like.
    std::string_view path; ///< Of the mapped file, or a name such as "[stack]"; empty for memory without one.

    /// The path without its folders.
    [[nodiscard]] std::string_view name() const;
};

/// Lists this process's memory from the lowest address up. May be used in a signal handler; belongs to one thread.
class MemoryMapReader {
public:
    MemoryMapReader();
    ~MemoryMapReader();
    MemoryMapReader(const MemoryMapReader&) = delete;
    MemoryMapReader& operator=(const MemoryMapReader&) = delete;

    /// False at the end. The region's texts are good until the next call.
    [[nodiscard]] bool next(MappedRegion& region);

private:
    [[nodiscard]] bool nextLine(std::string_view& line);

    const int m_file;
    size_t m_begin = 0;
    size_t m_end = 0;
    std::array<char, 8192> m_text;
};

} // namespace kelmo
