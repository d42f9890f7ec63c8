#include "telemetry/InstallID.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QUuid>

namespace kelmo {

QString InstallID::loadOrCreate(const QString& path)
{
    QFile file(path);
    if (file.open(QIODevice::ReadOnly)) {
        QString stored = QString::fromUtf8(file.read(4096)).trimmed();
        if (!stored.isEmpty())
            return stored;
    }
    QString created = QUuid::createUuid().toString(QUuid::WithoutBraces);
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile target(path);
    if (target.open(QIODevice::WriteOnly)) {
        target.write(created.toUtf8());
        target.commit();
    }
    return created;
}

} // namespace kelmo
