#pragma once

#include <QLabel>

namespace kelmo {

/// One line of text that ends in "…" where there is no room for it, and then has all of it in its tooltip. Main thread.
class ElidedLabel : public QLabel {
    Q_OBJECT

public:
    ElidedLabel(const QFont& font, const QColor& color, QWidget* parent);

    void setColor(const QColor& color);
    [[nodiscard]] QColor color() const { return m_color; }
    void setElideMode(Qt::TextElideMode mode) { m_mode = mode; }

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] QString shown() const;

    QColor m_color;
    Qt::TextElideMode m_mode = Qt::ElideRight;
};

} // namespace kelmo
