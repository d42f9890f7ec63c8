#pragma once

#include "platform/crash/MemoryMapReader.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace kelmo {

/// A stretch of code, [start, end), that a program or library file brought into this process.
struct LoadedModule {
    std::uint64_t start = 0;
    std::uint64_t end = 0;
    std::uint64_t base = 0; ///< Where the file's own beginning is mapped.
    std::string_view buildID; ///< In hexadecimal digits; empty when the file has none.
    std::string_view path;
    std::string_view name; ///< The path without its folders.
};

/// Lists the code in this process. May be used in a signal handler: memory is read through the system, which answers
/// with an error where reading it directly would fault. Belongs to one thread.
class ModuleReader {
public:
    ModuleReader();
    ~ModuleReader();
    ModuleReader(const ModuleReader&) = delete;
    ModuleReader& operator=(const ModuleReader&) = delete;

    /// False at the end. The module's texts are good until the next call.
    [[nodiscard]] bool next(LoadedModule& module);

private:
    void readBuildID();

    MemoryMapReader m_regions;
    const int m_memory;
    std::uint64_t m_base = 0; ///< Of the file met last, and its inode.
    std::uint64_t m_inode = 0;
    size_t m_buildIDLength = 0;
    std::array<char, 64> m_buildID;
};

} // namespace kelmo
