#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

namespace kelmo {

/// Points HOME at a fresh empty folder for as long as it lives, so that a test neither sees nor leaves anything in the
/// real home folder. Owned by the test; main thread only.
class TemporaryHome {
public:
    TemporaryHome();
    ~TemporaryHome();
    TemporaryHome(const TemporaryHome&) = delete;
    TemporaryHome& operator=(const TemporaryHome&) = delete;

    [[nodiscard]] QString path() const;

    /// The absolute path of a file given relative to the home folder; its folder exists afterwards.
    [[nodiscard]] QString file(const QString& relativePath) const;

    /// Writes a file and returns its absolute path.
    QString write(const QString& relativePath, const QByteArray& bytes) const;

    /// The content of a file; empty when there is none.
    [[nodiscard]] QByteArray read(const QString& relativePath) const;

private:
    QTemporaryDir m_folder;
    QByteArray m_before;
    bool m_wasSet;
};

} // namespace kelmo
