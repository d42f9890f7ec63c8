#include "views/style/ColorFade.h"

#include "views/style/Theme.h"

#include <QWidget>

namespace kelmo {

ColorFade::ColorFade(QWidget& control)
{
    QObject::connect(
        &m_animation, &QVariantAnimation::valueChanged, &control, [&control](const QVariant&) { control.update(); });
}

QColor ColorFade::towards(const QColor& target)
{
    const bool isFirst = !m_target.isValid();
    if (target != m_target) {
        const QColor now = m_animation.state() == QAbstractAnimation::Running
            ? m_animation.currentValue().value<QColor>()
            : m_target;
        m_target = target;
        m_animation.stop();
        const int duration = isFirst ? 0 : Theme::motionMs(Theme::fadeMs);
        if (duration > 0) {
            m_animation.setDuration(duration);
            m_animation.setStartValue(now);
            m_animation.setEndValue(target);
            m_animation.start();
        }
    }
    return m_animation.state() == QAbstractAnimation::Running ? m_animation.currentValue().value<QColor>() : m_target;
}

} // namespace kelmo
