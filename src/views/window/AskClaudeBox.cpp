#include "views/window/AskClaudeBox.h"

#include "views/controls/Button.h"
#include "views/controls/RoundButton.h"
#include "views/style/FocusRing.h"
#include "views/style/Theme.h"
#include "views/style/ToolTips.h"
#include "views/window/PromptLines.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>

namespace kelmo {

namespace {

constexpr int linesGap = 8;
constexpr int sparkleLeft = 12;
constexpr int sparkleSize = 16;
constexpr int textLeft = 34;
constexpr int buttonDiameter = 24;
constexpr int buttonInset = 6;
constexpr int dismissSize = 22;
constexpr int glowMs = 1600;
constexpr double faintest = 0.35;

QString openFirst() { return QStringLiteral("Open a take first"); }

} // namespace

AskClaudeBox::AskClaudeBox(ClaudeAgent& agent, QWidget* parent)
    : QWidget(parent)
    , m_agent(agent)
    , m_lines(new PromptLines(agent, this))
    , m_field(new QLineEdit(this))
    , m_button(new RoundButton(RoundButton::Tone::Dim, buttonDiameter, Icons::Symbol::ArrowUp, m_field))
    , m_dismiss(new Button(Button::Kind::Plain, Button::Height::Small, QString(), this))
{
    layOut();
    m_field->setPlaceholderText(QStringLiteral("Ask Claude to edit — “cut the waffle, tighten the intro”"));
    m_field->setAccessibleName(QStringLiteral("Ask Claude to edit"));

    m_glow.setStartValue(1.0);
    m_glow.setKeyValueAt(0.5, faintest);
    m_glow.setEndValue(1.0);
    m_glow.setDuration(glowMs);
    m_glow.setLoopCount(-1);
    m_glow.setEasingCurve(QEasingCurve::InOutSine);
    connect(&m_glow, &QVariantAnimation::valueChanged, this, [this] { update(fieldRect()); });
    connect(m_field, &QLineEdit::returnPressed, this, &AskClaudeBox::send);
    connect(m_field, &QLineEdit::textChanged, this, &AskClaudeBox::refresh);
    connect(m_button, &QAbstractButton::clicked, this, &AskClaudeBox::act);
    connect(m_dismiss, &QAbstractButton::clicked, &agent, &ClaudeAgent::clearLines);
    connect(&agent, &ClaudeAgent::runningChanged, this, &AskClaudeBox::refresh);
    connect(&agent, &ClaudeAgent::linesChanged, this, &AskClaudeBox::showDismiss);
    connect(&agent, &ClaudeAgent::couldNotStart, this, [this] {
        if (m_field->text().isEmpty())
            m_field->setText(m_sent);
    });
    refresh();
}

/// The field is as large as its surface, with the sparkle under its margin and the button on top, so that all of it
/// takes clicks and wears the focus ring.
void AskClaudeBox::layOut()
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setFocusProxy(m_field);
    m_field->setFrame(false);
    m_field->setFixedHeight(fieldHeight);
    m_field->setMinimumWidth(0);
    m_field->setFont(Theme::normalFont());
    m_field->setTextMargins(textLeft, 0, buttonDiameter + 2 * buttonInset, 0);
    m_field->setStyleSheet(QStringLiteral("QLineEdit { background: transparent; border: none; padding: 0; }"));
    FocusRing::enable(*m_field, Theme::rowRadius);
    m_button->setCursor(Qt::ArrowCursor);

    auto* row = new QHBoxLayout(m_field);
    row->setContentsMargins(0, 0, buttonInset, 0);
    row->addStretch();
    row->addWidget(m_button);
    m_dismiss->setSymbol(Icons::Symbol::Cross);
    m_dismiss->setFixedSize(dismissSize, dismissSize);
    m_dismiss->setAccessibleName(QStringLiteral("Dismiss what Claude said"));
    m_dismiss->setToolTip(tipWithKeys(QStringLiteral("Dismiss"), QKeySequence(Qt::Key_Escape)));
    auto* above = new QHBoxLayout;
    above->setSpacing(0);
    above->addWidget(m_lines, 1, Qt::AlignBottom);
    above->addWidget(m_dismiss, 0, Qt::AlignTop);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(linesGap);
    column->addLayout(above);
    column->addWidget(m_field);
}

void AskClaudeBox::setEnabled(bool enabled)
{
    m_mayAsk = enabled;
    refresh();
}

void AskClaudeBox::setLinesRoom(int pixels) { m_lines->setRoom(pixels); }

void AskClaudeBox::showDismiss() { m_dismiss->setVisible(!m_agent.lines().empty() && !m_agent.running()); }

void AskClaudeBox::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape && m_dismiss->isVisible())
        m_agent.clearLines();
    else
        QWidget::keyPressEvent(event);
}

bool AskClaudeBox::canSend() const { return m_mayAsk && !m_field->text().isEmpty() && !m_agent.running(); }

void AskClaudeBox::act()
{
    if (m_agent.process())
        m_agent.process()->stop();
    else
        send();
}

void AskClaudeBox::send()
{
    // While a run is going, what has been typed waits in the field.
    if (!canSend())
        return;
    m_sent = m_field->text();
    if (m_agent.ask(m_sent))
        m_field->clear();
}

void AskClaudeBox::refresh()
{
    const bool running = m_agent.running();
    if (m_button->hasFocus() && !running && !canSend())
        m_field->setFocus(); // Rather than wherever the focus falls from a disabled button.
    m_button->setEnabled(running || canSend());
    m_button->setTone(canSend() ? RoundButton::Tone::Bright : RoundButton::Tone::Dim);
    m_button->setSymbol(running ? Icons::Symbol::Stop : Icons::Symbol::ArrowUp);
    describeButton();
    showDismiss();
    m_field->setReadOnly(!m_mayAsk);
    m_field->setToolTip(m_mayAsk ? QString() : openFirst());
    if (!running || Theme::motionMs(glowMs) == 0)
        m_glow.stop();
    else if (m_glow.state() != QAbstractAnimation::Running)
        m_glow.start();
    update();
}

void AskClaudeBox::describeButton()
{
    const QString name = m_agent.running() ? QStringLiteral("Stop Claude") : QStringLiteral("Send to Claude");
    m_button->setAccessibleName(name);
    if (m_agent.running())
        m_button->setToolTip(name);
    else if (!m_mayAsk)
        m_button->setToolTip(openFirst());
    else if (m_field->text().isEmpty())
        m_button->setToolTip(QStringLiteral("Type what to change first"));
    else
        m_button->setToolTip(tipWithKeys(name, QKeySequence(Qt::Key_Return)));
}

QRect AskClaudeBox::fieldRect() const { return m_field->geometry(); }

void AskClaudeBox::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF field(fieldRect());
    painter.setPen(Theme::line);
    painter.setBrush(Theme::surface2);
    painter.drawRoundedRect(field.adjusted(0.5, 0.5, -0.5, -0.5), Theme::rowRadius - 0.5, Theme::rowRadius - 0.5);
    const double top = field.center().y() - sparkleSize / 2.0;
    if (m_glow.state() == QAbstractAnimation::Running)
        painter.setOpacity(m_glow.currentValue().toDouble());
    const QColor color = m_agent.running() ? QColor(Theme::accent) : m_mayAsk ? Theme::text2 : Theme::text3;
    Icons::paint(painter, Icons::Symbol::Sparkle, QRectF(sparkleLeft, top, sparkleSize, sparkleSize), color);
}

} // namespace kelmo
