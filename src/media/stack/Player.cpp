#include "media/stack/Player.h"

#include "media/stack/CubebOutput.h"

namespace kelmo {

namespace {

constexpr int tickMs = 33;
constexpr int patienceMs = 400;

} // namespace

SoundDevice::Opener Player::machineSound()
{
    return [] { return std::make_unique<CubebOutput>(); };
}

Player::Player(SoundDevice::Opener opener)
    : m_ring(std::make_shared<SoundRing>())
    , m_device(m_ring, std::move(opener))
    , m_sound(m_ring)
    , m_presenter([this] { return m_device.position(); },
          [this] {
              if (!m_announced.exchange(true)) {
                  QMetaObject::invokeMethod(
                      this,
                      [this] {
                          m_announced = false;
                          Q_EMIT pictureChanged();
                      },
                      Qt::QueuedConnection);
              }
          })
    , m_pictures(
          m_presenter, [this] { return m_device.position(); },
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

Player::~Player() { m_device.setRunning(false); }

MediaTime Player::duration() const { return m_item ? m_item->composition->duration : MediaTime{}; }

MediaTime Player::position() const { return m_status == Status::Playing ? m_device.position() : m_start; }

void Player::setStatus(Status status)
{
    if (status == m_status)
        return;
    m_status = status;
    if (status == Status::Playing)
        m_tick.start();
    else
        m_tick.stop();
    Q_EMIT statusChanged();
}

/// Starts a new epoch: everything made for the one before is dropped, except pictures that fit.
void Player::begin(MediaTime start)
{
    m_start = std::clamp(start, MediaTime{}, std::max(duration(), MediaTime{}));
    ++m_epoch;
    const bool playing = m_status != Status::Paused;
    if (playing) {
        m_device.setRunning(false);
        m_presenter.setRunning(false, m_rate);
        m_pictures.setRunning(false, m_rate);
    }
    m_ring->begin(m_epoch, m_start);
    m_presenter.begin(m_epoch, m_edition);
    m_sound.begin({m_epoch, m_item, m_start, m_rate});
    // At the very end the last picture stays.
    const MediaTime shown = std::max(MediaTime{}, std::min(m_start, duration() - MediaTime{1}));
    m_pictures.begin({m_epoch, m_edition, m_item, shown, playing});
    if (playing) {
        setStatus(Status::Waiting);
        m_patience.start();
    }
}

void Player::setItem(std::shared_ptr<const PlayerItem> item, MediaTime edited, Completion completion)
{
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
    if (epoch == m_epoch && m_status == Status::Waiting)
        run();
}

void Player::run()
{
    if (m_status != Status::Waiting)
        return;
    m_patience.stop();
    m_presenter.setRunning(true, m_rate);
    m_pictures.setRunning(true, m_rate);
    m_device.setRunning(true);
    setStatus(Status::Playing);
}

void Player::play(double rate)
{
    if (!m_item)
        return;
    if (m_status != Status::Paused) {
        setRate(rate);
        return;
    }
    const bool sameRate = rate == m_rate;
    m_rate = rate;
    if (!sameRate)
        begin(m_start);
    m_pictures.goAhead();
    setStatus(Status::Waiting);
    m_patience.start();
    if (m_landedEpoch == m_epoch)
        run();
}

void Player::pause()
{
    if (m_status == Status::Paused)
        return;
    const MediaTime at = position();
    m_patience.stop();
    m_device.setRunning(false);
    m_presenter.setRunning(false, m_rate);
    m_pictures.setRunning(false, m_rate);
    setStatus(Status::Paused);
    begin(at);
}

void Player::preroll() { m_pictures.goAhead(); }

void Player::setRate(double rate)
{
    if (rate == m_rate)
        return;
    const MediaTime at = position();
    m_rate = rate;
    begin(at);
}

void Player::setMuted(bool muted) { m_device.setMuted(muted); }

void Player::setPictureBox(QSize pixels) { m_pictures.setBox(pixels); }

void Player::forgetPicture() { m_presenter.forget(); }

void Player::step()
{
    if (m_device.hasEnded()) {
        m_start = duration();
        m_device.setRunning(false);
        m_presenter.setRunning(false, m_rate);
        m_pictures.setRunning(false, m_rate);
        setStatus(Status::Paused);
        begin(m_start);
    }
    Q_EMIT positionChanged(position().ms());
}

} // namespace kelmo
