#include "views/window/LinkBar.h"

#include "views/controls/Button.h"
#include "views/controls/ElidedLabel.h"
#include "views/controls/ProgressLine.h"
#include "views/controls/TabularLabel.h"
#include "views/style/Theme.h"
#include "views/style/ToolTips.h"

#include <QHBoxLayout>
#include <QPainter>

namespace kelmo {

namespace {

constexpr int rowHeight = 44;
constexpr int symbolSize = 15;
constexpr int copiedMs = 1400;

QString withoutScheme(QString url) { return url.remove(QStringLiteral("https://")); }

} // namespace

LinkBar::LinkBar(Sharer& sharer, Editor& editor, QWidget* parent)
    : QWidget(parent)
    , m_sharer(sharer)
    , m_editor(editor)
    , m_line(new ProgressLine(QStringLiteral("Upload progress"), this))
    , m_link(new ElidedLabel(Theme::normalFont(), Theme::text1, this))
    , m_phase(new TabularLabel(Theme::normalFont(), this))
    , m_button(new Button(Button::Kind::Raised, Button::Height::Small, QString(), this))
{
    setFixedHeight(rowHeight);
    auto* symbol = new QLabel(this);
    symbol->setPixmap(Icons::pixmap(Icons::Symbol::Link, Theme::text2, symbolSize, devicePixelRatioF()));
    m_link->setElideMode(Qt::ElideMiddle);
    m_link->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Preferred);
    m_copied.setSingleShot(true);
    m_copied.setInterval(copiedMs);

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(Theme::windowEdge, 0, Theme::windowEdge, 0);
    row->setSpacing(Theme::betweenButtons);
    row->addWidget(symbol);
    row->addWidget(m_link);
    row->addWidget(m_phase);
    row->addStretch(1);
    row->addWidget(m_button);

    connect(m_button, &QAbstractButton::clicked, this, &LinkBar::tap);
    connect(&m_copied, &QTimer::timeout, this, &LinkBar::refresh);
    connect(&sharer, &Sharer::changed, this, &LinkBar::refresh);
    connect(&sharer, &Sharer::changed, this, &LinkBar::reportError);
    connect(&editor, &Editor::cutsChanged, this, &LinkBar::refresh);
    connect(&editor, &Editor::takeChanged, this, &LinkBar::refresh);
    connect(&editor, &Editor::timelineChanged, this, &LinkBar::refresh);
    refresh();
}

/// From the request for a link on, not only from the upload that follows it.
bool LinkBar::isWorking() const { return m_sharer.isUploading() || m_sharer.starting() || m_sharer.phase(); }

bool LinkBar::needsUpdate() const
{
    if (!m_sharer.record() || !m_sharer.isOutOfDate())
        return false;
    // An upload that carries the current edit will make it so.
    return !isWorking() || m_sharer.uploadingSignature() != m_editor.cuts().signature();
}

/// A link can be copied at any time; to fill one, the take's media must be there.
bool LinkBar::canTap() const
{
    return !m_sharer.isConfigured() || m_editor.built() || (m_sharer.record() && !needsUpdate());
}

QString LinkBar::text() const
{
    if (!m_sharer.isConfigured())
        return QStringLiteral("Sign in to get a link for every take");
    if (m_sharer.record())
        return withoutScheme(m_sharer.record()->url);
    return isWorking() ? QStringLiteral("Creating link…") : QStringLiteral("No link yet");
}

QString LinkBar::buttonLabel() const
{
    if (m_copied.isActive())
        return QStringLiteral("Copied ✓");
    if (!m_sharer.isConfigured())
        return QStringLiteral("Sign in");
    if (m_sharer.record())
        return needsUpdate() ? QStringLiteral("Update link") : QStringLiteral("Copy link");
    return isWorking() ? QStringLiteral("Creating…") : QStringLiteral("Share");
}

QString LinkBar::buttonTip() const
{
    if (!m_sharer.isConfigured())
        return QStringLiteral("Sign in once and every take gets a link");
    if (!canTap())
        return m_editor.take() ? QStringLiteral("The take has yet to load") : QStringLiteral("Open a take first");
    const QString text = m_sharer.record() && !needsUpdate() ? QStringLiteral("Copy the link")
        : m_sharer.record()                                  ? QStringLiteral("Bring the link up to date and copy it")
                                                             : QStringLiteral("Upload the edit and copy its link");
    return tipWithKeys(text, Qt::CTRL | Qt::SHIFT | Qt::Key_S);
}

void LinkBar::tap()
{
    if (!m_sharer.isConfigured()) {
        m_sharer.signIn();
        return;
    }
    const bool hasRecord = m_sharer.record().has_value();
    const bool shares = !hasRecord || needsUpdate();
    if (hasRecord)
        flashCopied();
    if (shares)
        m_sharer.shareFromUI();
    else
        m_sharer.copyLink();
}

void LinkBar::flashCopied()
{
    m_copied.start();
    refresh();
}

void LinkBar::refresh()
{
    const bool isLink = m_sharer.isConfigured() && m_sharer.record();
    m_link->setText(text());
    m_link->setColor(isLink ? Theme::text1 : Theme::text2);
    m_link->updateGeometry();
    const QString phase = m_sharer.phase().value_or(QString());
    m_phase->setParts({{phase == text() ? QString() : phase, Theme::text3}});
    m_line->setProgress(m_sharer.progress());
    m_button->setText(buttonLabel());
    m_button->setEnabled(canTap());
    m_button->setToolTip(buttonTip());
    m_button->updateGeometry();
    setToolTip(m_sharer.isConfigured() ? QString() : QStringLiteral("Sign in once and every take gets a link"));
}

/// Once for each failure: a dismissed one stays away.
void LinkBar::reportError()
{
    if (m_sharer.lastError() == m_reportedError)
        return;
    const std::optional<QString> over = std::exchange(m_reportedError, m_sharer.lastError());
    if (over)
        m_editor.withdrawStatus(*over);
    if (m_reportedError)
        m_editor.setStatus(m_reportedError, Editor::StatusKind::Problem);
}

/// The progress lies on the separator and takes no room from the row.
void LinkBar::resizeEvent(QResizeEvent*) { m_line->setGeometry(0, 0, width(), ProgressLine::thickness); }

void LinkBar::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(0, 0, width(), 1, Theme::line);
}

} // namespace kelmo
