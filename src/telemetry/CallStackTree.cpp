#include "telemetry/CallStackTree.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace kelmo {

namespace {

const CrashRecord::Module* moduleAt(const CrashRecord::Section& section, quint64 address)
{
    const auto module
        = std::find_if(section.modules.begin(), section.modules.end(), [address](const CrashRecord::Module& candidate) {
              return candidate.start <= address && address < candidate.end;
          });
    return module == section.modules.end() ? nullptr : &*module;
}

} // namespace

QByteArray CallStackTree::json(const CrashRecord::Section& section, Symbolizer& symbolizer)
{
    QJsonArray frames;
    QJsonObject modules;
    for (const quint64 frame : section.frames) {
        // All but the innermost frame are where a call returns to, which may already be the next function.
        const quint64 address = frames.isEmpty() ? frame : frame - 1;
        const CrashRecord::Module* const module = moduleAt(section, address);
        if (!module) {
            frames.append(QJsonObject{{QStringLiteral("address"), QString::number(frame, 16)}});
            continue;
        }
        QJsonObject entry{{QStringLiteral("module"), module->name},
            {QStringLiteral("offset"), static_cast<qint64>(frame - module->base)}};
        if (const std::optional<QString> function = symbolizer.function(*module, address))
            entry.insert(QStringLiteral("function"), *function);
        frames.append(entry);
        modules.insert(module->name, QString::fromLatin1(module->buildID));
    }
    const QJsonObject stack{{QStringLiteral("frames"), frames}};
    const QJsonObject tree{{QStringLiteral("callStacks"), QJsonArray{stack}}, {QStringLiteral("modules"), modules}};
    return QJsonDocument(tree).toJson(QJsonDocument::Compact);
}

} // namespace kelmo
