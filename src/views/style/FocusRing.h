#pragma once

#include <QPointer>
#include <QWidget>

namespace kelmo {

/// The ring around whichever control of a window has the keyboard's focus, drawn outside of it on top of its
/// neighbours. One for each window, its child; main thread.
class FocusRing : public QWidget {
    Q_OBJECT

public:
    explicit FocusRing(QWidget* content);

    /// Gives `control` a ring whenever it has the focus; `radius` is that of its own corners.
    static void enable(QWidget& control, double radius);

protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void follow(QWidget* control);
    void place();

    QPointer<QWidget> m_control;
};

} // namespace kelmo
