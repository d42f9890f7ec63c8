#include "views/controls/SpeedPicker.h"

#include "editor/Editor.h"
#include "views/style/FocusRing.h"
#include "views/style/Theme.h"

#include <QHBoxLayout>
#include <QPainter>

namespace kelmo {

namespace {

constexpr int trayPadding = 2;
constexpr int choicePadding = 9;
constexpr int choiceHeight = 24;
constexpr int minChoiceWidth = 36;

QFont choiceFont() { return Theme::font(12, QFont::Medium); }

} // namespace

SpeedPicker::Choice::Choice(double rate, QWidget* parent)
    : QAbstractButton(parent)
    , m_rate(rate)
{
    setText(label(rate));
    setToolTip(QStringLiteral("Play at ") % label(rate) % QStringLiteral(" speed"));
    setFont(choiceFont());
    setCheckable(true);
    setAutoExclusive(true);
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_Hover);
    FocusRing::enable(*this, Theme::smallRadius);
}

QSize SpeedPicker::Choice::sizeHint() const
{
    const int width = qRound(QFontMetricsF(font()).horizontalAdvance(text())) + 2 * choicePadding;
    return {std::max(width, minChoiceWidth), choiceHeight};
}

void SpeedPicker::Choice::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const bool lit = isChecked() || isDown();
    painter.setBrush(m_highlight.towards(lit ? Theme::surface3 : underMouse() ? Theme::surface2 : Theme::surface1));
    painter.drawRoundedRect(rect(), Theme::smallRadius, Theme::smallRadius);
    painter.setFont(font());
    painter.setPen(m_label.towards(isChecked() ? Theme::white(1) : underMouse() ? Theme::text2 : Theme::text3));
    painter.drawText(rect(), Qt::AlignCenter, text());
}

SpeedPicker::SpeedPicker(const std::function<void(double rate)>& onPick, QWidget* parent)
    : QWidget(parent)
{
    setAccessibleName(QStringLiteral("Speed"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(trayPadding, trayPadding, trayPadding, trayPadding);
    layout->setSpacing(trayPadding);
    for (const double rate : Editor::playbackRates) {
        auto* choice = new Choice(rate, this);
        connect(choice, &QAbstractButton::clicked, this, [onPick, rate] { onPick(rate); });
        layout->addWidget(choice);
        m_choices.push_back(choice);
    }
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QString SpeedPicker::label(double rate)
{
    const QString number = rate == 1.5 ? QStringLiteral("1.5") : QString::number(int(rate));
    return number % QStringLiteral("×");
}

void SpeedPicker::setRate(double rate)
{
    for (Choice* choice : m_choices)
        choice->setChecked(choice->rate() == rate);
}

void SpeedPicker::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::surface1);
    painter.drawRoundedRect(rect(), Theme::smallRadius + trayPadding, Theme::smallRadius + trayPadding);
}

} // namespace kelmo
