#include "views/window/ExportSettingsButton.h"

#include "views/controls/StyledMenu.h"

namespace kelmo {

namespace {

constexpr int fullHdLines = 1080;

QString label(Codec codec, std::optional<int> height, int fps)
{
    const QString size = height ? QString::number(*height) % QStringLiteral("p") : QStringLiteral("Native");
    return traits(codec).displayName % QStringLiteral(" · ") % size % QStringLiteral(" · ") % QString::number(fps)
        % QStringLiteral(" fps");
}

} // namespace

ExportSettingsButton::ExportSettingsButton(Editor& editor, QWidget* parent)
    : Button(Kind::Raised, Height::Row, QString(), parent)
    , m_editor(editor)
    , m_menu(new StyledMenu(this))
{
    setChevron(true);
    setToolTip(QStringLiteral("How the video is exported"));
    opens(*m_menu);
    reserveWidthFor({label(Codec::Hevc, std::nullopt, 60), label(Codec::H264, fullHdLines, 60)});

    addPicker(QStringLiteral("Codec"));
    for (const Codec codec : {Codec::H264, Codec::Hevc}) {
        addChoice(
            traits(codec).displayName, [this, codec] { return m_editor.codec() == codec; },
            [this, codec] { m_editor.setCodec(codec); });
    }
    addPicker(QStringLiteral("Size"));
    addChoice(
        QStringLiteral("Native"), [this] { return !m_editor.exportHeight(); },
        [this] { m_editor.setExportHeight(std::nullopt); });
    addChoice(
        QStringLiteral("1080p"), [this] { return m_editor.exportHeight() == fullHdLines; },
        [this] { m_editor.setExportHeight(fullHdLines); });
    addPicker(QStringLiteral("Frame rate"));
    for (const int fps : {30, 60}) {
        addChoice(
            QString::number(fps) % QStringLiteral(" fps"), [this, fps] { return m_editor.exportFPS() == fps; },
            [this, fps] { m_editor.setExportFPS(fps); });
    }
    connect(&editor, &Editor::exportChanged, this, &ExportSettingsButton::showSettings);
    showSettings();
}

void ExportSettingsButton::addPicker(const QString& title)
{
    if (!m_menu->isEmpty())
        m_menu->addSeparator();
    m_menu->addHeading(title);
}

void ExportSettingsButton::addChoice(const QString& label, std::function<bool()> isChosen, std::function<void()> choose)
{
    QAction* row = m_menu->addAction(label);
    row->setCheckable(true);
    connect(row, &QAction::triggered, this, std::move(choose));
    m_choices.push_back({row, std::move(isChosen)});
}

void ExportSettingsButton::showSettings()
{
    setText(label(m_editor.codec(), m_editor.exportHeight(), m_editor.exportFPS()));
    for (const Choice& choice : m_choices)
        choice.row->setChecked(choice.isChosen());
}

} // namespace kelmo
