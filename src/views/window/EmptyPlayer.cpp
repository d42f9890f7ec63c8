#include "views/window/EmptyPlayer.h"

#include "platform/Home.h"
#include "views/controls/Button.h"
#include "views/controls/ElidedLabel.h"
#include "views/style/Theme.h"
#include "views/style/ToolTips.h"
#include "views/window/OpenPanel.h"

#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace kelmo {

namespace {

constexpr int symbolSize = 36;
constexpr int sideMargin = 24;
constexpr int belowCard = 8;

/// The recordings folder, as short as a person would write it.
QString recordingsFolder()
{
    const QString folder = Take::recordingsDir().toLocalFile();
    const QString home = Home::path();
    return folder.startsWith(home + QLatin1Char('/')) ? QLatin1Char('~') + folder.mid(home.size()) : folder;
}

ElidedLabel* line(const QString& text, const QFont& font, const QColor& color, QWidget* parent)
{
    auto* label = new ElidedLabel(font, color, parent);
    label->setText(text);
    label->setElideMode(Qt::ElideMiddle);
    label->setAlignment(Qt::AlignCenter);
    return label;
}

} // namespace

EmptyPlayer::EmptyPlayer(Editor& editor, QWidget* parent)
    : QWidget(parent)
{
    auto* symbol = new QLabel(this);
    symbol->setPixmap(Icons::pixmap(Icons::Symbol::Film, Theme::text3, symbolSize, devicePixelRatioF()));
    symbol->setAlignment(Qt::AlignCenter);
    auto* open = new Button(Button::Kind::Primary, Button::Height::Row, QStringLiteral("Open…"), this);
    open->setToolTip(tipWithKeys(QStringLiteral("Open a recording"), QKeySequence(Qt::CTRL | Qt::Key_O)));
    connect(open, &QAbstractButton::clicked, this, [this, &editor] { OpenPanel::show(editor, window()); });

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(sideMargin, 0, sideMargin, 0);
    layout->setSpacing(0);
    layout->addStretch(1);
    layout->addWidget(symbol);
    layout->addSpacing(12);
    layout->addWidget(
        line(QStringLiteral("Drop a recording here, or open one"), Theme::titleFont(), Theme::text1, this));
    layout->addSpacing(6);
    layout->addWidget(
        line(QStringLiteral("New recordings are looked for in"), Theme::normalFont(), Theme::text2, this));
    layout->addSpacing(3);
    layout->addWidget(line(recordingsFolder(), Theme::normalFont(), Theme::text2, this));
    layout->addSpacing(18);
    layout->addWidget(open, 0, Qt::AlignHCenter);
    layout->addStretch(1);
}

void EmptyPlayer::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Theme::line, 1, Qt::DashLine));
    painter.setBrush(Theme::surface1);
    painter.drawRoundedRect(
        QRectF(rect()).adjusted(Theme::windowEdge + 0.5, 0.5, -Theme::windowEdge - 0.5, -belowCard - 0.5),
        Theme::cardRadius, Theme::cardRadius);
}

} // namespace kelmo
