#include "views/StyledMenu.h"

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

void StyledMenu::openBelow(QWidget& button)
{
    m_button = &button;
    popup(button.mapToGlobal(QPoint(0, button.height() + gap)));
}

void StyledMenu::mousePressEvent(QMouseEvent* event)
{
    const bool onButton = m_button
        && QRect(m_button->mapToGlobal(QPoint()), m_button->size()).contains(event->globalPosition().toPoint());
    setAttribute(Qt::WA_NoMouseReplay, onButton);
    QMenu::mousePressEvent(event);
}

} // namespace kelmo
