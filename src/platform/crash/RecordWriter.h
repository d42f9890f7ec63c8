#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kelmo {

/// Puts lines of text together and writes them to an open file, which it doesn't own. Everything here may be called in
/// a signal handler: nothing allocates or locks, and what can't be written is lost. Used by one thread at a time.
class RecordWriter {
public:
    explicit RecordWriter(int file);
    ~RecordWriter();
    RecordWriter(const RecordWriter&) = delete;
    RecordWriter& operator=(const RecordWriter&) = delete;

    /// A line feed inside `text` becomes a blank, so that no text can pass for a line of its own.
    RecordWriter& text(std::string_view text);
    RecordWriter& hex(std::uint64_t value);
    RecordWriter& decimal(std::int64_t value, int minDigits = 1);
    RecordWriter& endLine();

    /// Hands what has been put together so far to the file.
    void flush();

private:
    void put(char character);

    const int m_file;
    size_t m_size = 0;
    std::array<char, 1024> m_buffer;
};

} // namespace kelmo
