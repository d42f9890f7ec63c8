#include "views/controls/ProgressAccessible.h"

#include "views/controls/ProgressLine.h"

namespace kelmo {

void ProgressAccessible::install() { QAccessible::installFactory(&ProgressAccessible::make); }

QAccessibleInterface* ProgressAccessible::make(const QString&, QObject* object)
{
    auto* line = qobject_cast<ProgressLine*>(object);
    return line ? new ProgressAccessible(*line) : nullptr;
}

ProgressAccessible::ProgressAccessible(ProgressLine& line)
    : QAccessibleWidget(&line, QAccessible::ProgressBar)
    , m_line(line)
{
}

QString ProgressAccessible::text(QAccessible::Text kind) const
{
    if (kind == QAccessible::Value && m_line.progress())
        return QString::number(m_line.percent()) % QStringLiteral("%");
    return QAccessibleWidget::text(kind);
}

QAccessible::State ProgressAccessible::state() const
{
    QAccessible::State state = QAccessibleWidget::state();
    state.readOnly = true;
    state.invisible = state.invisible || !m_line.progress();
    return state;
}

void* ProgressAccessible::interface_cast(QAccessible::InterfaceType type)
{
    return type == QAccessible::ValueInterface ? static_cast<QAccessibleValueInterface*>(this)
                                               : QAccessibleWidget::interface_cast(type);
}

QVariant ProgressAccessible::currentValue() const { return m_line.percent(); }

} // namespace kelmo
