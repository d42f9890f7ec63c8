#include "views/controls/Toggle.h"

#include "views/style/FocusRing.h"
#include "views/style/Theme.h"

#include <QPainter>

namespace kelmo {

namespace {

constexpr QSize trackSize(36, 20);
constexpr int knobInset = 2;
constexpr int rowHeight = 28;
constexpr int gap = 16;

} // namespace

Toggle::Toggle(const QString& text, QWidget* parent)
    : QAbstractButton(parent)
{
    setText(text);
    setFont(Theme::normalFont());
    setCheckable(true);
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    FocusRing::enable(*this, Theme::smallRadius);
}

QSize Toggle::sizeHint() const
{
    return {qRound(QFontMetricsF(font()).horizontalAdvance(text())) + gap + trackSize.width(), rowHeight};
}

void Toggle::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setFont(font());
    painter.setPen(isEnabled() ? Theme::text1 : Theme::text3);
    painter.drawText(rect(), Qt::AlignLeft | Qt::AlignVCenter, text());

    const QRectF track(
        width() - trackSize.width(), (height() - trackSize.height()) / 2.0, trackSize.width(), trackSize.height());
    painter.setPen(Qt::NoPen);
    const QColor off = underMouse() ? Theme::white(0.22) : Theme::white(0.16);
    painter.setBrush(m_track.towards(isChecked() ? QColor(Theme::accent) : off));
    painter.drawRoundedRect(track, track.height() / 2, track.height() / 2);
    const double diameter = track.height() - 2 * knobInset;
    const double x = isChecked() ? track.right() - knobInset - diameter : track.left() + knobInset;
    painter.setBrush(Qt::white);
    painter.drawEllipse(QRectF(x, track.top() + knobInset, diameter, diameter));
}

} // namespace kelmo
