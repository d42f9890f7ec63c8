#pragma once

#include "platform/Error.h"

#include <QMap>

struct AVDictionary;

namespace kelmo {

/// A libav code as an Error of domain "MovieMaker": what was being done, and libav's own words for the code.
[[nodiscard]] tl::unexpected<Error> libavFailure(int code, const QString& operation);

/// Options on their way into libav, which takes out of the dictionary what it understood. What is left when the
/// codec or muxer is open was misspelt: `leftover` turns it into an Error.
class LibavOptions {
public:
    explicit LibavOptions(const QMap<QString, QString>& options = {});
    ~LibavOptions();
    LibavOptions(const LibavOptions&) = delete;
    LibavOptions& operator=(const LibavOptions&) = delete;

    void set(const char* key, const QString& value);
    [[nodiscard]] AVDictionary** address() { return &m_dictionary; }
    [[nodiscard]] Result<void> leftover(const QString& owner) const;

private:
    AVDictionary* m_dictionary = nullptr;
};

} // namespace kelmo
