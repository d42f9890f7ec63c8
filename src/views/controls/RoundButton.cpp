#include "views/controls/RoundButton.h"

#include "views/style/FocusRing.h"
#include "views/style/Theme.h"

#include <QPainter>

namespace kelmo {

namespace {

/// Of the disc's diameter.
constexpr double symbolShare = 0.5;

} // namespace

RoundButton::RoundButton(Tone tone, int diameter, Icons::Symbol symbol, QWidget* parent)
    : QAbstractButton(parent)
    , m_tone(tone)
    , m_diameter(diameter)
    , m_symbol(symbol)
{
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    FocusRing::enable(*this, diameter / 2.0);
}

void RoundButton::setTone(Tone tone)
{
    m_tone = tone;
    update();
}

void RoundButton::setSymbol(Icons::Symbol symbol)
{
    m_symbol = symbol;
    update();
}

QColor RoundButton::disc() const
{
    const bool pressed = isEnabled() && isDown();
    const bool hovered = isEnabled() && underMouse();
    if (m_tone == Tone::Dim)
        return pressed ? Theme::white(0.26) : hovered ? Theme::white(0.2) : Theme::surface3;
    if (!isEnabled())
        return Theme::white(0.22);
    return pressed ? Theme::white(0.72) : hovered ? Theme::white(0.86) : Theme::white(1);
}

void RoundButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_disc.towards(disc()));
    painter.drawEllipse(rect());
    const int side = qRound(m_diameter * symbolShare);
    const QColor dim = isEnabled() ? Theme::text1 : Theme::text3;
    const QColor color = m_tone == Tone::Dim ? dim : QColor(Theme::surface0);
    QRectF box((width() - side) / 2.0, (height() - side) / 2.0, side, side);
    Icons::paint(painter, m_symbol, box, color);
}

} // namespace kelmo
