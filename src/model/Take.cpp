#include "model/Take.h"

#include "model/JsonFile.h"
#include "model/Transcript.h"
#include "platform/Home.h"

#include <QDir>
#include <QFileInfo>
#include <QHashFunctions>
#include <QSet>
#include <QTimeZone>

#include <algorithm>

namespace kelmo {

namespace {

constexpr char syncSuffix[] = "_sync";
// In the order in which they are tested, each once.
constexpr const char* sidecarSuffixes[] = {"_webcam", "_transcript", syncSuffix, "_cursor", "_merged_preview"};

QString pathIn(const QUrl& dir, const QString& name)
{
    const QString folder = dir.toLocalFile();
    const QLatin1String separator(folder.endsWith(QLatin1Char('/')) ? "" : "/");
    return folder + separator + name;
}

QString syncFile(const QUrl& dir, const QString& base)
{
    return pathIn(dir, base + QString::fromLatin1(syncSuffix) + QLatin1String(".json"));
}

/// Whether a file, or what a link of its name points to, lies in a folder or below it. True for what is missing.
bool liesIn(const QUrl& dir, const QString& path)
{
    const QString folder = QFileInfo(dir.toLocalFile()).canonicalFilePath();
    const QString target = QFileInfo(path).canonicalFilePath();
    return target.isEmpty()
        || target.startsWith(folder.endsWith(QLatin1Char('/')) ? folder : folder + QLatin1Char('/'));
}

/// The file name in a field of the sync file, or `usual` if that is no plain name of a file in the folder.
QString fileName(const QUrl& dir, const QJsonValue& field, const QString& usual)
{
    const QString name = field.toString();
    const bool isPlain = !name.isEmpty() && name != QLatin1String(".") && name != QLatin1String("..")
        && !name.contains(QLatin1Char('/')) && !name.contains(QChar::Null);
    return isPlain && liesIn(dir, pathIn(dir, name)) ? name : usual;
}

/// What the recorder's sync file says; whatever is missing or of the wrong type keeps its default.
struct Sync {
    QString screenFileName;
    QString webcamFileName;
    double webcamOffsetMs = 0;
    double screenAudioStartMs = 0;
    QString recorder;
};

Sync readSync(const QUrl& dir, const QString& base)
{
    const QJsonObject json = JsonFile::readObject(syncFile(dir, base)).value_or(QJsonObject());
    return {
        fileName(dir, json.value(QLatin1String("screenFileName")), base + QLatin1String(".mov")),
        fileName(dir, json.value(QLatin1String("webcamFileName")), base + QLatin1String("_webcam.mov")),
        json.value(QLatin1String("webcamOffsetFromScreenMs")).toDouble(0),
        json.value(QLatin1String("screenAudioStartMs")).toDouble(0),
        json.value(QLatin1String("recorder")).toString(QStringLiteral("corvane")),
    };
}

void shift(std::vector<Word>& words, double offsetMs)
{
    for (Word& word : words) {
        word.startMs = std::max(0.0, word.startMs + offsetMs);
        word.endMs = std::max(0.0, word.endMs + offsetMs);
    }
}

QDateTime modificationTime(const QString& path)
{
    const QDateTime time = QFileInfo(path).lastModified();
    return time.isValid() ? time : QDateTime::fromMSecsSinceEpoch(std::numeric_limits<qint64>::min(), QTimeZone::utc());
}

QString withoutExtension(const QString& name)
{
    const auto dot = name.lastIndexOf(QLatin1Char('.'));
    return dot > 0 && dot + 1 < name.size() ? name.left(dot) : name;
}

} // namespace

QUrl Take::recordingsDir()
{
    const QString chosen = qEnvironmentVariable("CORVANE_TAKES_DIR");
    if (!chosen.isEmpty())
        return QUrl::fromLocalFile(chosen);
    return QUrl::fromLocalFile(Home::file(QStringLiteral("Library/Application Support/Corvane/Recordings")));
}

std::vector<Take::Listing> Take::list(const QUrl& folder)
{
    const QDir directory(folder.toLocalFile());
    const auto everything = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    const QStringList names = directory.entryList(everything, QDir::Unsorted);
    const QSet<QString> present(names.begin(), names.end());
    const QString ending = QString::fromLatin1(syncSuffix) + QLatin1String(".json");
    std::vector<Listing> listings;
    for (const QString& name : names) {
        if (!name.endsWith(ending))
            continue;
        const QString base = name.chopped(ending.size());
        const QString movie = base + QLatin1String(".mov");
        if (present.contains(movie) || present.contains(base + QLatin1String(".mp4")))
            listings.push_back(
                {QUrl::fromLocalFile(pathIn(folder, movie)), base, modificationTime(pathIn(folder, name))});
    }
    std::stable_sort(
        listings.begin(), listings.end(), [](const Listing& a, const Listing& b) { return a.date > b.date; });
    return listings;
}

Result<Take> Take::find(const QString& path)
{
    const QFileInfo file(QDir::cleanPath(QFileInfo(Home::expandTilde(path)).absoluteFilePath()));
    QString base = withoutExtension(file.fileName());
    for (const char* suffix : sidecarSuffixes) {
        const QLatin1String ending(suffix);
        if (base.endsWith(ending))
            base.chop(ending.size());
    }
    return find(QUrl::fromLocalFile(file.path()), base);
}

Result<Take> Take::find(const QUrl& dir, const QString& base)
{
    const Sync sync = readSync(dir, base);
    const QString screen = pathIn(dir, sync.screenFileName);
    if (!QFileInfo(screen).isFile())
        return failure(QStringLiteral("Take"), 1, QStringLiteral("No screen file at ") + screen);
    const QString webcam = pathIn(dir, sync.webcamFileName);

    Take take;
    take.base = base;
    take.dir = dir;
    take.screenURL = QUrl::fromLocalFile(screen);
    if (QFileInfo(webcam).isFile())
        take.webcamURL = QUrl::fromLocalFile(webcam);
    take.webcamOffsetMs = sync.webcamOffsetMs;
    take.screenAudioStartMs = sync.screenAudioStartMs;
    take.recorder = sync.recorder;
    return take;
}

qint64 Take::ageMs(const QString& path)
{
    const QFileInfo file(path);
    const qint64 age = file.exists() ? file.lastModified().msecsTo(QDateTime::currentDateTime()) : -1;
    return age < 0 ? std::numeric_limits<qint64>::max() : age;
}

QString Take::syncPath() const { return syncFile(dir, base); }

bool Take::isSelfContained() const
{
    return liesIn(dir, screenURL.toLocalFile()) && (!webcamURL || liesIn(dir, webcamURL->toLocalFile()));
}

void Take::readWords()
{
    std::optional<Transcript> read = Transcript::read(pathIn(dir, base + QLatin1String("_transcript.json")));
    transcribed = read.has_value();
    Transcript transcript = std::move(read).value_or(Transcript());
    if (transcript.timeBase != QLatin1String("screenFile") && webcamURL && webcamOffsetMs != 0)
        shift(transcript.words, webcamOffsetMs);
    words = std::move(transcript.words);
    aligned = transcript.aligned.value_or(false);
}

Result<Take> Take::load(const QString& path)
{
    Result<Take> take = find(path);
    if (take)
        take->readWords();
    return take;
}

Result<Take> Take::load(const QUrl& dir, const QString& base)
{
    Result<Take> take = find(dir, base);
    if (take)
        take->readWords();
    return take;
}

size_t qHash(const Take::Listing& listing, size_t seed) noexcept
{
    return qHashMulti(seed, listing.url, listing.base, listing.date);
}

} // namespace kelmo
