#pragma once

#include <QMap>
#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

namespace kelmo {

// What a movie written by MovieMaker is to look like. Plain values: a test or a benchmark fills in what it cares about
// and leaves the rest. An option that libav does not take, or does not know, makes MovieMaker::create fail.

struct TimeBase {
    int numerator = 1;
    int denominator = 600;
};

/// libav's names of the values ("bt709", "iec61966-2-1", "bt470bg", "tv", "pc"); an empty name leaves the value
/// unspecified. Pictures are converted with `matrix` and `range`, BT.709 and limited where they are unspecified.
struct ColourTags {
    QString primaries;
    QString transfer;
    QString matrix;
    QString range;

    static ColourTags bt709()
    {
        return {QStringLiteral("bt709"), QStringLiteral("bt709"), QStringLiteral("bt709"), QStringLiteral("tv")};
    }
};

struct VideoSpec {
    int width = 640; ///< 4:2:0 in H.264 and HEVC cannot express odd sizes: take yuv444p, or the codecs mpeg4 and mjpeg.
    int height = 360;
    QString codec
        = QStringLiteral("h264"); ///< "h264", "hevc", or any encoder's libav name, "mpeg4", "prores_ks", "mjpeg".
    QString pixelFormat = QStringLiteral("yuv420p");
    TimeBase timeBase = {}; ///< Unit of every picture's time.
    double frameRate = 30; ///< Nominal, for rate control and headers; the pictures' times need not follow it.
    int gopLength = 60; ///< Frames from one key frame to the next, at most.
    int bFrames = 2;
    bool bPyramid = false;
    bool openGop = false;
    int crf = 23; ///< Quality for h264 and hevc; used when bitRate is 0.
    int64_t bitRate = 0; ///< Bits a second.
    QString preset = QStringLiteral("ultrafast");
    ColourTags colour = {};
    int rotation = 0; ///< Degrees clockwise that a player turns the picture: 0, 90, 180 or 270.
    int64_t lastFrameDuration = 0; ///< In time base units; 0 takes one nominal frame.
    int threads = 0; ///< 0 leaves it to the encoder; 1 gives the same bytes on every machine.
    QMap<QString, QString> codecOptions = {}; ///< Anything else, such as "x264-params", "sc_threshold", "profile".
};

struct AudioSpec {
    QString codec = QStringLiteral("aac"); ///< Or "pcm_s16le", "pcm_f32le", "alac", any encoder's libav name.
    int sampleRate = 48000;
    int channels = 2; ///< 1 or 2.
    int64_t bitRate = 192000; ///< Bits a second, for the codecs that have one.
    double startOffsetMs = 0; ///< The track's first sample sounds here; AAC's priming then plays as silence before it.
    QMap<QString, QString> codecOptions = {};
};

/// How a movie's tables are laid out in the file.
enum class MovieLayout {
    TablesAtEnd, ///< moov after the media data, as recorders write it.
    FastStart, ///< moov in front.
    Fragmented, ///< moof boxes, one for each key frame.
};

struct MovieSpec {
    QString path = {}; ///< The suffix picks the container: .mov, .mp4, .mkv (where AAC's priming shifts all tracks).
    std::optional<VideoSpec> video = {};
    std::vector<AudioSpec> audio = {};
    MovieLayout layout = MovieLayout::TablesAtEnd;
    int movieTimescale = 48000; ///< Unit of edit lists, a second's parts; .mov and .mp4 only.
    QMap<QString, QString> muxerOptions = {};
};

} // namespace kelmo
