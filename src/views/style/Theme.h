#pragma once

#include <QColor>
#include <QFont>

namespace kelmo {

/// The look of every view in one place: colours, type, spacing and motion. Lengths and sizes are logical pixels.
/// Main thread only.
namespace Theme {

// Surfaces, from the window up to what is pressed.
constexpr QColor surface0{0x0e, 0x0e, 0x0e}; ///< Window, around the picture.
constexpr QColor surface1{0x16, 0x16, 0x17}; ///< Transcript card, tray of the speeds.
constexpr QColor surface2{0x1e, 0x1e, 0x20}; ///< Buttons and fields.
constexpr QColor surface3{0x2a, 0x2a, 0x2d}; ///< Chosen, pressed, badges.

/// An opacity of 0 to 1 in 255 steps.
[[nodiscard]] constexpr int alpha(double opacity) { return static_cast<int>((opacity * 510 + 1) / 2); }
/// White at an opacity of 0 to 1.
[[nodiscard]] constexpr QColor white(double opacity) { return QColor(255, 255, 255, alpha(opacity)); }
/// Black at an opacity of 0 to 1.
[[nodiscard]] constexpr QColor black(double opacity) { return QColor(0, 0, 0, alpha(opacity)); }

constexpr QColor line = white(0.08); ///< Around surface 2, and between rows.
constexpr QColor text1 = white(0.92); ///< Titles and values.
constexpr QColor text2 = white(0.62); ///< Labels.
constexpr QColor text3 = white(0.38); ///< Hints, status, disabled.
constexpr QColor accent{0x4c, 0x8d, 0xff}; ///< Export, selection, focus.
constexpr QColor yellow{0xff, 0xcc, 0x14}; ///< Handles, split markers, removed time.
constexpr QColor warning{0xff, 0x6b, 0x5e}; ///< An error's mark; never alone, always beside its sentence.

// Corner radii.
constexpr int stripRadius = 6;
constexpr int smallRadius = 7; ///< Small buttons.
constexpr int rowRadius = 10; ///< Buttons of the rows, and fields.
constexpr int cardRadius = 12;

// Spacing.
constexpr int windowEdge = 16;
constexpr int betweenButtons = 10;
constexpr int controlGap = 14;

// Focus ring.
constexpr int focusWidth = 2;
constexpr int focusOffset = 2;

constexpr int fadeMs = 120; ///< Colours on hover and press.
constexpr int statusMs = 4000; ///< How long a status line stays.

/// The desktop's sans at a height in logical pixels, which may be fractional.
[[nodiscard]] QFont font(double pixels, QFont::Weight weight = QFont::Normal);

[[nodiscard]] inline QFont titleFont() { return font(14, QFont::DemiBold); } ///< The take's name.
[[nodiscard]] inline QFont normalFont() { return font(13); }
[[nodiscard]] inline QFont buttonFont() { return font(12.5, QFont::Medium); }
[[nodiscard]] inline QFont badgeFont() { return font(11, QFont::Medium); }
[[nodiscard]] inline QFont transcriptFont() { return font(15); }

/// `milliseconds`, or 0 when the desktop asks for less motion.
[[nodiscard]] int motionMs(int milliseconds);

} // namespace Theme

} // namespace kelmo
