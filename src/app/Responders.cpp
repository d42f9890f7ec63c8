#include "app/Responders.h"

#include <QApplication>
#include <QMetaMethod>
#include <QWidget>

namespace kelmo {

QWidget* Responders::editedField()
{
    QWidget* focused = QApplication::focusWidget();
    // The toolkit's fields ask for an input method just when they can be written in.
    return focused && focused->testAttribute(Qt::WA_InputMethodEnabled) ? focused : nullptr;
}

bool Responders::send(const char* slot)
{
    const QByteArray signature = QByteArray(slot) + "()";
    for (QWidget* widget = QApplication::focusWidget(); widget; widget = widget->parentWidget()) {
        const int index = widget->metaObject()->indexOfSlot(signature.constData());
        if (index >= 0)
            return widget->metaObject()->method(index).invoke(widget, Qt::DirectConnection);
    }
    return false;
}

} // namespace kelmo
