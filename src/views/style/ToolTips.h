#pragma once

#include <QKeySequence>
#include <QString>

namespace kelmo {

/// A tooltip that ends with the keys which do the same.
[[nodiscard]] inline QString tipWithKeys(const QString& text, const QKeySequence& keys)
{
    return text % QStringLiteral(" (") % keys.toString(QKeySequence::NativeText) % QStringLiteral(")");
}

} // namespace kelmo
