#include "views/controls/StyledMenu.h"

#include <QMouseEvent>

namespace kelmo {

namespace {

constexpr int gap = 6;

} // namespace

StyledMenu::StyledMenu(QWidget* parent, const QString& title)
    : QMenu(title, parent)
{
    // Rounded corners want a window that is clear behind them, and no shadow of a square one.
    setWindowFlags(windowFlags() | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint);
    setAttribute(Qt::WA_TranslucentBackground);
}

void StyledMenu::addHeading(const QString& text) { addAction(text)->setEnabled(false); }

void StyledMenu::openAt(QWidget& button)
{
    m_button = &button;
    const QSize size = sizeHint();
    const QWidget* window = button.window();
    const QRect within(window->mapToGlobal(QPoint()), window->size());
    const QRect at(button.mapToGlobal(QPoint()), button.size());
    const bool fitsBelow = at.bottom() + gap + size.height() <= within.bottom();
    const bool fitsRight = at.left() + size.width() <= within.right();
    popup(QPoint(fitsRight ? at.left() : at.right() + 1 - size.width(),
        fitsBelow ? at.bottom() + 1 + gap : at.top() - gap - size.height()));
}

void StyledMenu::mousePressEvent(QMouseEvent* event)
{
    const bool onButton = m_button
        && QRect(m_button->mapToGlobal(QPoint()), m_button->size()).contains(event->globalPosition().toPoint());
    setAttribute(Qt::WA_NoMouseReplay, onButton);
    QMenu::mousePressEvent(event);
}

} // namespace kelmo
