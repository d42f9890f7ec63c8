#include "views/style/FocusRing.h"

#include "views/style/Theme.h"

#include <QApplication>
#include <QEvent>
#include <QPainter>

namespace kelmo {

namespace {

constexpr const char* radiusProperty = "kelmoFocusRadius";
constexpr int reach = Theme::focusOffset + Theme::focusWidth;

} // namespace

FocusRing::FocusRing(QWidget* content)
    : QWidget(content)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    hide();
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) { follow(now); });
}

void FocusRing::enable(QWidget& control, double radius) { control.setProperty(radiusProperty, radius); }

void FocusRing::follow(QWidget* control)
{
    for (QWidget* watched = m_control; watched; watched = watched->parentWidget())
        watched->removeEventFilter(this);
    const bool wanted = control && parentWidget()->isAncestorOf(control) && control->property(radiusProperty).isValid();
    m_control = wanted ? control : nullptr;
    for (QWidget* watched = m_control; watched && watched != parentWidget(); watched = watched->parentWidget())
        watched->installEventFilter(this);
    place();
}

void FocusRing::place()
{
    setVisible(m_control && m_control->isVisible());
    if (!isVisible())
        return;
    const QPoint corner = m_control->mapTo(parentWidget(), QPoint());
    setGeometry(QRect(corner, m_control->size()).adjusted(-reach, -reach, reach, reach));
    raise();
}

bool FocusRing::eventFilter(QObject* watched, QEvent* event)
{
    const QEvent::Type type = event->type();
    if (type == QEvent::Move || type == QEvent::Resize || type == QEvent::Show || type == QEvent::Hide)
        place();
    return QWidget::eventFilter(watched, event);
}

void FocusRing::paintEvent(QPaintEvent*)
{
    if (!m_control)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Theme::accent, Theme::focusWidth));
    const double half = Theme::focusWidth / 2.0;
    const double radius = m_control->property(radiusProperty).toDouble() + Theme::focusOffset + half;
    painter.drawRoundedRect(QRectF(rect()).adjusted(half, half, -half, -half), radius, radius);
}

} // namespace kelmo
