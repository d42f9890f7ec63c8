#pragma once

#include "editor/Editor.h"

#include <QImage>
#include <QWidget>

namespace kelmo {

/// Shows the edit's picture, letterboxed, pixel by pixel at whatever scale the screen has; the last good picture stays
/// until there is a newer one. While it is visible, the editor's player makes pictures for it. Main thread.
class PlayerView : public QWidget {
    Q_OBJECT

public:
    explicit PlayerView(Editor& editor, QWidget* parent = nullptr);
    ~PlayerView() override;

    static constexpr double cornerRadius = 6; ///< Of the picture, in logical pixels.

    [[nodiscard]] QSize sizeHint() const override { return {960, 540}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void askForPictures();

    Editor& m_editor;
    double m_askedRatio = 0; ///< The device pixel ratio that pictures were last asked for at.
};

} // namespace kelmo
