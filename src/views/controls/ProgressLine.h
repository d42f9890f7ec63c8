#pragma once

#include <QWidget>

#include <optional>

namespace kelmo {

/// A thin line that grows from left to right while something long is under way. Takes its place even when there is
/// nothing to show, so that nothing around it moves. Main thread.
class ProgressLine : public QWidget {
    Q_OBJECT

public:
    static constexpr int thickness = 2;

    ProgressLine(const QString& accessibleName, QWidget* parent);

    void setProgress(std::optional<double> progress); ///< 0 to 1; none hides it.
    [[nodiscard]] std::optional<double> progress() const { return m_progress; }
    [[nodiscard]] int percent() const { return int(m_progress.value_or(0) * 100); } ///< Whole ones that are done.

    [[nodiscard]] QSize sizeHint() const override { return {0, thickness}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void tell(bool wasShown, int before);

    std::optional<double> m_progress;
};

} // namespace kelmo
