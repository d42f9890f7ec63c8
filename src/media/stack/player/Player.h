#pragma once

#include "media/stack/player/PlayerStates.h"

namespace kelmo {

/// Plays an edit: sound out of the machine, pictures to the view, both by one clock, which is the sound's. The
/// item can be exchanged at any moment; the shown picture stays until the new one's is there, and where the new edit
/// goes on as the old one plays, nothing breaks off. Main thread only, and no function of it waits for media. Owns
/// four threads, which end with it.
class Player : public QObject {
    Q_OBJECT

public:
    enum class Status {
        Paused,
        Waiting, ///< Wants to play and waits for a picture.
        Playing,
    };
    using Completion = std::function<void(bool finished)>;

    /// `opener` makes the sound output to play on; the default is the machine's own.
    explicit Player(SoundDevice::Opener opener = machineSound());
    ~Player() override;

    [[nodiscard]] static SoundDevice::Opener machineSound();

    /// Plays this from now on, from precisely this time, null for nothing. A player that plays goes on there; without a
    /// break where that is, give or take a tenth of a second, the moment of the source that it plays already.
    void setItem(std::shared_ptr<const PlayerItem> item, MediaTime edited = {}, Completion completion = {});
    /// Goes to precisely this time. `completion` is called once its picture is on show, or with false as soon as a
    /// later seek has overtaken it.
    void seek(MediaTime edited, Completion completion = {});
    void play(double rate); ///< Requires 0.5 to 4.
    void pause(); ///< Stays at precisely what is being heard.
    void preroll(); ///< Makes ready, so that the next play starts at once.
    void setRate(double rate);
    void setMuted(bool muted);

    /// Pictures are made to fit this many device pixels; empty while hidden, and then none are made.
    void setPictureBox(QSize pixels);
    /// The picture on show; null before the first.
    [[nodiscard]] std::shared_ptr<const QImage> picture() const { return m_parts.presenter.shown().image; }
    /// When the picture on show begins, on the edited clock.
    [[nodiscard]] MediaTime pictureTime() const { return m_parts.presenter.shown().start; }
    void forgetPicture();

    [[nodiscard]] Status status() const { return Status(m_state.index()); }
    [[nodiscard]] double rate() const { return m_rate; }
    [[nodiscard]] bool isAudible() const { return m_parts.device.isAudible(); }
    [[nodiscard]] MediaTime position() const; ///< On the edited clock.

Q_SIGNALS:
    void statusChanged();
    void positionChanged(double editedMs); ///< Thirty times a second while playing.
    void pictureChanged();

private:
    void begin(MediaTime start);
    [[nodiscard]] bool goOn(const std::shared_ptr<const PlayerItem>& item, MediaTime edited);
    void landed(int epoch);
    void run();
    void step();
    void announceStatus();
    [[nodiscard]] MediaTime duration() const;

    std::shared_ptr<const PlayerItem> m_item;
    double m_rate = 1;
    MediaTime m_start; ///< Where it stands while it does not play.
    int m_epoch = 0;
    int m_edition = 0;
    int m_landedEpoch = 0;
    std::vector<std::pair<int, Completion>> m_seeks; ///< By epoch, ascending.
    QTimer m_tick;
    QTimer m_patience;
    std::atomic<bool> m_pictureAnnounced = false; ///< A pictureChanged() is under way.
    Status m_statusAnnounced = Status::Paused;
    PlayerParts m_parts;
    PlayerState m_state; ///< In the order of Status.
};

} // namespace kelmo
