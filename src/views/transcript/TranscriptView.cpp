#include "views/transcript/TranscriptView.h"

#include "views/style/Theme.h"

#include <QFocusEvent>
#include <QPainter>
#include <QVBoxLayout>

namespace kelmo {

namespace {

/// Beside the text's own inset, so that it stands as far in as everything else on cards.
constexpr int edge = 2;

} // namespace

TranscriptView::TranscriptView(Editor& editor, QWidget* parent)
    : QWidget(parent)
    , m_textView(this)
    , m_coordinator(editor, &m_textView)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(edge, 0, edge, 0);
    layout->addWidget(&m_textView);
    setFocusProxy(&m_textView);
    m_textView.installEventFilter(this);
    m_textView.wire(&editor, &m_coordinator);
    m_coordinator.bind();
    connect(&editor, &Editor::takeChanged, &m_coordinator, &Coordinator::sync);
    connect(&editor, &Editor::cutsChanged, &m_coordinator, &Coordinator::sync);
    m_coordinator.sync();
}

bool TranscriptView::eventFilter(QObject* watched, QEvent* event)
{
    const bool focuses = event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut;
    if (focuses) {
        const Qt::FocusReason reason = static_cast<QFocusEvent*>(event)->reason();
        m_ringed
            = event->type() == QEvent::FocusIn && (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason);
        update();
    }
    return QWidget::eventFilter(watched, event);
}

void TranscriptView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::surface1);
    painter.drawRoundedRect(rect(), Theme::cardRadius, Theme::cardRadius);
    if (!m_ringed)
        return;
    constexpr double half = Theme::focusWidth / 2.0;
    painter.setPen(QPen(Theme::accent, Theme::focusWidth));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(
        QRectF(rect()).adjusted(half, half, -half, -half), Theme::cardRadius - half, Theme::cardRadius - half);
}

} // namespace kelmo
