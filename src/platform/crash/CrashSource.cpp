#include "platform/crash/CrashSource.h"

#include "platform/crash/ModuleReader.h"

#include <QSysInfo>

namespace kelmo {

namespace {

/// The build ID of the file that this code was linked into.
QByteArray ownBuildID()
{
    const auto here = reinterpret_cast<std::uintptr_t>(&ownBuildID);
    ModuleReader modules;
    LoadedModule module;
    while (modules.next(module)) {
        if (module.start <= here && here < module.end)
            return {module.buildID.data(), static_cast<qsizetype>(module.buildID.size())};
    }
    return {};
}

QByteArray header(const QString& version)
{
    const QString text = QStringLiteral("version %1\nbuild %2\nsystem %3\narchitecture %4\n")
                             .arg(version, QString::fromLatin1(ownBuildID()), QSysInfo::prettyProductName(),
                                 QSysInfo::currentCpuArchitecture());
    return text.toUtf8();
}

} // namespace

CrashSource::CrashSource(const QString& folder, const QString& version)
    : m_record(folder, header(version))
    , m_handler(m_record.descriptor())
    , m_watchdog(m_record.descriptor())
{
}

} // namespace kelmo
