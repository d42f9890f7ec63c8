#pragma once

#include "platform/Error.h"

#include <QFile>

#include <memory>
#include <mutex>

namespace kelmo {

/// Cuts a file into numbered parts. Shared by whoever sends them; any thread may ask, one at a time is served. The
/// file is closed with the last owner.
class PartReader {
public:
    /// Requires: `partSize` is at least 1, in bytes.
    [[nodiscard]] static Result<std::shared_ptr<PartReader>> open(const QString& path, qint64 partSize);

    [[nodiscard]] qint64 size() const { return m_size; } ///< Of the file when it was opened, in bytes.
    [[nodiscard]] qint64 count() const; ///< Of parts; an empty file is one empty part.

    /// Part `n`, from 1; empty at and past the end of the file.
    [[nodiscard]] Result<QByteArray> part(qint64 n);

private:
    PartReader(const QString& path, qint64 partSize);
    [[nodiscard]] tl::unexpected<Error> unreadable() const;

    std::mutex m_mutex; ///< Seeking and reading are one step.
    QFile m_file;
    const qint64 m_partSize;
    qint64 m_size = 0;
};

} // namespace kelmo
