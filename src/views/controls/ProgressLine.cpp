#include "views/controls/ProgressLine.h"

#include "views/controls/ProgressAccessible.h"
#include "views/style/Theme.h"

#include <QPainter>

namespace kelmo {

ProgressLine::ProgressLine(const QString& accessibleName, QWidget* parent)
    : QWidget(parent)
{
    ProgressAccessible::install();
    setAccessibleName(accessibleName);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void ProgressLine::setProgress(std::optional<double> progress)
{
    if (progress == m_progress)
        return;
    const bool wasShown = m_progress.has_value();
    const int before = percent();
    m_progress = progress;
    update();
    tell(wasShown, before);
}

/// Tells assistive technology; of the values only whole percents.
void ProgressLine::tell(bool wasShown, int before)
{
    if (wasShown != m_progress.has_value()) {
        QAccessible::State changed;
        changed.invisible = true;
        QAccessibleStateChangeEvent event(this, changed);
        QAccessible::updateAccessibility(&event);
    }
    if (m_progress && (!wasShown || percent() != before)) {
        QAccessibleValueChangeEvent event(this, percent());
        QAccessible::updateAccessibility(&event);
    }
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
