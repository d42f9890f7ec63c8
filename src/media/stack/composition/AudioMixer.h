#pragma once

#include "media/stack/composition/Composition.h"
#include "media/stack/decode/AudioTrackReader.h"

namespace kelmo {

/// Mixes a composition's audio tracks to 48 kHz stereo on the edited clock, with the joins' volume ramps, exact to the
/// sample. Any stretch gives the same samples however it is read. Owned by one user at a time; not thread-safe.
class AudioMixer {
public:
    /// Opens a reader for each track; a track that cannot be played is silent. `ramps` are ascending, without overlap,
    /// and hold for every track.
    AudioMixer(std::vector<CompositionTrack> tracks, std::vector<VolumeRamp> ramps);

    /// Goes on with another edit. Readers of tracks that both edits have stay open.
    void replace(std::vector<CompositionTrack> tracks, std::vector<VolumeRamp> ramps);

    /// Why tracks are silent that cannot be played, for each of them.
    [[nodiscard]] const std::vector<Error>& silences() const { return m_silences; }
    [[nodiscard]] bool isSilent() const { return m_silences.size() == m_tracks.size(); } ///< No track can be played.

    /// Fills `count` stereo samples (interleaved) from sample `position` of the edited clock; silence beyond its ends.
    [[nodiscard]] Result<void> mix(int64_t position, int count, float* interleaved);

    /// The sample at which a moment of a clock falls.
    [[nodiscard]] static int64_t sampleAt(MediaTime time) { return scaled(time.us, AudioTrackReader::rate, 1'000'000); }

private:
    [[nodiscard]] Result<void> mixTracks(int64_t position, int count, float* interleaved);
    [[nodiscard]] Result<void> addTrack(size_t track, int64_t position, int count, float* interleaved);
    void applyRamps(int64_t position, int count, float* interleaved) const;

    std::vector<CompositionTrack> m_tracks;
    std::vector<std::unique_ptr<AudioTrackReader>> m_readers; ///< Null for a silent track.
    std::vector<Error> m_silences;
    std::vector<VolumeRamp> m_ramps;
    std::vector<float> m_scratch;

    std::vector<float> m_mixed; ///< Mixed but not yet limited, from sample m_mixedStart on.
    int64_t m_mixedStart = 0;
};

} // namespace kelmo
