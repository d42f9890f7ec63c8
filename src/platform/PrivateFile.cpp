#include "platform/PrivateFile.h"

#include <QFileInfo>
#include <QTemporaryFile>

#include <cstdio>
#include <unistd.h>

namespace kelmo {

bool PrivateFile::write(const QString& path, const QByteArray& bytes)
{
    // A temporary file is created with mode 600. A saved file of the toolkit is not: it begins with what the umask says
    // and could be opened by others before its mode is put right. It also writes to what a link points to. The name is
    // short because that of the file may be as long as a name can be.
    QTemporaryFile file(QFileInfo(path).absolutePath() % QStringLiteral("/.kelmo-XXXXXX"));
    if (!file.open() || file.write(bytes) != bytes.size() || !file.flush() || ::fsync(file.handle()) != 0)
        return false;
    if (std::rename(QFile::encodeName(file.fileName()).constData(), QFile::encodeName(path).constData()) != 0)
        return false;
    file.setAutoRemove(false);
    return true;
}

} // namespace kelmo
