#pragma once

// Movies read back through the ffmpeg and ffprobe commands: a second opinion that shares no code with what wrote them.

#include <QByteArray>
#include <QImage>
#include <QStringList>

#include <vector>

namespace kelmo::test {

/// Standard output of a program, after checking that it succeeded.
QByteArray outputOf(const QString& program, const QStringList& arguments);

/// ffprobe's values for `entries` ("stream=width,height"), one line for each stream or frame, values joined by commas.
QStringList probe(const QString& path, const QString& stream, const QString& entries);

/// Every picture that is shown, in order, scaled to width × height, as grey images.
std::vector<QImage> pictures(const QString& path, int width, int height);

/// One audio stream ("a:0") as mono float samples at its own rate, from the track's start on.
std::vector<float> sound(const QString& path, const QString& stream);

} // namespace kelmo::test
