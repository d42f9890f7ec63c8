#pragma once

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QObject>

namespace kelmo {

/// A value that follows its target as a weight on a spring would: a response of 0.25 s, damped by 0.7, so that it
/// overshoots a little and settles. Jumps when the desktop asks for less motion. Main thread.
class Spring : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    void setTarget(double target);
    [[nodiscard]] double value() const { return m_value; }

Q_SIGNALS:
    void moved();

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    void step(double seconds);

    double m_target = 0;
    double m_value = 0;
    double m_speed = 0; ///< A second.
    QElapsedTimer m_since;
    QBasicTimer m_timer;
};

} // namespace kelmo
