#pragma once

#include "platform/Error.h"

#include <QString>

#include <memory>

namespace kelmo {

/// The hidden file beside a final one, under which that is written until it is whole. Destroyed before, it is removed.
/// A lock tells the file of a running export from one that a killed program left behind. Owned by one writer.
class PartFile {
public:
    /// Creates an empty file beside `finalPath`. Fails if it can't be written, or if another writer has it. Also
    /// removes from that folder what was left behind.
    [[nodiscard]] static Result<std::unique_ptr<PartFile>> create(const QString& finalPath);
    ~PartFile();
    PartFile(const PartFile&) = delete;
    PartFile& operator=(const PartFile&) = delete;

    /// Removes the hidden files in a folder that were left behind by a program that was killed. The lock tells them
    /// from those that are being written; on a file system without locks they are left behind after a day.
    static void removeLeftBehind(const QString& folder);

    /// Where the part of a file at `finalPath` lies.
    [[nodiscard]] static QString pathFor(const QString& finalPath);

    [[nodiscard]] const QString& path() const { return m_path; }

    /// Brings the content safely to the disk and gives it its final name, in place of any file of that name.
    [[nodiscard]] Result<void> takeFinalName();

private:
    PartFile(const QString& finalPath, int file);

    const QString m_finalPath;
    const QString m_path;
    const int m_file;
    bool m_whole = false;
};

} // namespace kelmo
