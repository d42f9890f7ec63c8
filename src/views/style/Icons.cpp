#include "views/style/Icons.h"

#include <QPainter>
#include <QPixmapCache>
#include <QSvgRenderer>

#include <array>
#include <cmath>

// The toolkit's macro for files compiled into a static library; it has to stand outside of every namespace.
static void ensureIconFiles() { Q_INIT_RESOURCE(icons); }

namespace kelmo {

namespace {

/// How visible the icon of a disabled widget is.
constexpr double disabledOpacity = 0.4;

/// In the order of the symbols.
constexpr std::array fileNames{QStringView(u"play"), QStringView(u"pause"), QStringView(u"stop"),
    QStringView(u"scissors"), QStringView(u"sparkle"), QStringView(u"arrow-up"), QStringView(u"chevron-down"),
    QStringView(u"chevron-left"), QStringView(u"chevron-right"), QStringView(u"link"), QStringView(u"check"),
    QStringView(u"cross"), QStringView(u"menu"), QStringView(u"alert"), QStringView(u"film")};
static_assert(fileNames.size() == size_t(Icons::Symbol::Film) + 1);

} // namespace

void Icons::ensureFiles() { ensureIconFiles(); }

QPixmap Icons::pixmap(Symbol symbol, const QColor& color, int size, double devicePixelRatio)
{
    const QString key
        = QStringLiteral("kelmo-icon %1 %2 %3 %4").arg(int(symbol)).arg(color.rgba()).arg(size).arg(devicePixelRatio);
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap))
        return pixmap;
    const int side = int(std::ceil(size * devicePixelRatio));
    QPixmap made(side, side);
    made.fill(Qt::transparent);
    QPainter painter(&made);
    ensureIconFiles();
    QSvgRenderer drawing(QStringLiteral(":/icons/") % fileNames[size_t(symbol)] % QStringLiteral(".svg"));
    drawing.render(&painter, QRectF(0, 0, side, side));
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(made.rect(), color);
    painter.end();
    made.setDevicePixelRatio(devicePixelRatio);
    QPixmapCache::insert(key, made);
    return made;
}

void Icons::paint(QPainter& painter, Symbol symbol, const QRectF& box, const QColor& color)
{
    const double ratio = painter.device()->devicePixelRatioF();
    const QPixmap shape = pixmap(symbol, color, qRound(box.width()), ratio);
    painter.drawPixmap(box.topLeft(), shape);
}

QIcon Icons::icon(Symbol symbol, const QColor& color)
{
    constexpr int side = 16;
    QColor dim = color;
    dim.setAlphaF(float(color.alphaF() * disabledOpacity));
    QIcon icon;
    for (const double ratio : {1.0, 2.0, 3.0}) {
        icon.addPixmap(pixmap(symbol, color, side, ratio));
        icon.addPixmap(pixmap(symbol, dim, side, ratio), QIcon::Disabled);
    }
    return icon;
}

} // namespace kelmo
