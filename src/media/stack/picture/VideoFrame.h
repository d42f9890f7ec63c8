#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

struct AVFrame;
struct AVBufferPool;

namespace kelmo {

/// How the numbers of a picture are meant, as the code points that streams and containers carry (ITU-T H.273).
/// 2 is "unspecified" for the first three.
struct ColorTags {
    int primaries = 2;
    int transfer = 2;
    int matrix = 2;
    bool fullRange = false;

    bool operator==(const ColorTags&) const = default;

    /// What to assume where the source says nothing: BT.709, or BT.601 for pictures of up to 576 lines.
    [[nodiscard]] ColorTags completed(int height) const;
};

/// One picture, shared by reference and never written to once it is shared. Past the FrameConverter every picture is
/// planar 8-bit 4:2:0, upright and with square pixels. Cheap to copy; may be passed between threads.
class VideoFrame {
public:
    VideoFrame() = default;
    /// Takes the frame over.
    explicit VideoFrame(AVFrame* owned);

    explicit operator bool() const { return m_frame != nullptr; }
    [[nodiscard]] int width() const;
    [[nodiscard]] int height() const;
    [[nodiscard]] const uint8_t* plane(int index) const;
    [[nodiscard]] int stride(int index) const;
    [[nodiscard]] ColorTags color() const;
    [[nodiscard]] size_t bytes() const; ///< Of memory, of which other pictures may hold parts, too.
    [[nodiscard]] const AVFrame* av() const { return m_frame.get(); }

    /// The same picture without the last columns and rows, sharing its memory. Requires sizes not above its own.
    [[nodiscard]] VideoFrame cropped(int width, int height) const;

    /// The same picture with these colours written on it, sharing its memory.
    [[nodiscard]] VideoFrame tagged(ColorTags color) const;

    /// Requires: the picture has just come from a pool and is not shared yet.
    [[nodiscard]] uint8_t* writablePlane(int index);
    [[nodiscard]] AVFrame* writable() { return m_frame.get(); }
    void setColor(ColorTags color);

    bool operator==(const VideoFrame&) const = default; ///< The same picture in memory.

private:
    std::shared_ptr<AVFrame> m_frame;
};

/// Hands out writable 4:2:0 pictures of one size and takes their memory back when the last reference goes.
/// Thread-safe; may die before the pictures it gave.
class FramePool {
public:
    FramePool() = default;
    FramePool(int width, int height);
    ~FramePool();
    FramePool(FramePool&& other) noexcept;
    FramePool& operator=(FramePool&& other) noexcept;

    [[nodiscard]] int width() const { return m_width; }
    [[nodiscard]] int height() const { return m_height; }

    /// An uninitialised picture of the caller's own. Null when memory runs out.
    [[nodiscard]] VideoFrame take() const;
    /// A copy of a picture of this size, with its colour tags.
    [[nodiscard]] VideoFrame copyOf(const VideoFrame& frame) const;
    /// A black picture in the given colours.
    [[nodiscard]] VideoFrame black(ColorTags color) const;

private:
    int m_width = 0;
    int m_height = 0;
    AVBufferPool* m_pool = nullptr;
};

} // namespace kelmo
