#include "media/stack/composition/AudioMixer.h"

#include "media/stack/composition/PeakLimiter.h"

namespace kelmo {

namespace {

constexpr int channels = AudioTrackReader::channels;

} // namespace

AudioMixer::AudioMixer(std::vector<CompositionTrack> tracks, std::vector<VolumeRamp> ramps)
{
    replace(std::move(tracks), std::move(ramps));
}

void AudioMixer::replace(std::vector<CompositionTrack> tracks, std::vector<VolumeRamp> ramps)
{
    std::vector<std::unique_ptr<AudioTrackReader>> readers;
    m_silences.clear();
    for (size_t i = 0; i < tracks.size(); ++i) {
        if (i < m_readers.size() && m_readers[i] && m_tracks[i].track == tracks[i].track) {
            readers.push_back(std::move(m_readers[i]));
            continue;
        }
        Result<std::unique_ptr<AudioTrackReader>> reader = AudioTrackReader::open(tracks[i].asset, *tracks[i].track);
        if (!reader)
            m_silences.push_back(reader.error());
        readers.push_back(reader ? std::move(*reader) : nullptr);
    }
    m_readers = std::move(readers);
    m_tracks = std::move(tracks);
    m_ramps = std::move(ramps);
    m_mixed.clear();
    m_mixedStart = 0;
}

Result<void> AudioMixer::mix(int64_t position, int count, float* interleaved)
{
    constexpr int reach = PeakLimiter::reach;
    const int64_t from = position - reach;
    const int64_t to = position + count + reach;
    int64_t mixedEnd = m_mixedStart + int64_t(m_mixed.size()) / channels;
    if (from < m_mixedStart || from > mixedEnd) {
        m_mixed.clear();
        m_mixedStart = mixedEnd = from;
    }
    m_mixed.erase(m_mixed.begin(), m_mixed.begin() + (from - m_mixedStart) * channels);
    m_mixedStart = from;
    if (mixedEnd < to) {
        const size_t kept = m_mixed.size();
        m_mixed.resize(size_t(to - from) * channels);
        if (Result<void> mixed = mixTracks(mixedEnd, int(to - mixedEnd), m_mixed.data() + kept); !mixed) {
            m_mixed.resize(kept);
            return mixed;
        }
    }
    PeakLimiter::limit(std::span(m_mixed).first(size_t(count + 2 * reach) * channels),
        std::span(interleaved, size_t(count) * channels));
    return {};
}

Result<void> AudioMixer::mixTracks(int64_t position, int count, float* interleaved)
{
    std::fill_n(interleaved, size_t(count) * channels, 0.0f);
    for (size_t track = 0; track < m_tracks.size(); ++track) {
        if (Result<void> added = addTrack(track, position, count, interleaved); !added)
            return added;
    }
    applyRamps(position, count, interleaved);
    return {};
}

Result<void> AudioMixer::addTrack(size_t track, int64_t position, int count, float* interleaved)
{
    if (!m_readers[track])
        return {};
    const std::vector<CompositionSegment>& segments = m_tracks[track].segments;
    auto segment = std::partition_point(segments.begin(), segments.end(),
        [&](const CompositionSegment& each) { return sampleAt(each.place().end()) <= position; });
    for (; segment != segments.end() && sampleAt(segment->at) < position + count; ++segment) {
        // Both ends are rounded on the edited clock, so that pieces meet without a missing or doubled sample.
        const int64_t start = sampleAt(segment->at);
        const int64_t from = std::max(position, start);
        const int64_t to = std::min(position + count, sampleAt(segment->place().end()));
        if (from >= to)
            continue;
        const int64_t source = sampleAt(segment->source.start) + (from - start);
        m_scratch.resize(size_t(to - from) * channels);
        if (Result<void> read = m_readers[track]->read(source, int(to - from), m_scratch.data()); !read)
            return read;
        float* out = interleaved + (from - position) * channels;
        for (size_t i = 0; i < m_scratch.size(); ++i)
            out[i] += m_scratch[i];
    }
    return {};
}

void AudioMixer::applyRamps(int64_t position, int count, float* interleaved) const
{
    auto ramp = std::partition_point(
        m_ramps.begin(), m_ramps.end(), [&](const VolumeRamp& each) { return sampleAt(each.place.end()) <= position; });
    for (; ramp != m_ramps.end() && sampleAt(ramp->place.start) < position + count; ++ramp) {
        const int64_t start = sampleAt(ramp->place.start);
        const int64_t end = sampleAt(ramp->place.end());
        for (int64_t at = std::max(start, position); at < std::min(end, position + count); ++at) {
            const float gain = ramp->from + (ramp->to - ramp->from) * float(at - start) / float(end - start);
            float* sample = interleaved + (at - position) * channels;
            sample[0] *= gain;
            sample[1] *= gain;
        }
    }
}

} // namespace kelmo
