#pragma once

#include "views/transcript/Coordinator.h"

namespace kelmo {

/// The take's words on a card, to be edited as a text: the main editing surface. Owned by the window that places it;
/// main thread. The editor outlives it.
class TranscriptView : public QWidget {
    Q_OBJECT

public:
    explicit TranscriptView(Editor& editor, QWidget* parent = nullptr);

    [[nodiscard]] WordTextView& textView() { return m_textView; }
    [[nodiscard]] Coordinator& coordinator() { return m_coordinator; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    WordTextView m_textView;
    Coordinator m_coordinator;
    bool m_ringed = false; ///< The keyboard came here by itself, and must be seen.
};

} // namespace kelmo
