#include "media/ExportFolder.h"

#include "media/stack/encode/PartFile.h"
#include "platform/Home.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QTextBoundaryFinder>

#include <unistd.h>

namespace kelmo {

namespace {

/// Some file systems count other units than bytes and allow 255 of those.
constexpr qsizetype maxNameBytes = 255;

qsizetype maxBytesIn(const QString& folder)
{
    const long allowed = ::pathconf(QFile::encodeName(folder).constData(), _PC_NAME_MAX);
    return allowed > 0 ? std::min<qsizetype>(allowed, maxNameBytes) : maxNameBytes;
}

QString shortened(const QString& name, qsizetype maxBytes)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, name);
    qsizetype end = name.size();
    finder.toEnd();
    while (end > 0 && QFile::encodeName(name.left(end)).size() > maxBytes)
        end = std::max<qsizetype>(finder.toPreviousBoundary(), 0);
    return name.left(end);
}

/// Joined with the ending, whatever of the base name leaves room for the hidden name while the file is written.
QString joined(const QString& folder, const QString& base, const QString& ending)
{
    const QString prefix = folder % QStringLiteral("/");
    const QString hidden = QFileInfo(PartFile::pathFor(prefix % ending)).fileName();
    return prefix % shortened(base, maxBytesIn(folder) - QFile::encodeName(hidden).size()) % ending;
}

bool isFree(const QString& path) { return !QFile::exists(path) && !QFile::exists(PartFile::pathFor(path)); }

} // namespace

QString ExportFolder::path() { return Home::file(QStringLiteral("Movies/Vorlix")); }

QString ExportFolder::freePath(const QString& folder, const QString& base, Codec codec)
{
    QString time = QDateTime::currentDateTimeUtc().toString(Qt::ISODate);
    time.replace(QLatin1Char(':'), QLatin1Char('.'));
    const QString ending = QStringLiteral("-") % traits(codec).name % QStringLiteral("-") % time;
    QString path = joined(folder, base, ending % QStringLiteral(".mp4"));
    // Two exports within a second would share their name, and the second would take the first one's place.
    for (int number = 2; !isFree(path); ++number)
        path = joined(folder, base, ending % QStringLiteral(" %1.mp4").arg(number));
    return path;
}

void ExportFolder::removeLeftBehind() { PartFile::removeLeftBehind(path()); }

} // namespace kelmo
