#include "tools/sample-take/SpeechSynthesizer.h"

#include "tools/moviemaker/LibavError.h"

#include <QStringList>

#include <espeak-ng/speak_lib.h>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

namespace kelmo {

namespace {

constexpr float kSilent = 0.012F;

struct WordEvent {
    int character; ///< Index into the clause.
    int sample;
};

/// What the library hands to its callback while it speaks one clause.
struct Capture {
    std::vector<int16_t> samples;
    std::vector<WordEvent> words;
};

int receive(short* samples, int count, espeak_EVENT* event)
{
    auto* capture = static_cast<Capture*>(event->user_data);
    if (samples && capture)
        capture->samples.insert(capture->samples.end(), samples, samples + count);
    for (; event->type != espeakEVENT_LIST_TERMINATED; ++event) {
        if (event->type == espeakEVENT_WORD && event->length > 0 && event->user_data)
            static_cast<Capture*>(event->user_data)->words.push_back({event->text_position - 1, event->sample});
    }
    return 0;
}

Result<std::vector<float>> resampled(const std::vector<int16_t>& samples, int rate)
{
    SwrContext* swr = nullptr;
    AVChannelLayout mono;
    av_channel_layout_default(&mono, 1);
    int code
        = swr_alloc_set_opts2(&swr, &mono, AV_SAMPLE_FMT_FLT, kVoiceRate, &mono, AV_SAMPLE_FMT_S16, rate, 0, nullptr);
    if (code >= 0)
        code = swr_init(swr);
    if (code < 0) {
        swr_free(&swr);
        return libavFailure(code, QStringLiteral("resampling the voice"));
    }
    const auto count = static_cast<int>(samples.size() * kVoiceRate / static_cast<size_t>(rate));
    std::vector<float> output(static_cast<size_t>(count) + 64);
    auto* out = reinterpret_cast<uint8_t*>(output.data());
    const auto* in = reinterpret_cast<const uint8_t*>(samples.data());
    int made = swr_convert(swr, &out, count, &in, static_cast<int>(samples.size()));
    // The resampler holds back half its filter's length until it hears that no more comes.
    out += static_cast<ptrdiff_t>(made) * static_cast<ptrdiff_t>(sizeof(float));
    made += std::max(0, swr_convert(swr, &out, count - made, nullptr, 0));
    swr_free(&swr);
    output.resize(static_cast<size_t>(std::max(0, made)));
    return output;
}

bool isLoud(float sample) { return std::abs(sample) > kSilent; }

int firstLoud(const std::vector<float>& samples, int from, int to)
{
    return static_cast<int>(std::find_if(samples.begin() + from, samples.begin() + to, isLoud) - samples.begin());
}

/// One past the last loud sample of a range; its start when all is silent.
int pastLastLoud(const std::vector<float>& samples, int from, int to)
{
    while (to > from && !isLoud(samples[static_cast<size_t>(to - 1)]))
        --to;
    return to;
}

/// The start of every word. The library runs small words together ("of the"): one without an event of its own gets
/// its share, by letters, of the time up to the next one that has.
std::vector<int> wordStarts(const QStringList& words, const std::vector<WordEvent>& events, int end)
{
    std::vector<int> starts(static_cast<size_t>(words.size()), -1);
    std::vector<int> firstCharacter;
    for (int at = 0; const QString& word : words) {
        firstCharacter.push_back(at);
        at += static_cast<int>(word.size()) + 1;
    }
    for (const WordEvent& event : events) {
        const auto after = std::upper_bound(firstCharacter.begin(), firstCharacter.end(), event.character);
        const auto index = static_cast<size_t>(std::max<ptrdiff_t>(0, after - firstCharacter.begin() - 1));
        if (starts[index] < 0)
            starts[index] = event.sample;
    }
    starts.front() = std::max(0, starts.front());
    for (size_t index = 1; index < starts.size(); ++index) {
        if (starts[index] >= 0)
            continue;
        size_t known = index;
        while (known < starts.size() && starts[known] < 0)
            ++known;
        const int until = known < starts.size() ? starts[known] : end;
        const int lastCharacter = known < starts.size() ? firstCharacter[known]
                                                        : firstCharacter.back() + static_cast<int>(words.back().size());
        const double share = static_cast<double>(firstCharacter[index] - firstCharacter[index - 1])
            / (lastCharacter - firstCharacter[index - 1]);
        starts[index] = starts[index - 1] + static_cast<int>(share * (until - starts[index - 1]));
    }
    return starts;
}

} // namespace

Result<SpeechSynthesizer> SpeechSynthesizer::open(const QString& voice)
{
    const int rate = espeak_Initialize(AUDIO_OUTPUT_SYNCHRONOUS, 0, nullptr, espeakINITIALIZE_DONT_EXIT);
    if (rate <= 0)
        return failure(
            QStringLiteral("Speech"), rate, QStringLiteral("espeak-ng cannot start: is its data installed?"));
    if (espeak_SetVoiceByName(voice.toUtf8().constData()) != EE_OK)
        return failure(QStringLiteral("Speech"), 1, QStringLiteral("espeak-ng has no voice %1").arg(voice));
    espeak_SetSynthCallback(receive);
    return SpeechSynthesizer(rate);
}

Result<SpokenClause> SpeechSynthesizer::speak(const QString& clause, int wordsPerMinute)
{
    espeak_SetParameter(espeakRATE, wordsPerMinute, 0);
    espeak_SetParameter(espeakPITCH, 42, 0);
    espeak_SetParameter(espeakRANGE, 62, 0);
    Capture capture;
    const QByteArray text = clause.toUtf8();
    const auto code = espeak_Synth(text.constData(), static_cast<size_t>(text.size()) + 1, 0, POS_CHARACTER, 0,
        espeakCHARS_UTF8, nullptr, &capture);
    if (code != EE_OK)
        return failure(QStringLiteral("Speech"), code, QStringLiteral("espeak-ng cannot say \"%1\"").arg(clause));

    auto samples = resampled(capture.samples, m_sampleRate);
    if (!samples)
        return tl::unexpected(samples.error());
    const auto length = static_cast<int>(samples->size());
    const int begin = firstLoud(*samples, 0, length);
    const int end = pastLastLoud(*samples, begin, length);
    for (WordEvent& event : capture.words)
        event.sample = static_cast<int>(static_cast<int64_t>(event.sample) * kVoiceRate / m_sampleRate);

    std::vector<int> starts = wordStarts(clause.split(u' '), capture.words, end);
    starts.push_back(end);
    SpokenClause spoken;
    spoken.samples.assign(samples->begin() + begin, samples->begin() + end);
    for (size_t index = 0; index + 1 < starts.size(); ++index) {
        const int from = std::clamp(starts[index], begin, end);
        const int to = std::max(from, pastLastLoud(*samples, from, std::clamp(starts[index + 1], from, end)));
        spoken.words.emplace_back(from - begin, to - begin);
    }
    return spoken;
}

} // namespace kelmo
