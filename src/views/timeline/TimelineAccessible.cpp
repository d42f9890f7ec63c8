#include "views/timeline/TimelineAccessible.h"

#include "views/style/TimeText.h"
#include "views/timeline/TimelineBar.h"

namespace kelmo {

void TimelineAccessible::install() { QAccessible::installFactory(&TimelineAccessible::make); }

QAccessibleInterface* TimelineAccessible::make(const QString&, QObject* object)
{
    auto* bar = qobject_cast<TimelineBar*>(object);
    return bar ? new TimelineAccessible(*bar) : nullptr;
}

TimelineAccessible::TimelineAccessible(TimelineBar& bar)
    : QAccessibleWidget(&bar, QAccessible::Slider)
    , m_bar(bar)
{
}

QString TimelineAccessible::text(QAccessible::Text kind) const
{
    if (kind == QAccessible::Value)
        return TimeText::tenths(m_bar.positionMs()) % QStringLiteral(" of ") % TimeText::tenths(m_bar.lengthMs());
    return QAccessibleWidget::text(kind);
}

void* TimelineAccessible::interface_cast(QAccessible::InterfaceType type)
{
    return type == QAccessible::ValueInterface ? static_cast<QAccessibleValueInterface*>(this)
                                               : QAccessibleWidget::interface_cast(type);
}

QVariant TimelineAccessible::currentValue() const { return m_bar.positionMs() / 1000; }

void TimelineAccessible::setCurrentValue(const QVariant& value) { m_bar.moveTo(value.toDouble() * 1000); }

QVariant TimelineAccessible::maximumValue() const { return m_bar.lengthMs() / 1000; }

QVariant TimelineAccessible::minimumStepSize() const { return m_bar.frameMs() / 1000; }

} // namespace kelmo
