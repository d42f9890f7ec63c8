#include "views/style/Spring.h"

#include "views/style/Theme.h"

#include <numbers>

namespace kelmo {

namespace {

constexpr double responseSeconds = 0.25;
constexpr double damping = 0.7;
constexpr double settled = 0.002;
constexpr int frameMs = 16;

} // namespace

void Spring::setTarget(double target)
{
    if (target == m_target)
        return;
    m_target = target;
    if (Theme::motionMs(1) == 0) {
        m_value = target;
        Q_EMIT moved();
        return;
    }
    if (!m_timer.isActive()) {
        m_since.start();
        m_timer.start(frameMs, Qt::PreciseTimer, this);
    }
}

void Spring::timerEvent(QTimerEvent*)
{
    step(double(m_since.nsecsElapsed()) / 1e9);
    m_since.start();
    if (std::abs(m_value - m_target) < settled && std::abs(m_speed) < settled) {
        m_value = m_target;
        m_speed = 0;
        m_timer.stop();
    }
    Q_EMIT moved();
}

/// The exact motion of an underdamped spring, so that a late frame lands where an early one would have led.
void Spring::step(double seconds)
{
    const double frequency = 2 * std::numbers::pi / responseSeconds;
    const double decay = damping * frequency;
    const double damped = frequency * std::sqrt(1 - damping * damping);
    const double offset = m_value - m_target;
    const double sine = (m_speed + decay * offset) / damped;
    const double fade = std::exp(-decay * seconds);
    const double c = std::cos(damped * seconds);
    const double s = std::sin(damped * seconds);
    m_value = m_target + fade * (offset * c + sine * s);
    m_speed = fade * ((sine * damped - decay * offset) * c - (offset * damped + decay * sine) * s);
}

} // namespace kelmo
