#pragma once

#include "model/Word.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

namespace kelmo {

/// What the recorder's transcript file says, before its times are moved onto the screen's clock. A plain value.
struct Transcript {
    std::vector<Word> words; ///< valid words only, sorted by start; equal starts keep the order of the file
    std::optional<QString> timeBase; ///< "screenFile": the screen movie's clock; anything else: the webcam's
    std::optional<bool> aligned; ///< true once the recorder has force-aligned the word times

    /// Nothing when the file is missing, unreadable, larger than 256 MiB or doesn't decode. That is never an error:
    /// the recorder writes the file some time after the movie.
    [[nodiscard]] static std::optional<Transcript> read(const QString& path);

    /// Decodes strictly: one word that lacks a key or has a value of the wrong type spoils the whole text.
    [[nodiscard]] static std::optional<Transcript> decode(const QByteArray& utf8);
};

} // namespace kelmo
