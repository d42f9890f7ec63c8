#pragma once

#include "platform/Error.h"

#include <QFile>

#include <memory>

namespace kelmo {

/// Cuts a file into numbered parts and reads one at a time, always into the same memory: fresh pages for every part
/// would cost more than reading it. Owned by who sends them; any thread, one at a time. The file is closed with it.
class PartReader {
public:
    /// Requires: `partSize` is at least 1, in bytes.
    [[nodiscard]] static Result<std::unique_ptr<PartReader>> open(const QString& path, qint64 partSize);

    [[nodiscard]] qint64 size() const { return m_size; } ///< Of the file when it was opened, in bytes.
    [[nodiscard]] qint64 count() const; ///< Of parts; an empty file is one empty part.

    /// Part `n`, from 1; empty at and past the end of the file. The bytes stay here and are good until the next call.
    [[nodiscard]] Result<QByteArray> part(qint64 n);

private:
    PartReader(const QString& path, qint64 partSize);
    [[nodiscard]] tl::unexpected<Error> unreadable() const;

    QFile m_file;
    const qint64 m_partSize;
    qint64 m_size = 0;
    QByteArray m_bytes;
};

} // namespace kelmo
