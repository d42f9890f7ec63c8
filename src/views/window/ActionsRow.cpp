#include "views/window/ActionsRow.h"

#include "platform/MonotonicClock.h"
#include "views/controls/Button.h"
#include "views/controls/ProgressLine.h"
#include "views/style/Theme.h"
#include "views/style/ToolTips.h"
#include "views/window/ExportSettingsButton.h"

#include <QHBoxLayout>
#include <QStackedWidget>

namespace kelmo {

namespace {

QString percentText(double progress) { return QString::number(int(progress * 100)) % QStringLiteral("%"); }

} // namespace

ActionsRow::ActionsRow(Editor& editor, QWidget* parent)
    : QWidget(parent)
    , m_editor(editor)
    , m_line(new ProgressLine(QStringLiteral("Export progress"), this))
    , m_row(new QHBoxLayout)
    , m_fillers(new Button(Button::Kind::Raised, Button::Height::Row, QStringLiteral("Cut fillers"), this))
    , m_pauses(new Button(Button::Kind::Raised, Button::Height::Row, QStringLiteral("Tighten pauses"), this))
    , m_settingsOrCancel(new QStackedWidget(this))
    , m_settings(new ExportSettingsButton(editor, this))
    , m_cancel(new Button(Button::Kind::Raised, Button::Height::Row, QStringLiteral("Cancel"), this))
    , m_export(new Button(Button::Kind::Primary, Button::Height::Row, QStringLiteral("Export"), this))
{
    m_cancel->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    m_cancel->setToolTip(QStringLiteral("Stop the export and leave nothing behind"));
    m_export->reserveWidthFor({percentText(1)});
    m_settingsOrCancel->addWidget(m_settings);
    m_settingsOrCancel->addWidget(m_cancel);
    m_settingsOrCancel->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(lineHeight - ProgressLine::thickness);
    column->addWidget(m_line);
    column->addLayout(m_row);
    m_row->setSpacing(Theme::betweenButtons);
    m_row->addStretch(1);
    for (QWidget* widget : std::initializer_list<QWidget*>{m_fillers, m_pauses, m_settingsOrCancel, m_export})
        m_row->addWidget(widget, 0, Qt::AlignBottom);

    connect(m_fillers, &QAbstractButton::clicked, &editor, &Editor::cutFillers);
    connect(m_pauses, &QAbstractButton::clicked, &editor, &Editor::tightenPauses);
    connect(m_cancel, &QAbstractButton::clicked, &editor, &Editor::cancelExport);
    connect(m_export, &QAbstractButton::clicked, &editor, [&editor] { editor.exportFromUI(); });
    connect(&editor, &Editor::countsChanged, this, &ActionsRow::showCounts);
    connect(&editor, &Editor::takeChanged, this, &ActionsRow::showCounts);
    connect(&editor, &Editor::exportChanged, this, &ActionsRow::showExport);
    connect(&editor, &Editor::timelineChanged, this, &ActionsRow::showExport);
    connect(&editor, &Editor::takeChanged, this, &ActionsRow::showExport);
    showCounts();
    showExport();
}

void ActionsRow::setPrompt(QWidget* prompt)
{
    delete m_row->takeAt(0);
    m_row->insertWidget(0, prompt, 1);
}

void ActionsRow::showCounts()
{
    const int fillers = m_editor.fillerCount();
    const int pauses = m_editor.pauseCount();
    m_fillers->setBadge(QString::number(fillers));
    m_pauses->setBadge(QString::number(pauses));
    m_fillers->setEnabled(fillers > 0);
    m_pauses->setEnabled(pauses > 0);
    m_fillers->setToolTip(
        fillers > 0 ? QStringLiteral("Cut every “um”, “uh” and the like") : QStringLiteral("No fillers left to cut"));
    m_pauses->setToolTip(
        pauses > 0 ? QStringLiteral("Shorten every long pause to 0.15 s") : QStringLiteral("No long pauses left"));
}

void ActionsRow::showExport()
{
    const std::optional<double> progress = m_editor.exportProgress();
    m_line->setProgress(progress);
    m_settingsOrCancel->setCurrentWidget(progress ? static_cast<QWidget*>(m_cancel) : m_settings);
    if (progress) {
        m_remaining.note(*progress, MonotonicClock::nowMs());
        m_cancel->setBadge(m_remaining.text());
        m_export->setText(percentText(*progress));
    } else {
        m_remaining = {};
        m_cancel->setBadge({});
        m_export->setText(QStringLiteral("Export"));
    }
    m_export->setEnabled(m_editor.built() && !progress);
    m_export->setToolTip(progress ? QStringLiteral("An export is running")
            : m_editor.built()
            ? tipWithKeys(QStringLiteral("Export an MP4 to the Movies folder"), QKeySequence(Qt::CTRL | Qt::Key_E))
            : QStringLiteral("Open a take first"));
    m_export->setAccessibleName(
        progress ? QStringLiteral("Exporting, ") % percentText(*progress) : QStringLiteral("Export"));
}

} // namespace kelmo
