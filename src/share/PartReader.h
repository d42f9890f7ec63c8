#pragma once

#include "platform/http/HttpRequest.h"

namespace kelmo {

/// Cuts a file into numbered parts, each a stretch of it that is read while it is sent. Owned by who sends them; any
/// thread, one at a time. The file stays open as long as a part of it is used.
class PartReader {
public:
    /// Requires: `partSize` is at least 1, in bytes.
    [[nodiscard]] static Result<PartReader> open(const QString& path, qint64 partSize);

    [[nodiscard]] qint64 size() const { return m_size; } ///< Of the file when it was opened, in bytes.
    [[nodiscard]] qint64 count() const; ///< Of parts; an empty file is one empty part.

    /// Part `n`, from 1; empty at and past the end of the file.
    [[nodiscard]] HttpBody part(qint64 n) const;

private:
    PartReader(std::shared_ptr<const QFile> file, qint64 partSize);

    std::shared_ptr<const QFile> m_file;
    qint64 m_partSize;
    qint64 m_size;
};

} // namespace kelmo
