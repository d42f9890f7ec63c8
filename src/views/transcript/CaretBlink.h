#pragma once

#include <QObject>
#include <QTimer>

namespace kelmo {

/// Makes a caret blink at the desktop's pace, and stand still where the desktop wants that. Owned by the view whose
/// caret it is; main thread.
class CaretBlink : public QObject {
    Q_OBJECT

public:
    explicit CaretBlink(QObject* parent = nullptr);

    [[nodiscard]] bool isLit() const { return m_lit; }
    void start(); ///< Lit first, so that a caret that moves is seen all the way.
    void stop(); ///< Dark.

Q_SIGNALS:
    void changed();

private:
    void setLit(bool lit);

    QTimer m_timer;
    bool m_lit = false;
};

} // namespace kelmo
