#include "views/window/ControlRow.h"

#include "views/controls/Button.h"
#include "views/controls/RoundButton.h"
#include "views/controls/SpeedPicker.h"
#include "views/controls/TabularLabel.h"
#include "views/style/ClockText.h"
#include "views/style/Theme.h"

#include <QHBoxLayout>

namespace kelmo {

namespace {

constexpr int playDiameter = 34;

QString splitTip()
{
    return QStringLiteral("Split at the playhead (Ctrl+B) — then click a piece and press Delete to remove it");
}

} // namespace

ControlRow::ControlRow(Editor& editor, QWidget* parent)
    : QWidget(parent)
    , m_editor(editor)
    , m_play(new RoundButton(RoundButton::Tone::Bright, playDiameter, Icons::Symbol::Play, this))
    , m_time(new TabularLabel(Theme::normalFont(), this))
    , m_split(new Button(Button::Kind::Raised, Button::Height::Small, QStringLiteral("Split"), this))
    , m_speed(new SpeedPicker([&editor](double rate) { editor.setPlaybackRate(rate); }, this))
{
    m_split->setSymbol(Icons::Symbol::Scissors);
    m_time->setAccessibleDescription(QStringLiteral("Time in the edit, and its length"));

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(Theme::controlGap);
    layout->addWidget(m_play);
    layout->addWidget(m_time);
    layout->addStretch(1);
    layout->addWidget(m_split);
    layout->addWidget(m_speed);

    connect(m_play, &QAbstractButton::clicked, &editor, &Editor::togglePlay);
    connect(m_split, &QAbstractButton::clicked, &editor, &Editor::splitAtPlayhead);
    connect(&editor, &Editor::playingChanged, this, &ControlRow::showPlaying);
    connect(&editor, &Editor::takeChanged, this, &ControlRow::showPlaying);
    connect(&editor, &Editor::timelineChanged, this, &ControlRow::showPlaying);
    connect(&editor, &Editor::timelineChanged, this, &ControlRow::showTime);
    connect(&editor.playhead(), &Playhead::moved, this, &ControlRow::showTime);
    connect(&editor, &Editor::playbackRateChanged, this, [this] { m_speed->setRate(m_editor.playbackRate()); });
    m_speed->setRate(editor.playbackRate());
    showPlaying();
    showTime();
}

void ControlRow::showPlaying()
{
    const bool loaded = m_editor.built() != nullptr;
    const bool playing = m_editor.isPlaying();
    m_play->setSymbol(playing ? Icons::Symbol::Pause : Icons::Symbol::Play);
    m_play->setAccessibleName(playing ? QStringLiteral("Pause") : QStringLiteral("Play"));
    m_play->setEnabled(loaded);
    m_split->setEnabled(loaded);
    const QString why = QStringLiteral("Open a take first");
    m_play->setToolTip(loaded ? m_play->accessibleName() % QStringLiteral(" (Space)") : why);
    m_split->setToolTip(loaded ? splitTip() : why);
}

void ControlRow::showTime()
{
    m_time->setParts({{clock(m_editor.playhead().ms()), Theme::text1},
        {QStringLiteral(" / ") % clock(m_editor.timeline().durationMs), Theme::text2}});
}

} // namespace kelmo
