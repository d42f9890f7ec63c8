#include "platform/RuntimeFolder.h"

#include <QDir>

#include <sys/stat.h>
#include <unistd.h>

namespace kelmo {

namespace {

constexpr mode_t onlyOurs = 0700;

/// Whether it is a folder, no link to one, that is this user's and no other user can enter.
bool isPrivate(const QByteArray& path)
{
    struct stat info = {};
    return ::lstat(path.constData(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == ::geteuid()
        && (info.st_mode & 0777) == onlyOurs;
}

} // namespace

void RuntimeFolder::ensure()
{
    constexpr char variable[] = "XDG_RUNTIME_DIR";
    if (!qEnvironmentVariableIsEmpty(variable))
        return;
    const QByteArray user = QByteArray::number(uint(::geteuid()));
    const QByteArray ours = QDir::tempPath().toLocal8Bit() + "/kelmo-runtime-" + user;
    const QByteArray logins = "/run/user/" + user;
    if (!isPrivate(logins))
        (void)::mkdir(ours.constData(), onlyOurs); // It may be there already.
    for (const QByteArray& folder : {logins, ours}) {
        if (isPrivate(folder)) {
            qputenv(variable, folder);
            return;
        }
    }
}

} // namespace kelmo
