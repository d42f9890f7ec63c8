#include "views/window/SettingsView.h"

#include "telemetry/Analytics.h"
#include "views/controls/Button.h"
#include "views/controls/StyledMenu.h"
#include "views/controls/Toggle.h"
#include "views/style/FocusRing.h"
#include "views/style/Theme.h"

#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace kelmo {

namespace {

constexpr int viewWidth = 480;
constexpr int edge = 24;
constexpr int cardPadding = 16;
constexpr int rowGap = 12;

/// A rounded surface that holds the rows of one section.
class Card : public QWidget {
public:
    explicit Card(QWidget* parent)
        : QWidget(parent)
        , m_rows(new QVBoxLayout(this))
    {
        m_rows->setContentsMargins(cardPadding, rowGap, cardPadding, rowGap);
        m_rows->setSpacing(rowGap);
    }

    [[nodiscard]] QVBoxLayout& rows() { return *m_rows; }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Theme::surface1);
        painter.drawRoundedRect(rect(), Theme::cardRadius, Theme::cardRadius);
    }

private:
    QVBoxLayout* m_rows;
};

QLabel* textLabel(const QString& text, const QFont& font, const QColor& color, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setFont(font);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, color);
    label->setPalette(palette);
    return label;
}

QLabel* caption(const QString& text, QWidget* parent) { return textLabel(text, Theme::font(12), Theme::text2, parent); }

/// The section's heading, and the card below it.
Card* addSection(QVBoxLayout& column, const QString& title, QWidget* parent)
{
    if (column.count() > 0)
        column.addSpacing(rowGap);
    column.addWidget(textLabel(title, Theme::titleFont(), Theme::text1, parent));
    auto* card = new Card(parent);
    card->setAccessibleName(title);
    column.addWidget(card);
    return card;
}

QHBoxLayout* row(QLabel* label, QWidget* control)
{
    auto* row = new QHBoxLayout;
    row->addWidget(label, 1);
    row->addWidget(control);
    return row;
}

QString qualityLabel(const QString& quality)
{
    return quality == QStringLiteral("native") ? QStringLiteral("Native — sharpest") : QStringLiteral("1080p — faster");
}

} // namespace

SettingsView::SettingsView(Sharer& sharer, QWidget* parent)
    : QWidget(parent)
    , m_sharer(sharer)
{
    setFixedWidth(viewWidth);
    setFocusPolicy(Qt::ClickFocus);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(edge, edge, edge, edge);
    column->setSpacing(rowGap);
    column->setSizeConstraint(QLayout::SetMinimumSize); // Which replaces the fixed width by the layout's own.
    addSharing(*column);
    addAccount(*column);
    addPrivacy(*column);
    column->addStrut(viewWidth - 2 * edge);
    new FocusRing(this);
    connect(&sharer, &Sharer::changed, this, &SettingsView::refresh);
    refresh();
}

void SettingsView::addSharing(QVBoxLayout& column)
{
    Card* card = addSection(column, QStringLiteral("Sharing"), this);
    m_configured = configuredSharing();
    m_unconfigured = unconfiguredSharing();
    card->rows().addWidget(m_configured);
    card->rows().addWidget(m_unconfigured);
}

QWidget* SettingsView::configuredSharing()
{
    auto* group = new QWidget(this);
    auto* rows = new QVBoxLayout(group);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(rowGap);
    m_autoShare = new Toggle(QStringLiteral("Share automatically when a take stops"), group);
    connect(m_autoShare, &QAbstractButton::clicked, this,
        [this](bool on) { change([on](Sharer::Config& config) { config.autoShare = on; }); });
    rows->addWidget(m_autoShare);
    rows->addWidget(caption(QStringLiteral("The link is copied as soon as the take opens; viewers see it upload, then "
                                           "play. Edit later and press Update link — same link."),
        group));

    m_quality = new Button(Button::Kind::Raised, Button::Height::Small, QString(), group);
    m_quality->setChevron(true);
    auto* menu = new StyledMenu(m_quality);
    for (const QString& quality : {QStringLiteral("1080p"), QStringLiteral("native")}) {
        connect(menu->addAction(qualityLabel(quality)), &QAction::triggered, this,
            [this, quality] { change([quality](Sharer::Config& config) { config.quality = quality; }); });
    }
    m_quality->opens(*menu);
    rows->addLayout(row(textLabel(QStringLiteral("Quality"), Theme::normalFont(), Theme::text1, group), m_quality));

    m_server = textLabel({}, Theme::normalFont(), Theme::text2, group);
    m_server->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_server->setWordWrap(false);
    m_server->setAccessibleName(QStringLiteral("Server"));
    FocusRing::enable(*m_server, Theme::smallRadius);
    rows->addLayout(row(textLabel(QStringLiteral("Server"), Theme::normalFont(), Theme::text1, group), m_server));

    auto* test = new Button(Button::Kind::Raised, Button::Height::Small, QStringLiteral("Test connection"), group);
    m_status = textLabel({}, Theme::normalFont(), Theme::text2, group);
    connect(test, &QAbstractButton::clicked, this, [this] {
        if (m_sharer.config())
            m_test.run(m_sharer.config()->endpoint, [this](const QString& status) { m_status->setText(status); });
    });
    auto* testRow = new QHBoxLayout;
    testRow->setSpacing(rowGap);
    testRow->addWidget(test);
    testRow->addWidget(m_status, 1);
    rows->addLayout(testRow);
    return group;
}

QWidget* SettingsView::unconfiguredSharing()
{
    auto* group = new QWidget(this);
    auto* signIn = new Button(Button::Kind::Primary, Button::Height::Small, QStringLiteral("Sign In…"), group);
    auto* label
        = textLabel(QStringLiteral("Sign in so every take gets a link."), Theme::normalFont(), Theme::text1, group);
    connect(signIn, &QAbstractButton::clicked, label, [this, label] {
        const Result<void> asked = m_sharer.signIn();
        label->setText(
            asked ? QStringLiteral("Sign in in the recorder, then come back here.") : userText(asked.error()) % u'.');
    });
    auto* layout = row(label, signIn);
    layout->setContentsMargins(0, 0, 0, 0);
    group->setLayout(layout);
    return group;
}

void SettingsView::addAccount(QVBoxLayout& column)
{
    Card* card = addSection(column, QStringLiteral("Account"), this);
    m_account = textLabel({}, Theme::normalFont(), Theme::text1, card);
    m_accountCaption = caption(QStringLiteral("Links you share live in this account. Sign out in the recorder."), card);
    card->rows().addWidget(m_account);
    card->rows().addWidget(m_accountCaption);
}

void SettingsView::addPrivacy(QVBoxLayout& column)
{
    Card* card = addSection(column, QStringLiteral("Privacy"), this);
    auto* analytics = new Toggle(QStringLiteral("Share usage stats and crash reports"), card);
    analytics->setChecked(Analytics::userEnabled());
    connect(analytics, &QAbstractButton::toggled, this, [](bool on) { Analytics::setEnabled(on); });
    card->rows().addWidget(analytics);
    card->rows().addWidget(
        caption(QStringLiteral("Timings and counts only (e.g. how fast a link was ready) — never your "
                               "transcript, screen or file names."),
            card));
}

QString SettingsView::accountText() const
{
    if (m_sharer.account())
        return QStringLiteral("Signed in as ") % m_sharer.account()->email.value_or(QStringLiteral("your account"));
    const bool hasToken = m_sharer.config() && !m_sharer.config()->token.isEmpty();
    return hasToken ? QStringLiteral("Not signed in — sharing uses this computer's server token.")
                    : QStringLiteral("Not signed in.");
}

void SettingsView::change(const std::function<void(Sharer::Config&)>& edit)
{
    std::optional<Sharer::Config> config = m_sharer.config();
    if (!config)
        return;
    edit(*config);
    m_sharer.setConfig(config);
}

void SettingsView::refresh()
{
    const std::optional<Sharer::Config>& config = m_sharer.config();
    m_configured->setVisible(config.has_value());
    m_unconfigured->setVisible(!config.has_value());
    if (config) {
        m_autoShare->setChecked(config->autoShare);
        m_quality->setText(qualityLabel(config->quality));
        m_quality->setAccessibleName(QStringLiteral("Quality, ") % m_quality->text());
        m_server->setText(config->endpoint);
    }
    m_account->setText(accountText());
    m_accountCaption->setVisible(m_sharer.account().has_value());
}

void SettingsView::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape)
        window()->close();
    else
        QWidget::keyPressEvent(event);
}

} // namespace kelmo
