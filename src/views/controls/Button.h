#pragma once

#include "views/style/ColorFade.h"
#include "views/style/Icons.h"

#include <QAbstractButton>

#include <optional>

namespace kelmo {

class StyledMenu;

/// A push button in this program's look: a symbol, a label, a small count and a chevron, whichever it is given. Takes
/// the focus from the keyboard only, so that a click leaves it where the user works. Main thread.
class Button : public QAbstractButton {
    Q_OBJECT

public:
    enum class Kind {
        Raised, ///< A quiet surface with a line around it.
        Primary, ///< The one that the window is about.
        Plain, ///< Nothing until the pointer is on it.
    };
    enum class Height { Small = 28, Row = 36 };

    Button(Kind kind, Height height, const QString& text, QWidget* parent);

    void setSymbol(std::optional<Icons::Symbol> symbol);
    void setChevron(bool shown);
    void setBadge(const QString& badge); ///< Empty for none; read out after the label.
    void setLabelFont(const QFont& font);
    /// Opens `menu` below itself when it is pressed, and shows that it does. The menu belongs to its parent.
    void opens(StyledMenu& menu);
    /// Keeps the width that `texts` need at most, so that a changing label moves nothing.
    void reserveWidthFor(const QStringList& texts);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] double contentWidth(const QString& text) const;
    [[nodiscard]] double badgeWidth() const;
    [[nodiscard]] QColor surface() const;
    [[nodiscard]] QColor labelColor() const;
    [[nodiscard]] int radius() const;
    void paintContent(QPainter& painter);
    void paintBadge(QPainter& painter, const QRectF& box);

    const Kind m_kind;
    const Height m_height;
    std::optional<Icons::Symbol> m_symbol;
    QString m_badge;
    bool m_chevron = false;
    QStringList m_reservedTexts;
    ColorFade m_surface{*this};
    ColorFade m_label{*this};
};

} // namespace kelmo
