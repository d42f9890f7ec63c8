#include "platform/crash/Symbolizer.h"

#include "platform/crash/ModuleReader.h"

#include <QFile>

#include <cstdlib>
#include <memory>

#include <cxxabi.h>

namespace kelmo {

namespace {

constexpr qsizetype longestName = 160;

QString readable(const QByteArray& name)
{
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> text(
        abi::__cxa_demangle(name.constData(), nullptr, nullptr, &status), &std::free);
    const QString full = QString::fromUtf8(status == 0 ? text.get() : name.constData());
    return full.size() <= longestName ? full : full.left(longestName) + QStringLiteral("…");
}

} // namespace

Symbolizer::Symbolizer()
{
    ModuleReader modules;
    LoadedModule module;
    while (modules.next(module)) {
        const QByteArray buildID(module.buildID.data(), static_cast<qsizetype>(module.buildID.size()));
        const QByteArray path(module.path.data(), static_cast<qsizetype>(module.path.size()));
        if (!buildID.isEmpty())
            m_pathOfBuild.insert(buildID, QFile::decodeName(path));
    }
}

std::optional<QString> Symbolizer::function(const CrashRecord::Module& module, quint64 address)
{
    const auto path = m_pathOfBuild.constFind(module.buildID);
    if (path == m_pathOfBuild.constEnd())
        return {};
    auto symbols = m_symbolsOfBuild.constFind(module.buildID);
    if (symbols == m_symbolsOfBuild.constEnd())
        symbols = m_symbolsOfBuild.insert(module.buildID, ElfSymbols::read(*path));
    const std::optional<ElfSymbols::Function> found = symbols->find(address - module.base);
    if (!found)
        return {};
    return readable(found->name) + QStringLiteral(" + ") + QString::number(found->offset);
}

} // namespace kelmo
