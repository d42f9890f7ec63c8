#include "media/stack/player/PlayerStates.h"

namespace kelmo {

PlayerParts::PlayerParts(SoundDevice::Opener opener, std::function<void()> shown, std::function<void(int)> landed)
    : ring(std::make_shared<SoundRing>())
    , device(ring, std::move(opener))
    , sound(ring)
    , presenter([this] { return device.position(); }, std::move(shown))
    , pictures(
          presenter, [this] { return device.position(); }, std::move(landed))
{
}

void PlayerParts::setRunning(bool running, double rate)
{
    presenter.setRunning(running, rate);
    pictures.setRunning(running, rate);
    device.setRunning(running);
}

PlayerWaiting::PlayerWaiting(QTimer& patience)
    : m_patience(patience)
{
    m_patience.start();
}

PlayerPlaying::PlayerPlaying(PlayerParts& parts, double rate, QTimer& tick)
    : m_parts(parts)
    , m_rate(rate)
    , m_tick(tick)
{
    m_parts.setRunning(true, m_rate);
    m_tick.start();
}

PlayerPlaying::~PlayerPlaying()
{
    m_tick.stop();
    m_parts.setRunning(false, m_rate);
}

} // namespace kelmo
