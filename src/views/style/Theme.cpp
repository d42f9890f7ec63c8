#include "views/style/Theme.h"

#include "platform/ReducedMotion.h"

#include <QFontDatabase>
#include <QGuiApplication>
#include <QScreen>

namespace kelmo {

QFont Theme::font(double pixels, QFont::Weight weight)
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    // Only point sizes may be fractional.
    const QScreen* screen = QGuiApplication::primaryScreen();
    font.setPointSizeF(pixels * 72 / (screen ? screen->logicalDotsPerInchY() : 96));
    font.setWeight(weight);
    return font;
}

int Theme::motionMs(int milliseconds) { return ReducedMotion::asked() ? 0 : milliseconds; }

} // namespace kelmo
