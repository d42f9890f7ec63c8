#pragma once

#include <QPointer>
#include <QWidget>

#include <random>

namespace kelmo {

/// Presses keys and uses the pointer at random, in whatever window has the keyboard, as the window system would tell of
/// it. Owned by the test; main thread.
class Monkey {
public:
    /// Requires: the program's main window outlives it.
    Monkey(unsigned seed, QWidget& mainWindow);

    /// Does one thing and tells what, for the reader of a failure.
    QString act();

private:
    [[nodiscard]] int below(int count) { return int(m_random() % unsigned(count)); }
    [[nodiscard]] Qt::KeyboardModifiers held();
    [[nodiscard]] QPoint somewhere(const QWidget& front);
    [[nodiscard]] QPoint nearby(const QWidget& front);
    [[nodiscard]] QWidget& front();

    QString strike(QWidget& front);
    QString move(QWidget& front);
    QString pressOrRelease(QWidget& front);
    QString doubleClick(QWidget& front);
    QString turnWheel(QWidget& front);
    QString resize();

    std::mt19937 m_random;
    QWidget& m_mainWindow;
    QPoint m_pointer; ///< In the window in front.
    QPointer<QWidget> m_pressedIn;
    Qt::MouseButton m_pressed = Qt::NoButton;
};

} // namespace kelmo
