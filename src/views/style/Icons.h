#pragma once

#include <QIcon>
#include <QPixmap>

namespace kelmo {

/// The symbols on the controls, drawn for this program as SVG files in icons/. They are white shapes on a square that
/// takes whatever colour is asked for. Main thread only.
namespace Icons {

enum class Symbol {
    Play,
    Pause,
    Stop,
    Scissors,
    Sparkle,
    ArrowUp,
    ChevronDown,
    ChevronLeft,
    ChevronRight,
    Link,
    Check,
    Cross,
    Menu,
    Alert,
    Film,
};

/// The symbol on a square of `size` logical pixels, sharp on a screen of the given device pixel ratio.
[[nodiscard]] QPixmap pixmap(Symbol symbol, const QColor& color, int size, double devicePixelRatio);

/// Paints the symbol into `box`, sharp at the painter's scale.
void paint(QPainter& painter, Symbol symbol, const QRectF& box, const QColor& color);

/// Makes the files known under ":/icons/", for style sheets; painting does it by itself.
void ensureFiles();

/// For toolkit widgets that want an icon, with a dimmer one for when they are disabled.
[[nodiscard]] QIcon icon(Symbol symbol, const QColor& color);

} // namespace Icons

} // namespace kelmo
