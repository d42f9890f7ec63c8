#pragma once

#include "platform/Error.h"

#include <QString>

#include <functional>

struct AVCodecContext;
struct AVPacket;

namespace kelmo {

/// Takes an encoder's packets as they come out.
using PacketSink = std::function<Result<void>(AVPacket&)>;

/// Hands everything that an encoder has ready to `sink`. `encoder` is its name, for messages.
[[nodiscard]] Result<void> drainEncoder(AVCodecContext& context, const QString& encoder, const PacketSink& sink);

} // namespace kelmo
