#pragma once

#include <QWidget>

namespace kelmo {

/// Floats over the window below a handle that is being dragged, and tells where it is and at which word. Main thread.
class TrimBubble : public QWidget {
    Q_OBJECT

public:
    explicit TrimBubble(QWidget* window);

    /// Shows these below a point of the window, which the tip points at, moved sideways as far as it takes to stay
    /// inside.
    void showAt(QPointF tip, const QString& time, const QString& word);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_time;
    QString m_word;
    double m_tipX = 0; ///< Within the bubble.
};

} // namespace kelmo
