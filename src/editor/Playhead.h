#pragma once

#include <QObject>

#include <optional>

namespace kelmo {

/// Where the edit is being looked at, for everything on screen that moves with it. Owned by the Editor, which alone
/// moves it; main thread only.
class Playhead : public QObject {
    Q_OBJECT

public:
    [[nodiscard]] double ms() const { return m_ms; } ///< On the edited clock.
    [[nodiscard]] std::optional<int> word() const { return m_word; } ///< Index of the word being spoken.

    void setMs(double ms);
    /// Notifies only when the word is another one, not thirty times a second.
    void setWord(std::optional<int> word);

Q_SIGNALS:
    void moved();
    void wordChanged();

private:
    double m_ms = 0;
    std::optional<int> m_word;
};

} // namespace kelmo
