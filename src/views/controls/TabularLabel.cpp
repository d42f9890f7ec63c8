#include "views/controls/TabularLabel.h"

#include "views/style/TabularText.h"

namespace kelmo {

TabularLabel::TabularLabel(const QFont& font, QWidget* parent)
    : QLabel(parent)
{
    setFont(font);
    setTextFormat(Qt::PlainText);
}

void TabularLabel::setParts(std::vector<Part> parts)
{
    if (parts == m_parts)
        return;
    m_parts = std::move(parts);
    QString whole;
    for (const Part& part : m_parts)
        whole += part.text;
    setText(whole);
    updateGeometry();
    update();
}

QSize TabularLabel::sizeHint() const
{
    const QFontMetricsF metrics(font());
    return {int(std::ceil(TabularText::width(text(), metrics))), int(std::ceil(metrics.height()))};
}

void TabularLabel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setFont(font());
    const QFontMetricsF metrics(font());
    double x = 0;
    for (const Part& part : m_parts) {
        painter.setPen(part.color);
        TabularText::draw(painter, {x, height() / 2.0 + metrics.capHeight() / 2}, part.text);
        x += TabularText::width(part.text, metrics);
    }
}

} // namespace kelmo
