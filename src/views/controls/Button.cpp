#include "views/controls/Button.h"

#include "views/controls/StyledMenu.h"
#include "views/style/FocusRing.h"
#include "views/style/TabularText.h"
#include "views/style/Theme.h"

#include <QPainter>

namespace kelmo {

namespace {

constexpr int padding = 12;
constexpr int primaryPadding = 17;
constexpr int symbolSize = 15;
constexpr int chevronSize = 12;
constexpr int gap = 6;
constexpr int badgeHeight = 18;
constexpr int badgePadding = 6;
constexpr double disabledPrimary = 0.35;
/// Below this many pixels an elided label says nothing any more.
constexpr int minLabelWidth = 48;

QColor mixed(const QColor& a, const QColor& b, double share)
{
    const auto mix = [share](int x, int y) { return qRound(x + (y - x) * share); };
    return QColor(mix(a.red(), b.red()), mix(a.green(), b.green()), mix(a.blue(), b.blue()));
}

} // namespace

Button::Button(Kind kind, Height height, const QString& text, QWidget* parent)
    : QAbstractButton(parent)
    , m_kind(kind)
    , m_height(height)
{
    setText(text);
    setFont(Theme::buttonFont());
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    FocusRing::enable(*this, radius());
}

void Button::setSymbol(std::optional<Icons::Symbol> symbol)
{
    m_symbol = symbol;
    updateGeometry();
    update();
}

void Button::setBadge(const QString& badge)
{
    if (badge == m_badge)
        return;
    m_badge = badge;
    setAccessibleDescription(badge);
    updateGeometry();
    update();
}

void Button::opens(StyledMenu& menu)
{
    connect(this, &QAbstractButton::pressed, &menu, [this, &menu] { menu.openAt(*this); });
    connect(&menu, &QMenu::aboutToHide, this, [this] { setDown(false); });
}

void Button::setChevron(bool shown)
{
    m_chevron = shown;
    updateGeometry();
    update();
}

void Button::setLabelFont(const QFont& font)
{
    setFont(font);
    updateGeometry();
}

void Button::reserveWidthFor(const QStringList& texts)
{
    m_reservedTexts = texts;
    updateGeometry();
}

int Button::radius() const { return m_height == Height::Small ? Theme::smallRadius : Theme::rowRadius; }

double Button::badgeWidth() const
{
    const double text = TabularText::width(m_badge, QFontMetricsF(Theme::badgeFont()));
    return std::max<double>(badgeHeight, text + 2 * badgePadding);
}

double Button::contentWidth(const QString& text) const
{
    double width = text.isEmpty() ? 0 : TabularText::width(text, QFontMetricsF(font()));
    if (m_symbol)
        width += symbolSize + (text.isEmpty() ? 0 : gap);
    if (!m_badge.isEmpty())
        width += badgeWidth() + gap;
    if (m_chevron)
        width += chevronSize + gap;
    return width;
}

QSize Button::sizeHint() const
{
    double width = contentWidth(text());
    for (const QString& reserved : m_reservedTexts)
        width = std::max(width, contentWidth(reserved));
    const int side = m_kind == Kind::Primary ? primaryPadding : text().isEmpty() ? gap : padding;
    return {int(std::ceil(width)) + 2 * side, int(m_height)};
}

QSize Button::minimumSizeHint() const
{
    const QSize whole = sizeHint();
    if (sizePolicy().horizontalPolicy() == QSizePolicy::Fixed)
        return whole;
    const double others = contentWidth(QString());
    return {std::min(whole.width(), int(others) + gap + minLabelWidth + 2 * padding), whole.height()};
}

QColor Button::surface() const
{
    const bool hovered = isEnabled() && underMouse();
    const bool pressed = isEnabled() && (isDown() || isChecked());
    switch (m_kind) {
    case Kind::Primary:
        if (!isEnabled())
            return mixed(Theme::surface0, Theme::accent, disabledPrimary);
        return pressed ? mixed(Theme::accent, Qt::black, 0.16)
            : hovered  ? mixed(Theme::accent, Qt::white, 0.1)
                       : Theme::accent;
    case Kind::Raised:
        return pressed ? Theme::surface3 : hovered ? mixed(Theme::surface2, Theme::surface3, 0.6) : Theme::surface2;
    case Kind::Plain:
        return pressed ? Theme::white(0.12) : hovered ? Theme::white(0.07) : Theme::white(0);
    }
    Q_UNREACHABLE();
}

QColor Button::labelColor() const
{
    if (m_kind == Kind::Primary)
        return isEnabled() ? QColor(Qt::white) : Theme::text2;
    return isEnabled() ? Theme::text1 : Theme::text3;
}

void Button::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF box = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(m_kind == Kind::Raised ? QPen(Theme::line, 1) : QPen(Qt::NoPen));
    painter.setBrush(m_surface.towards(surface()));
    painter.drawRoundedRect(m_kind == Kind::Raised ? box : QRectF(rect()), radius(), radius());
    paintContent(painter);
}

void Button::paintContent(QPainter& painter)
{
    const QColor color = m_label.towards(labelColor());
    const double room = width() - 2.0 * (text().isEmpty() ? gap : padding);
    const double others
        = contentWidth(text()) - (text().isEmpty() ? 0 : TabularText::width(text(), QFontMetricsF(font())));
    const QFontMetricsF metrics(font());
    const bool fits = contentWidth(text()) <= width() - 2.0 * gap;
    const QString label = fits ? text() : metrics.elidedText(text(), Qt::ElideMiddle, room - others);
    double x = std::max(double(gap), (width() - contentWidth(label)) / 2);
    const double middle = height() / 2.0;

    if (m_symbol) {
        Icons::paint(painter, *m_symbol,
            QRectF(std::round(x), std::round(middle - symbolSize / 2.0), symbolSize, symbolSize), color);
        x += symbolSize + gap;
    }
    if (!label.isEmpty()) {
        painter.setFont(font());
        painter.setPen(color);
        TabularText::draw(painter, {x, middle + metrics.capHeight() / 2}, label);
        x += TabularText::width(label, metrics) + gap;
    }
    if (!m_badge.isEmpty()) {
        paintBadge(painter, QRectF(x, middle - badgeHeight / 2.0, badgeWidth(), badgeHeight));
        x += badgeWidth() + gap;
    }
    if (m_chevron) {
        const QRectF box(std::round(x), std::round(middle - chevronSize / 2.0) + 1, chevronSize, chevronSize);
        Icons::paint(painter, Icons::Symbol::ChevronDown, box, isEnabled() ? Theme::text2 : Theme::text3);
    }
}

void Button::paintBadge(QPainter& painter, const QRectF& box)
{
    painter.setPen(Qt::NoPen);
    // On surface 2 this is surface 3, and as much lighter than a pressed button.
    painter.setBrush(Theme::white(m_kind == Kind::Primary ? 0.2 : 0.056));
    painter.drawRoundedRect(box, Theme::stripRadius, Theme::stripRadius);
    painter.setFont(Theme::badgeFont());
    painter.setPen(isEnabled() ? Theme::text2 : Theme::text3);
    const QFontMetricsF metrics(painter.font());
    const double width = TabularText::width(m_badge, metrics);
    TabularText::draw(painter, {box.center().x() - width / 2, box.center().y() + metrics.capHeight() / 2}, m_badge);
}

} // namespace kelmo
