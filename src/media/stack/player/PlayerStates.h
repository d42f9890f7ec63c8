#pragma once

// moc stumbles over the standard library unless it has seen Qt first.
#include <QTimer>

#include "media/stack/player/PicturePump.h"
#include "media/stack/player/SoundDevice.h"
#include "media/stack/player/SoundPump.h"

#include <variant>

namespace kelmo {

/// What a player is made of: sound and pictures on their way, each with its thread. Owned by the player.
class PlayerParts {
public:
    /// `shown` and `landed` as Presenter and PicturePump have them: called on their threads.
    PlayerParts(SoundDevice::Opener opener, std::function<void()> shown, std::function<void(int)> landed);

    void setRunning(bool running, double rate);

    const std::shared_ptr<SoundRing> ring;
    SoundDevice device;
    SoundPump sound;
    Presenter presenter;
    PicturePump pictures;
};

// The states of a player. What one of them starts it ends when it is left. Main thread.

struct PlayerPaused { };

/// Wants to play as soon as the picture is there, or patience is at an end: sound does not wait for ever.
class PlayerWaiting {
public:
    explicit PlayerWaiting(QTimer& patience);
    ~PlayerWaiting() { m_patience.stop(); }
    PlayerWaiting(const PlayerWaiting&) = delete;
    PlayerWaiting& operator=(const PlayerWaiting&) = delete;

private:
    QTimer& m_patience;
};

/// Sound and pictures run, and the position is reported.
class PlayerPlaying {
public:
    PlayerPlaying(PlayerParts& parts, double rate, QTimer& tick);
    ~PlayerPlaying();
    PlayerPlaying(const PlayerPlaying&) = delete;
    PlayerPlaying& operator=(const PlayerPlaying&) = delete;

private:
    PlayerParts& m_parts;
    const double m_rate;
    QTimer& m_tick;
};

using PlayerState = std::variant<PlayerPaused, PlayerWaiting, PlayerPlaying>;

} // namespace kelmo
