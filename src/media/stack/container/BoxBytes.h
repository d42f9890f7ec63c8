#pragma once

#include <QtEndian>

#include <algorithm>
#include <cstdint>

namespace kelmo {

/// A box’s type, or another name of four letters.
constexpr uint32_t tag(const char (&name)[5])
{
    return uint32_t(uint8_t(name[0])) << 24 | uint32_t(uint8_t(name[1])) << 16 | uint32_t(uint8_t(name[2])) << 8
        | uint32_t(uint8_t(name[3]));
}

/// A stretch of bytes read from its front, which answers 0 once it has run out.
class BoxBytes {
public:
    BoxBytes(const char* data, int64_t size)
        : m_data(data)
        , m_left(size)
    {
    }

    [[nodiscard]] int64_t left() const { return m_left; }
    [[nodiscard]] const char* here() const { return m_data; }
    void skip(int64_t count) { take(count); }
    uint8_t u8() { return number<uint8_t>(); }
    uint32_t u32() { return number<uint32_t>(); }
    uint64_t u64() { return number<uint64_t>(); }

    /// The next `count` bytes, or as many as there are.
    BoxBytes take(int64_t count)
    {
        count = std::clamp<int64_t>(count, 0, m_left);
        const BoxBytes part(m_data, count);
        m_data += count;
        m_left -= count;
        return part;
    }

    /// The next box inside these bytes: its type and its body. False at the end.
    bool nextBox(uint32_t& type, BoxBytes& body)
    {
        if (m_left < 8)
            return false;
        uint64_t size = u32();
        type = u32();
        uint64_t head = 8;
        if (size == 1) {
            size = u64();
            head = 16;
        } else if (size == 0) {
            size = uint64_t(m_left) + head;
        }
        if (size < head)
            return false;
        body = take(int64_t(std::min<uint64_t>(size - head, uint64_t(m_left))));
        return true;
    }

private:
    template <class T> T number()
    {
        if (m_left < int64_t(sizeof(T))) {
            m_left = 0;
            return 0;
        }
        const T value = qFromBigEndian<T>(m_data);
        skip(sizeof(T));
        return value;
    }

    const char* m_data;
    int64_t m_left;
};

} // namespace kelmo
