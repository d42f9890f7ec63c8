#include "views/window/PlayerView.h"

#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>

#include <array>

namespace kelmo {

namespace {

const QColor nearBlack = QColor::fromRgbF(0.055f, 0.055f, 0.055f);

/// Takes from the picture's corners what lies outside of an arc.
void roundCorners(QPainter& painter, const QRectF& picture, double radius)
{
    QPainterPath outside; // Of a top left corner.
    outside.lineTo(radius, 0);
    outside.arcTo(0, 0, 2 * radius, 2 * radius, 90, 90);
    outside.closeSubpath();
    painter.setRenderHint(QPainter::Antialiasing);
    const std::array corners{picture.topLeft(), picture.topRight(), picture.bottomRight(), picture.bottomLeft()};
    for (size_t quarter = 0; quarter < corners.size(); ++quarter) {
        painter.save();
        painter.translate(corners[quarter]);
        painter.rotate(90.0 * double(quarter));
        painter.fillPath(outside, nearBlack);
        painter.restore();
    }
}

} // namespace

PlayerView::PlayerView(Editor& editor, QWidget* parent)
    : QWidget(parent)
    , m_editor(editor)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMinimumSize(160, 90);
    setAccessibleName(QStringLiteral("Video"));
    connect(&editor, &Editor::pictureChanged, this, qOverload<>(&QWidget::update));
}

PlayerView::~PlayerView() { m_editor.setPictureBox({}); }

void PlayerView::askForPictures()
{
    m_askedRatio = devicePixelRatioF();
    m_editor.setPictureBox(
        isVisible() ? QSize(qRound(width() * m_askedRatio), qRound(height() * m_askedRatio)) : QSize());
}

void PlayerView::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    askForPictures();
}

void PlayerView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    askForPictures();
}

void PlayerView::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    askForPictures();
}

void PlayerView::paintEvent(QPaintEvent*)
{
    // Some platforms tell the true scale only after the first frame.
    const double ratio = devicePixelRatioF();
    if (ratio != m_askedRatio)
        askForPictures();
    QPainter painter(this);
    painter.fillRect(rect(), nearBlack);
    const std::shared_ptr<const QImage> picture = m_editor.picture();
    if (!picture || picture->isNull())
        return;
    // In device pixels, so that nothing is scaled or smeared between two of them.
    const QSize box(qRound(width() * ratio), qRound(height() * ratio));
    const QSize fitted = picture->size().scaled(box, Qt::KeepAspectRatio);
    const bool fits
        = std::abs(fitted.width() - picture->width()) <= 1 && std::abs(fitted.height() - picture->height()) <= 1;
    const QSize shown = fits ? picture->size() : fitted; // Scaled only for the moment that follows a resize.
    const QPointF origin = painter.deviceTransform().map(QPointF(0, 0));
    const QPointF toWhole(std::round(origin.x()) - origin.x(), std::round(origin.y()) - origin.y());
    const QPoint corner((box.width() - shown.width()) / 2, (box.height() - shown.height()) / 2);
    painter.scale(1 / ratio, 1 / ratio);
    const QRectF place(corner + toWhole, shown);
    if (fits) {
        painter.drawImage(place.topLeft(), *picture);
    } else {
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(place, *picture);
    }
    roundCorners(painter, place, cornerRadius * ratio);
}

} // namespace kelmo
