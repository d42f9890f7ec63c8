#pragma once

#include "media/stack/encode/VideoEncoder.h"

#include <QString>
#include <QStringView>

#include <array>
#include <optional>

namespace kelmo {

/// The codecs that an export can be made in.
enum class Codec { H264, Hevc };

/// What the rest of the program needs to know of a codec.
struct CodecTraits {
    Codec codec;
    QString name; ///< In file names, tools and usage events.
    QString displayName;
    VideoCodec videoCodec;
    double bitsPerPixel; ///< Of the average bit rate, per pixel and frame.
};

[[nodiscard]] const std::array<CodecTraits, 2>& allCodecs();
[[nodiscard]] const CodecTraits& traits(Codec codec);
[[nodiscard]] std::optional<Codec> codecFromName(QStringView name);

} // namespace kelmo
