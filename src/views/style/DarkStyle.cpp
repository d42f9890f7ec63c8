#include "views/style/DarkStyle.h"

#include "views/style/Icons.h"
#include "views/style/Theme.h"

#include <QApplication>
#include <QPalette>
#include <QProxyStyle>
#include <QStyleFactory>

namespace kelmo {

namespace {

/// The toolkit's plain style, but that a menu longer than the screen scrolls and does not go on in another column.
class BaseStyle : public QProxyStyle {
public:
    BaseStyle()
        : QProxyStyle(QStyleFactory::create(QStringLiteral("Fusion")))
    {
    }

    int styleHint(
        StyleHint hint, const QStyleOption* option, const QWidget* widget, QStyleHintReturn* data) const override
    {
        return hint == SH_Menu_Scrollable ? 1 : QProxyStyle::styleHint(hint, option, widget, data);
    }
};

QPalette palette()
{
    QPalette palette;
    palette.setColor(QPalette::Window, Theme::surface0);
    palette.setColor(QPalette::Base, Theme::surface1);
    palette.setColor(QPalette::AlternateBase, Theme::surface2);
    palette.setColor(QPalette::Button, Theme::surface2);
    palette.setColor(QPalette::Light, Theme::surface3);
    palette.setColor(QPalette::Midlight, Theme::surface3);
    palette.setColor(QPalette::Mid, Theme::surface1);
    palette.setColor(QPalette::Dark, Theme::surface0);
    palette.setColor(QPalette::Shadow, Qt::black);
    palette.setColor(QPalette::ToolTipBase, Theme::surface3);
    palette.setColor(QPalette::Highlight, Theme::accent);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, Theme::accent);
    for (const QPalette::ColorRole role :
        {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::BrightText, QPalette::ToolTipText}) {
        palette.setColor(role, Theme::text1);
        palette.setColor(QPalette::Disabled, role, Theme::text3);
    }
    palette.setColor(QPalette::PlaceholderText, Theme::text3);
    return palette;
}

QString css(const QColor& color)
{
    return QStringLiteral("rgba(%1,%2,%3,%4)").arg(color.red()).arg(color.green()).arg(color.blue()).arg(color.alpha());
}

QString styleSheet()
{
    QString sheet = QStringLiteral(R"(
        QMenu { background: SURFACE2; border: 1px solid LINE; border-radius: 10px; padding: 6px; }
        QMenu::item { padding: 6px 26px 6px 28px; border-radius: 6px; color: TEXT1; }
        QMenu::item:selected { background: HOVER; }
        QMenu::item:disabled { background: transparent; color: TEXT3; }
        QMenu::separator { height: 1px; background: LINE; margin: 6px 8px; }
        QMenu::indicator { width: 12px; height: 12px; left: 9px; }
        QMenu::indicator:checked { image: url(:/icons/check.svg); }
        QMenu::right-arrow { image: url(:/icons/chevron-right.svg); width: 10px; height: 10px; right: 8px; }
        QToolTip { background: SURFACE3; border: 1px solid LINE; color: TEXT1; padding: 4px 6px; }
    )");
    sheet.replace(QStringLiteral("SURFACE2"), css(Theme::surface2));
    sheet.replace(QStringLiteral("SURFACE3"), css(Theme::surface3));
    sheet.replace(QStringLiteral("HOVER"), css(Theme::white(0.1)));
    sheet.replace(QStringLiteral("LINE"), css(Theme::white(0.1)));
    sheet.replace(QStringLiteral("TEXT1"), css(Theme::text1));
    sheet.replace(QStringLiteral("TEXT3"), css(Theme::text3));
    return sheet;
}

} // namespace

void DarkStyle::apply(QApplication& application)
{
    Icons::ensureFiles();
    QApplication::setStyle(new BaseStyle);
    QApplication::setPalette(palette());
    QApplication::setFont(Theme::normalFont());
    application.setStyleSheet(styleSheet());
}

} // namespace kelmo
