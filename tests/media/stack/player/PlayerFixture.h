#pragma once

#include "media/stack/player/Player.h"
#include "media/stack/player/TimerOutput.h"
#include "tests/movies/CodedMovie.h"
#include "tests/support/TemporaryHome.h"

#include <gtest/gtest.h>

namespace kelmo {

/// A device of the test's own: hears everything at the right speed, remembers it, and can fail in every way.
class HearingOutput final : public AudioOutput {
public:
    /// What was heard, and how the device behaves; outlives the device.
    struct Ear {
        std::mutex mutex;
        std::vector<float> left; ///< Of every frame pulled.
        std::atomic<int> opened = 0;
        std::atomic<bool> refusesToOpen = false;
        std::atomic<bool> neverCalls = false;
        std::atomic<bool> lost = false;
        std::atomic<const AudioOutput*> current = nullptr;
    };

    explicit HearingOutput(std::shared_ptr<Ear> ear)
        : m_ear(std::move(ear))
    {
    }
    ~HearingOutput() override { m_ear->current = nullptr; }

    [[nodiscard]] Result<void> open(Pull pull) override;
    void start() override { m_ear->neverCalls ? void() : m_timer.start(); }
    void stop() override { m_timer.stop(); }
    [[nodiscard]] Position position() const override { return m_timer.position(); }
    [[nodiscard]] bool isLost() const override { return m_ear->lost; }

private:
    std::shared_ptr<Ear> m_ear;
    TimerOutput m_timer;
};

/// A player on coded movies, with the test's own device.
class PlayerFixture : public testing::Test {
protected:
    static constexpr double frameMs = 1000.0 / 30;

    void SetUp() override;

    /// A movie of `seconds` at 30 pictures a second, each with its number, and coded sound.
    [[nodiscard]] std::shared_ptr<const Asset> movie(const QString& name, int seconds, int firstNumber = 0);
    /// The pieces [from, to) of a movie in ms, back to back.
    [[nodiscard]] static std::shared_ptr<const PlayerItem> item(
        const std::shared_ptr<const Asset>& asset, const std::vector<std::pair<int, int>>& pieces);

    void makePlayer();
    /// Runs the event loop until it holds; false when that takes too long.
    [[nodiscard]] static bool waitUntil(const std::function<bool()>& holds, int timeoutMs = 10'000);
    static void wait(int ms);
    [[nodiscard]] static int threadCount(); ///< Of this process.
    /// Seeks and waits for the picture; whether the seek finished.
    [[nodiscard]] bool seekAndWait(double ms);
    /// The number in the picture on show.
    [[nodiscard]] std::optional<int> shownNumber() const;
    [[nodiscard]] static std::optional<int> numberIn(const Player& player);

    TemporaryHome m_home; ///< Of the log.
    QTemporaryDir m_folder;
    std::shared_ptr<HearingOutput::Ear> m_ear = std::make_shared<HearingOutput::Ear>();
    std::unique_ptr<Player> m_player;
};

} // namespace kelmo
