#pragma once

#include <QAccessibleWidget>

namespace kelmo {

class ProgressLine;

/// What assistive technology sees of a progress line: a progress bar in percent, which is not on show while nothing is
/// under way. Made and owned by Qt; main thread.
class ProgressAccessible : public QAccessibleWidget, public QAccessibleValueInterface {
public:
    /// Makes every ProgressLine known in this way. May be called again.
    static void install();

    [[nodiscard]] QString text(QAccessible::Text kind) const override;
    [[nodiscard]] QAccessible::State state() const override;
    [[nodiscard]] void* interface_cast(QAccessible::InterfaceType type) override;

    [[nodiscard]] QVariant currentValue() const override;
    void setCurrentValue(const QVariant&) override { }
    [[nodiscard]] QVariant maximumValue() const override { return 100; }
    [[nodiscard]] QVariant minimumValue() const override { return 0; }
    [[nodiscard]] QVariant minimumStepSize() const override { return 1; }

private:
    explicit ProgressAccessible(ProgressLine& line);
    [[nodiscard]] static QAccessibleInterface* make(const QString& className, QObject* object);

    ProgressLine& m_line;
};

} // namespace kelmo
