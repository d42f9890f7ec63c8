#pragma once

#include <QColor>
#include <QLabel>

namespace kelmo {

/// A line of text with numbers that don't jitter, in parts of different colours. To a reader of the screen it is one
/// label. Main thread.
class TabularLabel : public QLabel {
    Q_OBJECT

public:
    struct Part {
        QString text;
        QColor color;

        bool operator==(const Part&) const = default;
    };

    TabularLabel(const QFont& font, QWidget* parent);

    void setParts(std::vector<Part> parts);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::vector<Part> m_parts;
};

} // namespace kelmo
