#include "app/EditorWindow.h"

#include "platform/Home.h"
#include "views/style/Theme.h"

#include <QCloseEvent>
#include <QScreen>
#include <QSettings>
#include <QVBoxLayout>

namespace kelmo {

namespace {

constexpr QSize firstSize(1320, 760);
constexpr QSize minSize(900, 520);
// What window managers put around a window, at the largest.
constexpr int titleHeight = 40;
constexpr int edgeBelow = 8;

QRect withinTheEdges(const QRect& room) { return room.adjusted(0, titleHeight, 0, -edgeBelow); }

QString frameKey() { return QStringLiteral("KelmoEditorMain"); }

QString settingsFile() { return Home::file(QStringLiteral("Library/Application Support/Kelmo/windows.ini")); }

} // namespace

EditorWindow::EditorWindow()
{
    setWindowTitle(QStringLiteral("Vorlix"));
    setMinimumSize(minSize);
    setAutoFillBackground(true);
    QPalette dark = palette();
    dark.setColor(QPalette::Window, Theme::surface0);
    setPalette(dark);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    restoreFrame();
}

void EditorWindow::setContent(QWidget* content)
{
    layout()->addWidget(content);
    content->setFocus();
}

void EditorWindow::reveal()
{
    if (isMinimized())
        showNormal();
    show();
    raise();
    activateWindow();
}

void EditorWindow::restoreFrame()
{
    const QSettings settings(settingsFile(), QSettings::IniFormat);
    if (restoreGeometry(settings.value(frameKey()).toByteArray())) {
        bringOnScreen();
        return;
    }
    setGeometry(firstFrame(screen()->availableGeometry()));
}

/// The screens may be others than those that the frame was saved on.
void EditorWindow::bringOnScreen()
{
    if (isMaximized() || isFullScreen() || withinTheEdges(screen()->availableVirtualGeometry()).contains(geometry()))
        return;
    setGeometry(frameOn(screen()->availableGeometry(), geometry()));
}

QRect EditorWindow::firstFrame(const QRect& room)
{
    const QRect content = withinTheEdges(room);
    QRect frame(QPoint(), firstSize.boundedTo(content.size()).expandedTo(minSize));
    frame.moveCenter(room.center());
    return frameOn(room, frame);
}

QRect EditorWindow::frameOn(const QRect& room, const QRect& last)
{
    const QRect content = withinTheEdges(room);
    QRect frame(last.topLeft(), last.size().boundedTo(content.size()).expandedTo(minSize));
    frame.moveRight(std::min(frame.right(), content.right()));
    frame.moveBottom(std::min(frame.bottom(), content.bottom()));
    frame.moveLeft(std::max(frame.left(), content.left()));
    frame.moveTop(std::max(frame.top(), content.top()));
    return frame;
}

void EditorWindow::saveFrame() const
{
    QSettings settings(settingsFile(), QSettings::IniFormat);
    settings.setValue(frameKey(), saveGeometry());
}

void EditorWindow::closeEvent(QCloseEvent* event)
{
    saveFrame();
    Q_EMIT willClose();
    event->accept();
}

} // namespace kelmo
