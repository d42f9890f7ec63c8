#include "views/window/StatusLine.h"

#include "views/controls/Button.h"
#include "views/controls/ElidedLabel.h"
#include "views/style/Theme.h"

#include <QAccessible>
#include <QHBoxLayout>

namespace kelmo {

namespace {

constexpr int fadeOutMs = 400;
/// A take that opens quicker than this needs no word about it.
constexpr int quickOpenMs = 300;
constexpr int markSize = 15;

QString openingText() { return QStringLiteral("Opening…"); }

} // namespace

StatusLine::StatusLine(Editor& editor, QWidget* parent)
    : QWidget(parent)
    , m_editor(editor)
    , m_text(new ElidedLabel(Theme::normalFont(), Theme::text3, this))
    , m_dismiss(new Button(Button::Kind::Plain, Button::Height::Small, QString(), this))
{
    auto* mark = new QLabel(this);
    mark->setPixmap(Icons::pixmap(Icons::Symbol::Alert, Theme::warning, markSize, devicePixelRatioF()));
    m_mark = mark;
    m_text->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_dismiss->setSymbol(Icons::Symbol::Cross);
    m_dismiss->setAccessibleName(QStringLiteral("Dismiss"));
    m_dismiss->setToolTip(QStringLiteral("Dismiss"));

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    layout->addStretch(1);
    layout->addWidget(m_mark);
    layout->addWidget(m_text);
    layout->addWidget(m_dismiss);

    m_stays.setSingleShot(true);
    m_stays.setInterval(Theme::statusMs);
    m_opening.setSingleShot(true);
    m_opening.setInterval(quickOpenMs);
    connect(&m_stays, &QTimer::timeout, this, &StatusLine::fade);
    connect(&m_opening, &QTimer::timeout, this, [this] { setLine(openingText(), Editor::StatusKind::Notice); });
    connect(&m_fade, &QVariantAnimation::valueChanged, this,
        [this](const QVariant& value) { m_text->setColor(value.value<QColor>()); });
    connect(&m_fade, &QVariantAnimation::finished, this, &StatusLine::clear);
    connect(m_dismiss, &QAbstractButton::clicked, this, [this] { m_editor.setStatus(std::nullopt); });
    connect(&editor, &Editor::statusChanged, this, &StatusLine::showStatus);
    connect(&editor, &Editor::takeChanged, this, &StatusLine::watchOpening);
    connect(&editor, &Editor::timelineChanged, this, &StatusLine::watchOpening);
    showStatus();
}

void StatusLine::showStatus()
{
    if (m_editor.status())
        setLine(*m_editor.status(), m_editor.statusKind());
    else
        clear();
    watchOpening();
}

void StatusLine::watchOpening()
{
    const bool isOpening = m_editor.take() && m_editor.sourceDurationMs() <= 0 && !m_editor.status();
    if (isOpening) {
        if (!m_opening.isActive())
            m_opening.start();
        return;
    }
    m_opening.stop();
    if (m_text->text() == openingText())
        clear();
}

void StatusLine::setLine(const QString& text, Editor::StatusKind kind)
{
    const bool isProblem = kind == Editor::StatusKind::Problem;
    m_fade.stop();
    m_text->setText(text);
    m_text->setColor(isProblem ? Theme::text1 : Theme::text3);
    m_mark->setVisible(isProblem);
    m_dismiss->setVisible(isProblem);
    if (isProblem)
        m_stays.stop();
    else
        m_stays.start();
    QAccessibleEvent announcement(m_text, QAccessible::Alert);
    QAccessible::updateAccessibility(&announcement);
}

void StatusLine::clear()
{
    m_stays.stop();
    m_fade.stop();
    m_text->clear();
    m_mark->hide();
    m_dismiss->hide();
}

void StatusLine::fade()
{
    // What is still going on is still worth saying.
    if (m_editor.exportProgress() || m_text->text() == openingText()) {
        m_stays.start();
        return;
    }
    QColor gone = m_text->color();
    gone.setAlpha(0);
    const int duration = Theme::motionMs(fadeOutMs);
    if (duration == 0) {
        clear();
        return;
    }
    m_fade.setDuration(duration);
    m_fade.setStartValue(m_text->color());
    m_fade.setEndValue(gone);
    m_fade.start();
}

} // namespace kelmo
