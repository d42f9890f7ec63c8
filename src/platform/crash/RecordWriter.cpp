#include "platform/crash/RecordWriter.h"

#include <cerrno>

#include <unistd.h>

namespace kelmo {

RecordWriter::RecordWriter(int file)
    : m_file(file)
{
}

RecordWriter::~RecordWriter() { flush(); }

RecordWriter& RecordWriter::text(std::string_view text)
{
    for (const char character : text)
        put(character == '\n' ? ' ' : character);
    return *this;
}

RecordWriter& RecordWriter::hex(std::uint64_t value)
{
    int shift = 60;
    while (shift > 0 && (value >> shift) == 0)
        shift -= 4;
    for (; shift >= 0; shift -= 4)
        put("0123456789abcdef"[(value >> shift) & 15U]);
    return *this;
}

RecordWriter& RecordWriter::decimal(std::int64_t value, int minDigits)
{
    std::array<char, 24> digits{};
    int count = 0;
    auto left = value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
    do {
        digits.at(static_cast<size_t>(count++)) = static_cast<char>('0' + left % 10);
        left /= 10;
    } while (left > 0);
    if (value < 0)
        put('-');
    for (int missing = minDigits - count; missing > 0; --missing)
        put('0');
    while (count > 0)
        put(digits.at(static_cast<size_t>(--count)));
    return *this;
}

RecordWriter& RecordWriter::endLine()
{
    put('\n');
    return *this;
}

void RecordWriter::flush()
{
    const char* data = m_buffer.data();
    while (m_size > 0) {
        const ssize_t written = ::write(m_file, data, m_size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            break;
        data += written;
        m_size -= static_cast<size_t>(written);
    }
    m_size = 0;
}

void RecordWriter::put(char character)
{
    if (m_size == m_buffer.size())
        flush();
    m_buffer[m_size++] = character;
}

} // namespace kelmo
