#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>

namespace kelmo {

/// Hands values from one thread to another, and makes the giver wait while `capacity` of them are untaken. Either side
/// may close it: then nothing more is accepted, and what is inside can still be taken.
template <class T> class BoundedQueue {
public:
    explicit BoundedQueue(size_t capacity)
        : m_capacity(capacity)
    {
    }

    /// Waits for room. False when the queue was closed, and the value dropped.
    bool push(T value)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_closed || m_values.size() < m_capacity; });
        if (m_closed)
            return false;
        m_values.push_back(std::move(value));
        m_changed.notify_all();
        return true;
    }

    /// Waits for a value. None when the queue is closed and empty.
    std::optional<T> pop()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_closed || !m_values.empty(); });
        if (m_values.empty())
            return std::nullopt;
        std::optional<T> value(std::move(m_values.front()));
        m_values.pop_front();
        m_changed.notify_all();
        return value;
    }

    /// Lets both sides go. May be called more than once, from any thread.
    void close()
    {
        const std::lock_guard lock(m_mutex);
        m_closed = true;
        m_changed.notify_all();
    }

private:
    const size_t m_capacity;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<T> m_values;
    bool m_closed = false;
};

} // namespace kelmo
