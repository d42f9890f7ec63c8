#include "media/stack/core/AvHandles.h"

extern "C" {
#include <libavutil/log.h>
}

#include <mutex>

namespace kelmo {

namespace {

/// Why something failed, in words that need no knowledge of libav.
QString reasonOf(int code)
{
    switch (code) {
    case AVERROR_INVALIDDATA:
        return QStringLiteral("the file is damaged, incomplete or not a movie");
    case AVERROR_EOF:
        return QStringLiteral("the file ends too early");
    case AVERROR_DECODER_NOT_FOUND:
        return QStringLiteral("there is no decoder for its format here");
    case AVERROR_ENCODER_NOT_FOUND:
        return QStringLiteral("there is no such encoder here");
    case AVERROR(ENOSPC):
        return QStringLiteral("the disk is full");
    case AVERROR(ENOMEM):
        return QStringLiteral("there is not enough memory for it");
    case AVERROR(EIO):
        return QStringLiteral("the disk can’t be read or written");
    case AVERROR(ENOENT):
    case AVERROR(EACCES):
    case AVERROR(EPERM):
    case AVERROR(EROFS):
    case AVERROR(EISDIR):
    case AVERROR(EDQUOT):
    case AVERROR(EFBIG):
    case AVERROR(EMFILE):
    case AVERROR(ENFILE):
        return qt_error_string(AVUNERROR(code)).toLower();
    default:
        return QStringLiteral("its format or settings are not supported");
    }
}

} // namespace

Error avError(int code, const QString& operation, const QString& subject)
{
    return {QStringLiteral("Media"), code,
        operation % QStringLiteral(" ") % subject % QStringLiteral(": ") % reasonOf(code)};
}

void quietAvLog()
{
    // A seek alone makes the H.264 decoder write hundreds of lines at error level, none of which a reader can act on:
    // what matters comes back as a code, and is reported where it is received.
    static std::once_flag once;
    std::call_once(once, [] { av_log_set_level(AV_LOG_QUIET); });
}

} // namespace kelmo
