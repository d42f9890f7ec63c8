#pragma once

#include <QImage>
#include <QString>

#include <optional>
#include <vector>

namespace kelmo {

/// An exported file read back by the ffmpeg and ffprobe programs, independently of the program's own media stack.
class ExportedMovie {
public:
    explicit ExportedMovie(const QString& path);

    struct Picture {
        double timeMs = 0;
        std::optional<int> number; ///< The frame code in it.
    };

    [[nodiscard]] std::vector<Picture> pictures() const; ///< In display order.
    [[nodiscard]] std::vector<float> sound() const; ///< Left channel at 48 kHz, from time 0.
    [[nodiscard]] std::vector<double> keyTimesMs() const;
    [[nodiscard]] QImage pictureAt(int index) const; ///< As full-range RGB.
    [[nodiscard]] QString probe(const QString& stream, const QString& entries) const; ///< "key=value" lines.
    /// The same of the bare coded video, without what the container says.
    [[nodiscard]] QString probeBareVideo(const QString& entries) const;
    [[nodiscard]] double durationMs() const;

private:
    static QByteArray run(const QString& program, const QStringList& arguments);

    QString m_path;
};

} // namespace kelmo
