#pragma once

#include "views/transcript/WordTextView.h"

#include <QAccessibleWidget>

namespace kelmo {

/// The transcript as assistive technology reads it: a text that can't be typed into, with a caret and a selection to
/// set, words as they were transcribed, lines as they stand on the page, and how each word looks. The description says
/// what is cut, because the toolkit hands no strike-through on to the bus. Made by Qt for a WordTextView on demand;
/// main thread.
class AccessibleWordText : public QAccessibleWidget, public QAccessibleTextInterface {
public:
    /// Lets Qt make one for each WordTextView from now on.
    static void install();
    /// Tell assistive technology what has changed.
    static void tellText(WordTextView& view, const QString& before);
    static void tellCaret(WordTextView& view, TextRange before);
    static void tellCuts(WordTextView& view);

    explicit AccessibleWordText(WordTextView& view);

    [[nodiscard]] QString text(QAccessible::Text kind) const override;
    [[nodiscard]] QAccessible::State state() const override;
    void* interface_cast(QAccessible::InterfaceType type) override;

    void selection(int index, int* start, int* end) const override;
    [[nodiscard]] int selectionCount() const override;
    void addSelection(int start, int end) override;
    void removeSelection(int index) override;
    void setSelection(int index, int start, int end) override;
    [[nodiscard]] int cursorPosition() const override;
    void setCursorPosition(int position) override;

    [[nodiscard]] QString text(int start, int end) const override;
    [[nodiscard]] int characterCount() const override;
    QString textBeforeOffset(int offset, QAccessible::TextBoundaryType boundary, int* start, int* end) const override;
    QString textAfterOffset(int offset, QAccessible::TextBoundaryType boundary, int* start, int* end) const override;
    QString textAtOffset(int offset, QAccessible::TextBoundaryType boundary, int* start, int* end) const override;

    [[nodiscard]] QRect characterRect(int offset) const override; ///< On the screen.
    [[nodiscard]] int offsetAtPoint(const QPoint& onScreen) const override;
    void scrollToSubstring(int start, int end) override;
    QString attributes(int offset, int* start, int* end) const override;

private:
    [[nodiscard]] WordTextView& view() const;
    [[nodiscard]] const TextPage& page() const { return view().page(); }
    [[nodiscard]] QString whatIsCut() const;
    [[nodiscard]] TextRange unit(int offset, QAccessible::TextBoundaryType boundary) const;
    QString report(std::optional<TextRange> range, int* start, int* end) const;
};

} // namespace kelmo
