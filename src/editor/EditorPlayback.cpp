#include "editor/Editor.h"
#include "platform/MonotonicClock.h"
#include "telemetry/Analytics.h"
#include "telemetry/Log.h"

namespace kelmo {

namespace {

constexpr double wordLingersMs = 250;
constexpr double rewindsBeforeEndMs = 30;

QString ms(double value) { return QString::number(value, 'f', 0) % QStringLiteral(" ms"); }

} // namespace

Player& Editor::player()
{
    if (m_player)
        return *m_player;
    m_player = std::make_unique<Player>();
    m_player->setMuted(isMuted());
    connect(m_player.get(), &Player::positionChanged, this, &Editor::tick);
    connect(m_player.get(), &Player::statusChanged, this, [this] {
        const bool playing = m_player->status() != Player::Status::Paused;
        if (std::exchange(m_playing, playing) != playing)
            Q_EMIT playingChanged();
    });
    connect(m_player.get(), &Player::pictureChanged, this, [this] {
        noteFirstFrame();
        Q_EMIT pictureChanged();
    });
    if (m_built)
        m_player->setItem(m_previewItems.item(m_built), MediaTime::fromMs(m_playhead.ms()));
    return *m_player;
}

void Editor::tick(double editedMs)
{
    m_playhead.setMs(editedMs);
    const double source = m_timeline.source(editedMs);
    // The last word that has begun, a moment early so that a seek to a word's start shows that word.
    const auto next = std::upper_bound(m_words.begin(), m_words.end(), source + 1.0,
        [](double time, const Word& word) { return time < word.startMs; });
    const bool spoken = next != m_words.begin() && source <= std::prev(next)->endMs + wordLingersMs;
    m_playhead.setWord(spoken ? std::optional(int(next - m_words.begin()) - 1) : std::nullopt);
}

void Editor::seekPlayer(double editedMs)
{
    if (m_player && m_built)
        m_player->seek(MediaTime::fromMs(editedMs));
}

void Editor::togglePlay()
{
    if (m_playing) {
        pausePlaying();
        return;
    }
    if (!m_built)
        return;
    Player& player = this->player();
    if (m_playhead.ms() >= m_timeline.durationMs - rewindsBeforeEndMs) {
        tick(0);
        player.seek({});
    }
    player.play(m_playbackRate);
}

void Editor::pausePlaying()
{
    if (m_player)
        m_player->pause();
}

void Editor::seekToWord(int index)
{
    if (index < 0 || size_t(index) >= m_words.size())
        return;
    withdrawRefusal();
    const double edited = m_timeline.edited(m_words[size_t(index)].startMs);
    tick(edited);
    seekPlayer(edited);
}

void Editor::previewSource(double ms)
{
    withdrawRefusal();
    const double edited = std::min(m_timeline.edited(ms), std::max(0.0, m_timeline.durationMs - 1));
    tick(edited);
    seekPlayer(edited);
}

void Editor::setPlaybackRate(double rate)
{
    m_playbackRate = rate;
    if (m_playing)
        m_player->setRate(rate);
    Q_EMIT playbackRateChanged();
}

void Editor::setPictureBox(QSize pixels)
{
    if (m_player || !pixels.isEmpty())
        player().setPictureBox(pixels);
}

std::shared_ptr<const QImage> Editor::picture() const { return m_player ? m_player->picture() : nullptr; }

/// Hands the new edit to the player and goes to where the playhead belongs in it.
void Editor::showBuilt(const QString& reason, double startedAt, double builtAt, double editedMs)
{
    const int generation = ++m_buildGeneration;
    const bool resumes = m_playing;
    tick(editedMs);
    if (!m_player) {
        logRebuild(reason, startedAt, builtAt);
        return;
    }
    m_player->setItem(m_previewItems.item(m_built), MediaTime::fromMs(editedMs), [=, this](bool finished) {
        if (finished && generation == m_buildGeneration)
            settleRebuild(reason, startedAt, builtAt, resumes);
    });
}

void Editor::settleRebuild(const QString& reason, double startedAt, double builtAt, bool resumes)
{
    logRebuild(reason, startedAt, builtAt);
    // A pause in between holds.
    if (resumes && m_playing)
        m_player->play(m_playbackRate);
    else
        m_player->preroll();
}

void Editor::logRebuild(const QString& reason, double startedAt, double builtAt) const
{
    if (reason == QStringLiteral("open"))
        return;
    Log::line(u"timing",
        QStringLiteral("edit → preview updated (") % reason % QStringLiteral("): ")
            % ms(MonotonicClock::nowMs() - startedAt) % QStringLiteral(" [build ") % ms(builtAt - startedAt)
            % QStringLiteral(", %1 segments]").arg(m_timeline.keep.size()));
}

void Editor::noteFirstFrame()
{
    if (!m_openStartedMs || !m_built || !m_player->picture())
        return;
    const double elapsed = MonotonicClock::nowMs() - *std::exchange(m_openStartedMs, std::nullopt);
    Log::line(u"timing", QStringLiteral("take open → first frame shown: ") % ms(elapsed));
    Analytics::capture(QStringLiteral("take_opened"), {{QStringLiteral("open_to_frame_ms"), int(elapsed)}});
}

} // namespace kelmo
