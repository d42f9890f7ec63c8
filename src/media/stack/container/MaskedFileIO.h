#pragma once

#include "media/stack/container/MovBoxes.h"
#include "media/stack/container/SampleIndex.h"
#include "media/stack/core/AvHandles.h"

#include <QFile>

namespace kelmo {

/// A file as libav reads it while the tables are built. With `hideTables` it finds no sample tables in it, which are
/// read by us in a fraction of the time. With `skipMediaData` bytes inside `mdat` bodies are not read from disk: the
/// demuxer needs to step over them, and their contents are not read. Absurd sample counts read as possible ones.
/// Owned by the opener of the file, and outlives what libav opens on it; any one thread.
class MaskedFileIO {
public:
    explicit MaskedFileIO(const QString& path);
    ~MaskedFileIO();
    MaskedFileIO(const MaskedFileIO&) = delete;
    MaskedFileIO& operator=(const MaskedFileIO&) = delete;

    [[nodiscard]] bool open(); ///< Reads the boxes, too. False when the file cannot be read; `reason` says why.
    void hideTables(); ///< Requires: open.
    void skipMediaData(); ///< Requires: open.

    /// Reads the media data of a sample, whatever is skipped or hidden. False when the file does not have it whole.
    [[nodiscard]] bool readSample(const Sample& sample, AVPacket& packet);

    [[nodiscard]] AVIOContext* context() const { return m_context; } ///< Null until open.
    [[nodiscard]] const MovBoxes& boxes() const { return m_boxes; }
    [[nodiscard]] int64_t size() const { return m_file.size(); } ///< Bytes.
    [[nodiscard]] QString reason() const { return m_file.errorString(); }

private:
    static int read(void* opaque, uint8_t* buffer, int size);
    static int64_t seek(void* opaque, int64_t offset, int whence);
    void patch(uint8_t* buffer, int64_t count) const;

    QFile m_file;
    MovBoxes m_boxes;
    AVIOContext* m_context = nullptr;
    int64_t m_position = 0; ///< Bytes from the start of the file.
    std::vector<MovBoxes::Patch> m_patches; ///< What libav reads in place of what is there, ascending.
    bool m_skip = false;
};

} // namespace kelmo
