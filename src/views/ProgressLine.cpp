#include "views/ProgressLine.h"

#include "views/Theme.h"

#include <QPainter>

namespace kelmo {

ProgressLine::ProgressLine(const QString& accessibleName, QWidget* parent)
    : QWidget(parent)
{
    setAccessibleName(accessibleName);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void ProgressLine::setProgress(std::optional<double> progress)
{
    if (progress == m_progress)
        return;
    m_progress = progress;
    setAccessibleDescription(progress ? QString::number(int(*progress * 100)) % QStringLiteral("%") : QString());
    update();
}

void ProgressLine::paintEvent(QPaintEvent*)
{
    if (!m_progress)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::line);
    painter.drawRoundedRect(rect(), thickness / 2.0, thickness / 2.0);
    painter.setBrush(Theme::accent);
    painter.drawRoundedRect(QRectF(0, 0, width() * *m_progress, height()), thickness / 2.0, thickness / 2.0);
}

} // namespace kelmo
