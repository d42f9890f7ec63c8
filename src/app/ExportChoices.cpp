#include "app/ExportChoices.h"

#include "platform/Home.h"

#include <QSettings>

namespace kelmo {

namespace {

constexpr int fullHdLines = 1080;

QString settingsFile() { return Home::file(QStringLiteral("Library/Application Support/Kelmo/export.ini")); }

QString codecKey() { return QStringLiteral("codec"); }
QString heightKey() { return QStringLiteral("height"); }
QString fpsKey() { return QStringLiteral("fps"); }

} // namespace

ExportChoices::ExportChoices(Editor& editor)
    : m_editor(editor)
    , m_kept(now())
{
    load();
    m_kept = now();
    connect(&editor, &Editor::exportChanged, this, &ExportChoices::save);
}

ExportChoices::Choices ExportChoices::now() const
{
    return {m_editor.codec(), m_editor.exportHeight(), m_editor.exportFPS()};
}

/// Takes over what the menu offers, and nothing else that the file may say.
void ExportChoices::load()
{
    const QSettings settings(settingsFile(), QSettings::IniFormat);
    if (const std::optional<Codec> codec = codecFromName(settings.value(codecKey()).toString()))
        m_editor.setCodec(*codec);
    if (settings.value(heightKey()).toInt() == fullHdLines)
        m_editor.setExportHeight(fullHdLines);
    for (const int each : {30, 60}) {
        if (settings.value(fpsKey()).toInt() == each)
            m_editor.setExportFPS(each);
    }
}

void ExportChoices::save()
{
    if (std::exchange(m_kept, now()) == m_kept)
        return; // Only the progress is another.
    QSettings settings(settingsFile(), QSettings::IniFormat);
    settings.setValue(codecKey(), traits(m_kept.codec).name);
    settings.setValue(heightKey(), m_kept.height.value_or(0));
    settings.setValue(fpsKey(), m_kept.fps);
}

} // namespace kelmo
