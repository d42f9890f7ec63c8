#include "views/transcript/ScrollGlide.h"

#include "views/style/Theme.h"

namespace kelmo {

namespace {

constexpr int glideMs = 180;
constexpr int restMs = 2000;

} // namespace

ScrollGlide::ScrollGlide(QScrollBar& bar)
    : m_bar(bar)
{
    m_animation.setEasingCurve(QEasingCurve::OutCubic);
    QObject::connect(&m_animation, &QVariantAnimation::valueChanged, &bar,
        [&bar](const QVariant& value) { bar.setValue(value.toInt()); });
}

void ScrollGlide::to(int value)
{
    const int reachable = std::clamp(value, m_bar.minimum(), m_bar.maximum());
    if (reachable == destination())
        return;
    m_animation.stop();
    m_animation.setStartValue(m_bar.value());
    m_animation.setEndValue(reachable);
    m_animation.setDuration(Theme::motionMs(glideMs));
    m_animation.start();
}

void ScrollGlide::stop() { m_animation.stop(); }

void ScrollGlide::rest()
{
    stop();
    m_sinceUser.start();
}

bool ScrollGlide::isResting() const { return m_sinceUser.isValid() && !m_sinceUser.hasExpired(restMs); }

int ScrollGlide::destination() const
{
    return m_animation.state() == QAbstractAnimation::Running ? m_animation.endValue().toInt() : m_bar.value();
}

} // namespace kelmo
