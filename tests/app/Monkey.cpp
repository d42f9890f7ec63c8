#include "tests/app/Monkey.h"

#include <QApplication>
#include <QFileDialog>
#include <QTest>
#include <QWheelEvent>

#include <numeric>

namespace kelmo {

namespace {

struct Stroke {
    int weight;
    Qt::Key key;
    Qt::KeyboardModifiers held = Qt::NoModifier;
};

/// Without the keys that quit: nothing could come after them.
const std::vector<Stroke>& strokes()
{
    using enum Qt::Key;
    constexpr auto shift = Qt::ShiftModifier;
    constexpr auto control = Qt::ControlModifier;
    constexpr auto alt = Qt::AltModifier;
    static const std::vector<Stroke> all{
        // Editing.
        {40, Key_Delete},
        {40, Key_Backspace},
        {3, Key_Delete, shift},
        {3, Key_Backspace, control},
        {24, Key_Z, control},
        {24, Key_Z, control | shift},
        {20, Key_B, control},
        {8, Key_BracketLeft, alt},
        {8, Key_BracketRight, alt},
        {8, Key_Backslash, alt},
        // Playing.
        {16, Key_Space},
        {2, Key_Space, shift},
        // The caret, the selection, the playhead.
        {14, Key_Left},
        {14, Key_Right},
        {10, Key_Up},
        {10, Key_Down},
        {10, Key_Left, shift},
        {16, Key_Right, shift},
        {6, Key_Up, shift},
        {6, Key_Down, shift},
        {6, Key_Left, control},
        {6, Key_Right, control},
        {6, Key_Left, control | shift},
        {10, Key_Right, control | shift},
        {6, Key_Home},
        {6, Key_End},
        {4, Key_Home, shift},
        {4, Key_End, shift},
        {4, Key_Home, control},
        {4, Key_End, control},
        {3, Key_PageUp},
        {3, Key_PageDown},
        {4, Key_A, control},
        {4, Key_C, control},
        {2, Key_V, control},
        {2, Key_X, control},
        // Going about.
        {16, Key_Tab},
        {10, Key_Backtab, shift},
        {12, Key_Escape},
        {8, Key_Return},
        {2, Key_Enter},
        {4, Key_F10},
        {2, Key_Menu},
        {2, Key_Comma, control},
        {2, Key_W, control},
        {1, Key_O, control},
        {2, Key_E, control},
        {1, Key_S, control | shift},
        // Holding, and typing.
        {1, Key_Shift},
        {2, Key_Control},
        {2, Key_Alt},
        {4, Key_A},
        {4, Key_M},
        {2, Key_1},
        {2, Key_BracketLeft},
        {2, Key_Period},
    };
    return all;
}

/// One in so many keys opens a take again, which begins another history.
constexpr int strokesToANewTake = 900;

/// A menu goes away with the key that chooses from it, so its window may be gone before the key is up again.
void press(QWindow* window, Qt::Key key, Qt::KeyboardModifiers held)
{
    const QPointer<QWindow> pressed(window);
    const char typed = held & (Qt::ControlModifier | Qt::AltModifier) ? 0 : QTest::keyToAscii(key);
    const QString text = typed ? QString(QLatin1Char(typed)) : QString();
    QTest::simulateEvent(window, true, key, held, text, false);
    if (pressed)
        QTest::simulateEvent(window, false, key, held, text, false);
}

QString named(const QWidget& widget) { return QString::fromLatin1(widget.metaObject()->className()); }

QString at(QPoint point) { return QStringLiteral(" at %1,%2").arg(point.x()).arg(point.y()); }

} // namespace

Monkey::Monkey(unsigned seed, QWidget& mainWindow)
    : m_random(seed)
    , m_mainWindow(mainWindow)
{
}

QWidget& Monkey::front()
{
    if (QWidget* popup = QApplication::activePopupWidget())
        return *popup;
    // Without a window manager the window is not activated again after a dialog.
    if (!QApplication::activeWindow() || !QApplication::activeWindow()->isVisible())
        m_mainWindow.activateWindow();
    QWidget* active
        = QApplication::activeModalWidget() ? QApplication::activeModalWidget() : QApplication::activeWindow();
    return active && active->windowHandle() ? *active : m_mainWindow;
}

QString Monkey::act()
{
    QWidget& front = this->front();
    // A file dialog leads anywhere on the machine.
    if (auto* dialog = qobject_cast<QFileDialog*>(&front)) {
        dialog->reject();
        return QStringLiteral("the file dialog is dismissed");
    }
    // What is done may be the end of the window.
    const QString where = QStringLiteral(" in ") % named(front);
    const int choice = below(100);
    const QString done = choice < 48 ? strike(front)
        : choice < 66                ? move(front)
        : choice < 90                ? pressOrRelease(front)
        : choice < 94                ? doubleClick(front)
        : choice < 99                ? turnWheel(front)
                                     : resize();
    return done % where;
}

Qt::KeyboardModifiers Monkey::held()
{
    static constexpr Qt::KeyboardModifier some[]{Qt::ShiftModifier, Qt::AltModifier, Qt::ControlModifier};
    return below(5) == 0 ? some[below(3)] : Qt::NoModifier;
}

/// Mostly on one of the window's parts, so that small ones get their share.
QPoint Monkey::somewhere(const QWidget& front)
{
    QList<QWidget*> parts = front.findChildren<QWidget*>();
    parts.removeIf([&front](QWidget* part) { return !part->isVisible() || part->window() != &front; });
    const QWidget* part = parts.isEmpty() || below(4) == 0 ? &front : parts[below(int(parts.size()))];
    const QPoint inside(below(std::max(1, part->width())), below(std::max(1, part->height())));
    const QRect room = front.rect();
    const QPoint point = part->mapTo(&front, inside);
    return {std::clamp(point.x(), room.left(), room.right()), std::clamp(point.y(), room.top(), room.bottom())};
}

QPoint Monkey::nearby(const QWidget& front)
{
    const QPoint point = m_pointer + QPoint(below(121) - 60, below(21) - 10);
    const QRect room = front.rect();
    return {std::clamp(point.x(), room.left(), room.right()), std::clamp(point.y(), room.top(), room.bottom())};
}

QString Monkey::strike(QWidget& front)
{
    if (below(strokesToANewTake) == 0) {
        press(front.windowHandle(), Qt::Key_O, Qt::ControlModifier | Qt::ShiftModifier);
        return QStringLiteral("the newest take is opened");
    }
    const std::vector<Stroke>& all = strokes();
    static const int total
        = std::accumulate(all.begin(), all.end(), 0, [](int sum, const Stroke& one) { return sum + one.weight; });
    int left = below(total);
    auto stroke = all.begin();
    while (left >= stroke->weight)
        left -= (stroke++)->weight;
    press(front.windowHandle(), stroke->key, stroke->held);
    return QKeySequence(stroke->held | stroke->key).toString();
}

QString Monkey::move(QWidget& front)
{
    m_pointer = below(2) == 0 ? nearby(front) : somewhere(front);
    QTest::mouseMove(front.windowHandle(), m_pointer);
    return QStringLiteral("the pointer") % at(m_pointer);
}

QString Monkey::pressOrRelease(QWidget& front)
{
    if (m_pressed != Qt::NoButton) {
        // A pointer that is held belongs to the window it was pressed in.
        QWidget& holder = m_pressedIn && m_pressedIn->windowHandle() ? *m_pressedIn : front;
        m_pointer = below(3) == 0 ? somewhere(holder) : nearby(holder);
        QTest::mouseRelease(holder.windowHandle(), std::exchange(m_pressed, Qt::NoButton), held(), m_pointer);
        return QStringLiteral("release") % at(m_pointer);
    }
    m_pointer = somewhere(front);
    m_pressed = below(12) == 0 ? Qt::RightButton : Qt::LeftButton;
    m_pressedIn = &front;
    const QWidget* child = front.childAt(m_pointer);
    const QString pressed = QStringLiteral("press") % QString::number(m_pressed) % at(m_pointer)
        % QStringLiteral(" on ") % named(child ? *child : front);
    QTest::mousePress(front.windowHandle(), m_pressed, held(), m_pointer);
    return pressed;
}

QString Monkey::doubleClick(QWidget& front)
{
    if (m_pressed != Qt::NoButton)
        return pressOrRelease(front);
    m_pointer = somewhere(front);
    const QString clicked = QStringLiteral("double click") % at(m_pointer);
    QTest::mouseDClick(front.windowHandle(), Qt::LeftButton, held(), m_pointer);
    return clicked;
}

QString Monkey::turnWheel(QWidget& front)
{
    const QPoint turned(below(3) == 0 ? below(480) - 240 : 0, below(480) - 240);
    const QPointF point = somewhere(front);
    QWheelEvent turn(point, front.mapToGlobal(point), {}, turned, Qt::NoButton, held(), Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(front.windowHandle(), &turn);
    return QStringLiteral("the wheel") % at(point.toPoint());
}

QString Monkey::resize()
{
    m_mainWindow.resize(900 + below(700), 520 + below(400));
    return QStringLiteral("a window of %1 by %2").arg(m_mainWindow.width()).arg(m_mainWindow.height());
}

} // namespace kelmo
