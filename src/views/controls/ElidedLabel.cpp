#include "views/controls/ElidedLabel.h"

#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>

namespace kelmo {

namespace {

constexpr int minWidth = 24;

} // namespace

ElidedLabel::ElidedLabel(const QFont& font, const QColor& color, QWidget* parent)
    : QLabel(parent)
    , m_color(color)
{
    setFont(font);
    setTextFormat(Qt::PlainText);
}

void ElidedLabel::setColor(const QColor& color)
{
    m_color = color;
    update();
}

QSize ElidedLabel::sizeHint() const
{
    const QFontMetricsF metrics(font());
    return {int(std::ceil(metrics.horizontalAdvance(text()))) + 1, int(std::ceil(metrics.height()))};
}

QSize ElidedLabel::minimumSizeHint() const
{
    const QSize whole = sizeHint();
    return {std::min(minWidth, whole.width()), whole.height()};
}

/// A server's words may come with line feeds and tags; they are one line of plain text here.
QString ElidedLabel::shown() const { return QFontMetricsF(font()).elidedText(text().simplified(), m_mode, width()); }

bool ElidedLabel::event(QEvent* event)
{
    if (event->type() == QEvent::ToolTip && toolTip().isEmpty() && shown() != text()) {
        QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), Qt::convertFromPlainText(text()), this);
        return true;
    }
    return QLabel::event(event);
}

void ElidedLabel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setFont(font());
    painter.setPen(m_color);
    painter.drawText(rect(), int(alignment()), shown());
}

} // namespace kelmo
