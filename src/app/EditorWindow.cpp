#include "app/EditorWindow.h"

#include "platform/Home.h"
#include "views/Theme.h"

#include <QCloseEvent>
#include <QScreen>
#include <QSettings>
#include <QVBoxLayout>

namespace kelmo {

namespace {

constexpr QSize firstSize(1320, 760);
constexpr QSize leastSize(900, 520);

QString frameKey() { return QStringLiteral("KelmoEditorMain"); }

QString settingsFile() { return Home::file(QStringLiteral("Library/Application Support/Kelmo/windows.ini")); }

} // namespace

EditorWindow::EditorWindow()
{
    setWindowTitle(QStringLiteral("Vorlix"));
    setMinimumSize(leastSize);
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
    const QRect room = screen()->availableGeometry();
    QRect frame(QPoint(), firstSize.boundedTo(room.size()).expandedTo(leastSize));
    frame.moveCenter(room.center());
    setGeometry(frame);
}

/// The screens may be others than those that the frame was saved on.
void EditorWindow::bringOnScreen()
{
    if (isMaximized() || isFullScreen() || screen()->availableVirtualGeometry().contains(geometry()))
        return;
    const QRect room = screen()->availableGeometry();
    QRect frame(geometry().topLeft(), size().boundedTo(room.size()).expandedTo(leastSize));
    frame.moveRight(std::min(frame.right(), room.right()));
    frame.moveBottom(std::min(frame.bottom(), room.bottom()));
    frame.moveLeft(std::max(frame.left(), room.left()));
    frame.moveTop(std::max(frame.top(), room.top()));
    setGeometry(frame);
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
