#include "app/PlainWindow.h"

#include "views/PlayerView.h"

#include <QButtonGroup>
#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>

namespace kelmo {

namespace {

constexpr QSize firstSize(1320, 760);
constexpr QSize leastSize(900, 520);
constexpr int edge = 16;
constexpr double stepMs = 1000.0 / 30;
constexpr double jumpMs = 5000;

QString styleSheetText()
{
    return QStringLiteral("QMainWindow, QWidget#row { background: #0e0e0e; }"
                          "QLabel { color: rgba(255, 255, 255, 0.62); font-size: 13px; }"
                          "QPushButton { color: rgba(255, 255, 255, 0.92); background: #1e1e20; border: 1px solid "
                          "rgba(255, 255, 255, 0.08);"
                          " border-radius: 10px; padding: 6px 14px; font-size: 13px; }"
                          "QPushButton:hover, QPushButton:checked { background: #2a2a2d; }"
                          "QPushButton:focus { border: 1px solid #4c8dff; }");
}

QString timeText(double ms)
{
    const int tenths = int(ms / 100);
    return QStringLiteral("%1:%2.%3").arg(tenths / 600).arg(tenths / 10 % 60, 2, 10, QLatin1Char('0')).arg(tenths % 10);
}

QString rateText(double rate) { return QString::number(rate) % QStringLiteral("×"); }

} // namespace

PlainWindow::PlainWindow(Editor& editor)
    : m_editor(editor)
{
    setStyleSheet(styleSheetText());
    setMinimumSize(leastSize);
    resize(firstSize);
    auto* content = new QWidget(this);
    content->setObjectName(QStringLiteral("row"));
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(edge, edge, edge, edge);
    layout->setSpacing(12);
    layout->addWidget(new PlayerView(editor, content), 1);
    layout->addWidget(transportRow());
    setCentralWidget(content);

    addKey(Qt::Key_Space, [this] { m_editor.togglePlay(); });
    addKey(Qt::Key_Left, [this] { moveBy(-stepMs); });
    addKey(Qt::Key_Right, [this] { moveBy(stepMs); });
    addKey(Qt::SHIFT | Qt::Key_Left, [this] { moveBy(-jumpMs); });
    addKey(Qt::SHIFT | Qt::Key_Right, [this] { moveBy(jumpMs); });
    addKey(Qt::Key_Home, [this] { moveBy(-m_editor.timeline().durationMs); });
    addKey(Qt::Key_End, [this] { moveBy(m_editor.timeline().durationMs); });

    connect(&editor, &Editor::playingChanged, this, &PlainWindow::refresh);
    connect(&editor, &Editor::takeChanged, this, &PlainWindow::refresh);
    connect(&editor, &Editor::timelineChanged, this, &PlainWindow::refresh);
    connect(&editor, &Editor::statusChanged, this, &PlainWindow::refresh);
    connect(&editor.playhead(), &Playhead::moved, this, &PlainWindow::refresh);
    refresh();
}

QWidget* PlainWindow::transportRow()
{
    auto* row = new QWidget(this);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    m_play = new QPushButton(row);
    m_play->setFocusPolicy(Qt::TabFocus);
    m_play->setMinimumWidth(84);
    connect(m_play, &QPushButton::clicked, this, [this] { m_editor.togglePlay(); });
    m_time = new QLabel(row);
    m_status = new QLabel(row);
    layout->addWidget(m_play);
    layout->addWidget(m_time);
    layout->addWidget(m_status, 1);

    auto* rates = new QButtonGroup(row);
    for (const double rate : Editor::playbackRates) {
        auto* button = new QPushButton(rateText(rate), row);
        button->setCheckable(true);
        button->setChecked(rate == m_editor.playbackRate());
        button->setFocusPolicy(Qt::TabFocus);
        button->setToolTip(QStringLiteral("Play at ") % rateText(rate) % QStringLiteral(" speed"));
        connect(button, &QPushButton::clicked, this, [this, rate] { m_editor.setPlaybackRate(rate); });
        rates->addButton(button);
        layout->addWidget(button);
    }
    return row;
}

void PlainWindow::addKey(const QKeySequence& key, std::function<void()> action)
{
    connect(new QShortcut(key, this), &QShortcut::activated, this, std::move(action));
}

void PlainWindow::moveBy(double editedMs)
{
    const Timeline& timeline = m_editor.timeline();
    const double target = std::clamp(m_editor.playhead().ms() + editedMs, 0.0, std::max(0.0, timeline.durationMs - 1));
    m_editor.previewSource(timeline.source(target));
}

void PlainWindow::refresh()
{
    m_play->setText(m_editor.isPlaying() ? QStringLiteral("Pause") : QStringLiteral("Play"));
    m_play->setEnabled(m_editor.built() != nullptr);
    m_time->setText(
        timeText(m_editor.playhead().ms()) % QStringLiteral(" / ") % timeText(m_editor.timeline().durationMs));
    m_status->setText(m_editor.status().value_or(QString()));
    setWindowTitle(m_editor.take() ? m_editor.take()->base : QStringLiteral("No take"));
}

void PlainWindow::reveal()
{
    show();
    raise();
    activateWindow();
}

void PlainWindow::closeEvent(QCloseEvent* event)
{
    m_editor.pausePlaying();
    event->accept();
}

} // namespace kelmo
