#pragma once

#include "views/style/ColorFade.h"

#include <QAbstractButton>

#include <functional>

namespace kelmo {

/// A row of small buttons, one for each speed to play at, the current one lit. Main thread.
class SpeedPicker : public QWidget {
    Q_OBJECT

public:
    SpeedPicker(const std::function<void(double rate)>& onPick, QWidget* parent);

    void setRate(double rate);

    /// "1.5×", or the whole number and the sign.
    [[nodiscard]] static QString label(double rate);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    class Choice;

    std::vector<Choice*> m_choices; ///< Children.
};

/// One speed of the picker.
class SpeedPicker::Choice : public QAbstractButton {
    Q_OBJECT

public:
    Choice(double rate, QWidget* parent);

    [[nodiscard]] double rate() const { return m_rate; }
    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const double m_rate;
    ColorFade m_highlight{*this};
    ColorFade m_label{*this};
};

} // namespace kelmo
