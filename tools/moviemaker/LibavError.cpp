#include "tools/moviemaker/LibavError.h"

extern "C" {
#include <libavutil/dict.h>
#include <libavutil/error.h>
}

namespace kelmo {

tl::unexpected<Error> libavFailure(int code, const QString& operation)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    return failure(
        QStringLiteral("MovieMaker"), code, QStringLiteral("%1: %2").arg(operation, QString::fromUtf8(text)));
}

LibavOptions::LibavOptions(const QMap<QString, QString>& options)
{
    for (auto option = options.begin(); option != options.end(); ++option)
        set(option.key().toUtf8().constData(), option.value());
}

LibavOptions::~LibavOptions() { av_dict_free(&m_dictionary); }

void LibavOptions::set(const char* key, const QString& value)
{
    av_dict_set(&m_dictionary, key, value.toUtf8().constData(), 0);
}

Result<void> LibavOptions::leftover(const QString& owner) const
{
    const AVDictionaryEntry* entry = av_dict_get(m_dictionary, "", nullptr, AV_DICT_IGNORE_SUFFIX);
    if (!entry)
        return {};
    return failure(QStringLiteral("MovieMaker"), AVERROR_OPTION_NOT_FOUND,
        QStringLiteral("%1 knows no option \"%2\"").arg(owner, QString::fromUtf8(entry->key)));
}

} // namespace kelmo
