#include "editor/Playhead.h"

namespace kelmo {

void Playhead::setMs(double ms)
{
    m_ms = ms;
    Q_EMIT moved();
}

void Playhead::setWord(std::optional<int> word)
{
    if (word == m_word)
        return;
    m_word = word;
    Q_EMIT wordChanged();
}

} // namespace kelmo
