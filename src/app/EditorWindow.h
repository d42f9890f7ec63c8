#pragma once

#include <QWidget>

namespace kelmo {

/// The main window: a frame that remembers where it was around a content of the caller's. Closing hides it. Owned by
/// the AppDelegate; main thread.
class EditorWindow : public QWidget {
    Q_OBJECT

public:
    EditorWindow();

    /// Fills the window; to be called once. The content belongs to the window afterwards.
    void setContent(QWidget* content);

    /// Shows it, in front of others and with the keyboard.
    void reveal();

    /// Where the content goes on a screen with this room: at first, and when it was `last` there or elsewhere. Leaves
    /// room for a title bar and an edge, whose height is known only when they are there.
    [[nodiscard]] static QRect firstFrame(const QRect& room);
    [[nodiscard]] static QRect frameOn(const QRect& room, const QRect& last);

Q_SIGNALS:
    void willClose();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void restoreFrame();
    void bringOnScreen();
    void saveFrame() const;
};

} // namespace kelmo
