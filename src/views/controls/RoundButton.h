#pragma once

#include "views/style/ColorFade.h"
#include "views/style/Icons.h"

#include <QAbstractButton>

namespace kelmo {

/// A round button that is a symbol on a disc, such as play. Its name for those who don't see it is its accessible name.
/// Main thread.
class RoundButton : public QAbstractButton {
    Q_OBJECT

public:
    enum class Tone {
        Bright, ///< Dark symbol on white.
        Dim, ///< White symbol on a raised surface.
    };

    RoundButton(Tone tone, int diameter, Icons::Symbol symbol, QWidget* parent);

    void setTone(Tone tone);
    void setSymbol(Icons::Symbol symbol);
    [[nodiscard]] Icons::Symbol symbol() const { return m_symbol; }

    [[nodiscard]] QSize sizeHint() const override { return {m_diameter, m_diameter}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] QColor disc() const;

    Tone m_tone;
    const int m_diameter;
    Icons::Symbol m_symbol;
    ColorFade m_disc{*this};
};

} // namespace kelmo
