#include "media/stack/player/Player.h"

#include "media/stack/composition/AudioMixer.h"
#include "media/stack/composition/PeakLimiter.h"
#include "media/stack/player/Continuation.h"
#include "media/stack/player/CubebOutput.h"

namespace kelmo {

namespace {

constexpr int tickMs = 33;
constexpr int patienceMs = 400;
/// An edit's playhead is the last one reported, so it is a little behind what is heard.
constexpr MediaTime staleness{100'000};
/// Before a join, sound differs by its ramp and by what the limiter sees coming.
constexpr int64_t joinReach = AudioOutput::rate / 200 + PeakLimiter::reach;

} // namespace

SoundDevice::Opener Player::machineSound()
{
    return [] { return std::make_unique<CubebOutput>(); };
}

Player::Player(SoundDevice::Opener opener)
    : m_parts(
        std::move(opener),
        [this] {
            if (!m_pictureAnnounced.exchange(true)) {
                QMetaObject::invokeMethod(
                    this,
                    [this] {
                        m_pictureAnnounced = false;
                        Q_EMIT pictureChanged();
                    },
                    Qt::QueuedConnection);
            }
        },
        [this](int epoch) {
            QMetaObject::invokeMethod(
                this, [this, epoch] { landed(epoch); }, Qt::QueuedConnection);
        })
{
    m_tick.setInterval(tickMs);
    m_tick.setTimerType(Qt::PreciseTimer);
    connect(&m_tick, &QTimer::timeout, this, &Player::step);
    m_patience.setSingleShot(true);
    m_patience.setInterval(patienceMs);
    connect(&m_patience, &QTimer::timeout, this, &Player::run);
}

Player::~Player() = default;

MediaTime Player::duration() const { return m_item ? m_item->composition->duration : MediaTime{}; }

MediaTime Player::position() const { return status() == Status::Playing ? m_parts.device.position() : m_start; }

void Player::announceStatus()
{
    if (std::exchange(m_statusAnnounced, status()) != status())
        Q_EMIT statusChanged();
}

/// Starts a new epoch: everything made for the one before is dropped, except pictures that fit.
void Player::begin(MediaTime start)
{
    const bool plays = status() != Status::Paused;
    m_state.emplace<PlayerPaused>();
    m_start = std::clamp(start, MediaTime{}, std::max(duration(), MediaTime{}));
    ++m_epoch;
    m_parts.ring->begin(m_epoch, m_start);
    m_parts.presenter.begin(m_epoch, m_edition);
    m_parts.sound.begin({m_epoch, m_item, m_start, m_rate, false, {}});
    // At the very end the last picture stays.
    const MediaTime shown = std::max(MediaTime{}, std::min(m_start, duration() - MediaTime{1}));
    m_parts.pictures.begin({m_epoch, m_edition, m_item, shown, plays, false});
    if (plays)
        m_state.emplace<PlayerWaiting>(m_patience);
    announceStatus();
}

/// Puts the item under the playing player, when it goes on there as the one before would have.
bool Player::goOn(const std::shared_ptr<const PlayerItem>& item, MediaTime edited)
{
    if (status() != Status::Playing || m_landedEpoch != m_epoch || !m_item || !item)
        return false;
    const std::optional<Continuation> next = Continuation::find(*m_item, position(), *item, edited, staleness);
    if (!next)
        return false;
    std::optional<SoundRing::Carried> carried;
    const std::optional<MediaTime> from = m_parts.presenter.carryOn(m_edition + 1, next->shift, next->until, [&] {
        carried = m_parts.ring->carryOn(next->soundShift, AudioMixer::sampleAt(next->until) - joinReach);
        return carried.has_value();
    });
    if (!from)
        return false;
    ++m_edition;
    m_item = item;
    m_parts.sound.begin({m_epoch, m_item, {}, m_rate, true, *carried});
    m_parts.pictures.begin({m_epoch, m_edition, m_item, *from, true, true});
    return true;
}

void Player::setItem(std::shared_ptr<const PlayerItem> item, MediaTime edited, Completion completion)
{
    if (goOn(item, edited)) {
        m_seeks.emplace_back(m_epoch, std::move(completion));
        QMetaObject::invokeMethod(
            this, [this, epoch = m_epoch] { landed(epoch); }, Qt::QueuedConnection);
        return;
    }
    if (!item)
        pause();
    m_item = std::move(item);
    ++m_edition;
    seek(edited, std::move(completion));
}

void Player::seek(MediaTime edited, Completion completion)
{
    begin(edited);
    m_seeks.emplace_back(m_epoch, std::move(completion));
}

void Player::landed(int epoch)
{
    m_landedEpoch = std::max(m_landedEpoch, epoch);
    // A completion may seek again, so each is taken off the list before it is called.
    while (!m_seeks.empty() && m_seeks.front().first <= epoch) {
        const auto [seek, completion] = std::move(m_seeks.front());
        m_seeks.erase(m_seeks.begin());
        if (completion)
            completion(seek == epoch);
    }
    if (epoch == m_epoch)
        run();
}

void Player::run()
{
    if (status() != Status::Waiting)
        return;
    m_state.emplace<PlayerPlaying>(m_parts, m_rate, m_tick);
    announceStatus();
}

void Player::play(double rate)
{
    if (!m_item)
        return;
    if (status() != Status::Paused) {
        setRate(rate);
        return;
    }
    const bool sameRate = rate == m_rate;
    m_rate = rate;
    if (!sameRate)
        begin(m_start);
    m_parts.pictures.goAhead();
    m_state.emplace<PlayerWaiting>(m_patience);
    if (m_landedEpoch == m_epoch)
        m_state.emplace<PlayerPlaying>(m_parts, m_rate, m_tick);
    announceStatus();
}

void Player::pause()
{
    if (status() == Status::Paused)
        return;
    const MediaTime at = position();
    m_state.emplace<PlayerPaused>();
    begin(at);
}

void Player::preroll() { m_parts.pictures.goAhead(); }

void Player::setRate(double rate)
{
    if (rate == m_rate)
        return;
    const MediaTime at = position();
    m_rate = rate;
    begin(at);
}

void Player::setMuted(bool muted) { m_parts.device.setMuted(muted); }

void Player::setPictureBox(QSize pixels) { m_parts.pictures.setBox(pixels); }

void Player::forgetPicture() { m_parts.presenter.forget(); }

void Player::step()
{
    if (m_parts.device.hasEnded()) {
        m_state.emplace<PlayerPaused>();
        begin(duration());
    }
    Q_EMIT positionChanged(position().ms());
}

} // namespace kelmo
