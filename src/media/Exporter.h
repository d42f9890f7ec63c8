#pragma once

#include "media/Built.h"
#include "media/Codec.h"

#include <atomic>
#include <functional>

namespace kelmo {

/// How an export is made.
struct ExportSettings {
    enum class Engine {
        Writer, ///< The fast one: an average bit rate, a size and a frame rate of one's choice.
        Session, ///< The codec's best look at full size, for comparison.
    };

    Codec codec = Codec::Hevc;
    std::optional<int> height; ///< Lines; none = the recording's own. Never enlarges. Writer only.
    int fps = 30; ///< Frames a second at most. Writer only.
    Engine engine = Engine::Writer;
};

/// What an export did.
struct ExportReport {
    QString encoder;
    QStringList refusals; ///< Why encoders before it were not used.
    QStringList notices; ///< What is missing from the movie, in sentences for the user.
};

/// Turns an edit into an MP4: reading and decoding, composing, encoding and writing run side by side on threads of the
/// call's own, joined by bounded queues, so that the encoder is never kept waiting.
class Exporter {
public:
    /// Called with how much is done, from 0 to 1, from the export's threads.
    using Progress = std::function<void(double)>;

    /// Writes the edit to `path`. Blocks until the file is whole; call it on a worker. Fails with a sentence, and
    /// leaves nothing behind, when a source cannot be read, no encoder works, the disk is full, or `cancelled` becomes
    /// true.
    [[nodiscard]] static Result<ExportReport> run(const std::shared_ptr<const Built>& built,
        const ExportSettings& settings, const QString& path, const Progress& progress,
        const std::atomic<bool>& cancelled);

    /// What an export that was cancelled fails with.
    [[nodiscard]] static Error cancellation();

    /// The size of the video that these settings give. Fails when there is no sense in it.
    struct Size {
        int width = 0;
        int height = 0;
        bool operator==(const Size&) const = default;
    };
    [[nodiscard]] static Result<Size> outputSize(const Built& built, const ExportSettings& settings);

    /// Bits a second that a codec gets for a size and a rate.
    [[nodiscard]] static int64_t bitRate(Codec codec, Size size, int fps);
};

} // namespace kelmo
