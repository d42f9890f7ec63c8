#include "model/Take.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cmath>
#include <cstdlib>

using namespace kelmo;

namespace {

void require(bool condition)
{
    if (!condition)
        std::abort();
}

/// A take whose sync file changes with every run.
struct Folder {
    Folder()
    {
        write(QStringLiteral("take.mov"), "movie");
        write(QStringLiteral("take_webcam.mov"), "webcam");
        write(QStringLiteral("take_transcript.json"),
            R"({"words": [{"text": "a", "startMs": 10, "endMs": 20}, {"text": "b", "startMs": 15, "endMs": 30}]})");
    }

    void write(const QString& name, const QByteArray& bytes) const
    {
        QFile file(folder.filePath(name));
        require(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    QTemporaryDir folder{QStringLiteral("/dev/shm/kelmo-fuzz-XXXXXX")};
};

} // namespace

// Whatever a sync file holds, a take either loads, with files that exist in its folder and usable numbers, or fails
// with a sentence.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const Folder folder;
    folder.write(QStringLiteral("take_sync.json"), QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)));
    const Result<Take> take = Take::load(folder.folder.filePath(QStringLiteral("take.mov")));
    if (!take) {
        require(!take.error().description.isEmpty());
        return 0;
    }
    require(QFileInfo(take->screenURL.toLocalFile()).isFile());
    require(!take->webcamURL || QFileInfo(take->webcamURL->toLocalFile()).isFile());
    require(std::isfinite(take->webcamOffsetMs) && std::isfinite(take->screenAudioStartMs));
    require(take->words.size() == 2);
    for (const Word& word : take->words)
        require(word.isValid() && word.startMs >= 0);
    return 0;
}
