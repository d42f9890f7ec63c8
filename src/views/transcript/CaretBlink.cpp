#include "views/transcript/CaretBlink.h"

#include <QGuiApplication>
#include <QStyleHints>

namespace kelmo {

CaretBlink::CaretBlink(QObject* parent)
    : QObject(parent)
{
    connect(&m_timer, &QTimer::timeout, this, [this] { setLit(!m_lit); });
}

void CaretBlink::start()
{
    setLit(true);
    const int wholeFlashMs = QGuiApplication::styleHints()->cursorFlashTime();
    if (wholeFlashMs > 1)
        m_timer.start(wholeFlashMs / 2);
    else
        m_timer.stop();
}

void CaretBlink::stop()
{
    m_timer.stop();
    setLit(false);
}

void CaretBlink::setLit(bool lit)
{
    if (std::exchange(m_lit, lit) != lit)
        Q_EMIT changed();
}

} // namespace kelmo
