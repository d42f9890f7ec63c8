#include "media/CompositionBuilder.h"
#include "media/ExportPlan.h"
#include "media/FrameGrab.h"
#include "media/stack/composition/AudioMixer.h"

#include <cstdlib>

#include <sys/mman.h>
#include <unistd.h>

using namespace kelmo;

namespace {

constexpr double longestMs = 20'000;

void require(bool condition)
{
    if (!condition)
        std::abort();
}

/// A file in memory, which has a path like any other.
class MemoryFile {
public:
    MemoryFile(const uint8_t* data, size_t size)
        : m_file(::memfd_create("movie", MFD_CLOEXEC))
    {
        require(m_file >= 0 && ::write(m_file, data, size) == ssize_t(size));
    }
    ~MemoryFile() { ::close(m_file); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    [[nodiscard]] QUrl url() const { return QUrl::fromLocalFile(QStringLiteral("/proc/self/fd/%1").arg(m_file)); }

private:
    int m_file;
};

void listen(const Built& built)
{
    AudioMixer mixer(built.composition.audio, built.audioMix.value_or(std::vector<VolumeRamp>()));
    std::vector<float> sound(2 * 1024);
    const int64_t end = AudioMixer::sampleAt(built.composition.duration);
    for (const int64_t at : {int64_t(0), end / 3, end - 512, end / 2})
        (void)mixer.mix(std::max<int64_t>(0, at), 1024, sound.data());
}

} // namespace

// Whatever a movie file holds, it opens or fails with a sentence, and what opened can be looked at, listened to and
// planned for export.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const MemoryFile file(data, size);
    Take take;
    take.screenURL = file.url();
    const auto loaded = LoadedTake::load(take);
    if (!loaded) {
        require(!userText(loaded.error()).isEmpty());
        return 0;
    }
    const LoadedTake& media = **loaded;
    require(media.durationMs >= 0 && media.renderWidth > 0 && media.renderHeight > 0);
    // Large pictures only slow the search down.
    if (media.renderWidth > 512 || media.renderHeight > 512)
        return 0;
    const double length = std::min(media.durationMs, longestMs);
    const auto built = CompositionBuilder::build(*loaded, {{0, length / 2}, {length / 2 + 1, length}});
    for (const double share : {0.0, 0.7, 0.2, 1.0})
        (void)FrameGrab::picture(*built, length * share);
    listen(*built);
    int64_t last = -1;
    for (const PlannedFrame& frame :
        ExportPlan::capped(ExportPlan::ownFrames(built->composition), 30, built->composition.duration)) {
        require(frame.pts > last);
        last = frame.pts;
    }
    (void)ExportPlan::onGrid(built->composition, 30);
    return 0;
}
