#pragma once

#include <QAccessibleWidget>

namespace kelmo {

class TimelineBar;

/// What assistive technology sees of the timeline bar: a slider over the edit, in seconds, whose value is the playhead.
/// Made and owned by Qt; main thread.
class TimelineAccessible : public QAccessibleWidget, public QAccessibleValueInterface {
public:
    /// Makes every TimelineBar known in this way. May be called again.
    static void install();

    [[nodiscard]] QString text(QAccessible::Text kind) const override;
    [[nodiscard]] int childCount() const override { return 0; } ///< Handles and mouse area are its own business.
    [[nodiscard]] void* interface_cast(QAccessible::InterfaceType type) override;

    [[nodiscard]] QVariant currentValue() const override;
    void setCurrentValue(const QVariant& value) override;
    [[nodiscard]] QVariant maximumValue() const override;
    [[nodiscard]] QVariant minimumValue() const override { return 0.0; }
    [[nodiscard]] QVariant minimumStepSize() const override;

private:
    explicit TimelineAccessible(TimelineBar& bar);
    [[nodiscard]] static QAccessibleInterface* make(const QString& className, QObject* object);

    TimelineBar& m_bar;
};

} // namespace kelmo
