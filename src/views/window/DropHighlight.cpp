#include "views/window/DropHighlight.h"

#include "views/style/Theme.h"

#include <QEvent>
#include <QPainter>

namespace kelmo {

namespace {

constexpr double lineWidth = 2;
constexpr int labelHeight = 36;
constexpr int labelPadding = 16;

QColor tint(QColor color, double opacity)
{
    color.setAlpha(Theme::alpha(opacity));
    return color;
}

} // namespace

DropHighlight::DropHighlight(QWidget* parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAccessibleName(QStringLiteral("Drop to open"));
    parent->installEventFilter(this);
    hide();
}

void DropHighlight::light(bool on)
{
    setGeometry(parentWidget()->rect());
    setVisible(on);
    raise();
}

bool DropHighlight::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Resize)
        setGeometry(parentWidget()->rect());
    return QWidget::eventFilter(watched, event);
}

void DropHighlight::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double inset = lineWidth / 2;
    const QRectF card = QRectF(rect()).adjusted(Theme::windowEdge + inset, inset, -Theme::windowEdge - inset, -inset);
    painter.fillRect(rect(), Theme::black(0.6));
    painter.setPen(QPen(Theme::accent, lineWidth));
    painter.setBrush(tint(Theme::accent, 0.16));
    painter.drawRoundedRect(card, Theme::cardRadius, Theme::cardRadius);

    painter.setFont(Theme::titleFont());
    const double width = painter.fontMetrics().horizontalAdvance(accessibleName()) + 2 * labelPadding;
    QRectF label(0, 0, width, labelHeight);
    label.moveCenter(card.center());
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::accent);
    painter.drawRoundedRect(label, Theme::rowRadius, Theme::rowRadius);
    painter.setPen(Qt::white);
    painter.drawText(label, Qt::AlignCenter, accessibleName());
}

} // namespace kelmo
