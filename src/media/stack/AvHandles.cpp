#include "media/stack/AvHandles.h"

extern "C" {
#include <libavutil/log.h>
}

#include <mutex>

namespace kelmo {

Error avError(int code, const QString& operation, const QString& subject)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    QString reason = QString::fromUtf8(text);
    if (code == AVERROR_INVALIDDATA)
        reason = QStringLiteral("the file is damaged, incomplete or not a movie");
    else if (code == AVERROR(ENOSPC))
        reason = QStringLiteral("the disk is full");
    return {QStringLiteral("Media"), code, operation % QStringLiteral(" ") % subject % QStringLiteral(": ") % reason};
}

void quietAvLog()
{
    // A seek alone makes the H.264 decoder write hundreds of lines at error level, none of which a reader can act on:
    // what matters comes back as a code, and is reported where it is received.
    static std::once_flag once;
    std::call_once(once, [] { av_log_set_level(AV_LOG_QUIET); });
}

} // namespace kelmo
