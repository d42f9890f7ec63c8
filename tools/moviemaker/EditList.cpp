#include "tools/moviemaker/EditList.h"

#include <QFile>
#include <QtEndian>

namespace kelmo {

namespace {

constexpr qsizetype kHeader = 8;

template <class T> T valueAt(const QByteArray& bytes, qsizetype offset)
{
    return qFromBigEndian<T>(bytes.constData() + offset);
}

template <class T> void putAt(QByteArray& bytes, qsizetype offset, T value)
{
    qToBigEndian<T>(value, bytes.data() + offset);
}

template <class T> void append(QByteArray& bytes, T value)
{
    bytes.resize(bytes.size() + static_cast<qsizetype>(sizeof(T)));
    putAt<T>(bytes, bytes.size() - static_cast<qsizetype>(sizeof(T)), value);
}

tl::unexpected<Error> malformed(const QString& what) { return failure(QStringLiteral("EditList"), 1, what); }

struct Box {
    QByteArray type;
    qsizetype offset = 0; ///< Of its header, in the bytes that were searched.
    qsizetype size = 0; ///< Header included.
};

std::vector<Box> boxesIn(const QByteArray& bytes, qsizetype from, qsizetype to)
{
    std::vector<Box> boxes;
    while (from + kHeader <= to) {
        const qsizetype size = valueAt<quint32>(bytes, from);
        if (size < kHeader || from + size > to)
            break;
        boxes.push_back({bytes.mid(from + 4, 4), from, size});
        from += size;
    }
    return boxes;
}

std::optional<Box> child(const QByteArray& bytes, const Box& parent, const char* type, int number = 0)
{
    for (const Box& box : boxesIn(bytes, parent.offset + kHeader, parent.offset + parent.size)) {
        if (box.type == type && number-- == 0)
            return box;
    }
    return std::nullopt;
}

/// Where the file's moov box lies, found by walking the boxes of the outermost level.
Result<std::pair<qint64, qint64>> findMoov(QFile& file)
{
    qint64 offset = 0;
    while (file.seek(offset)) {
        const QByteArray head = file.read(16);
        if (head.size() < kHeader)
            break;
        qint64 size = valueAt<quint32>(head, 0);
        if (size == 1 && head.size() == 16)
            size = static_cast<qint64>(valueAt<quint64>(head, 8));
        if (size < kHeader)
            break;
        if (head.mid(4, 4) == "moov")
            return std::pair(offset, size);
        offset += size;
    }
    return malformed(QStringLiteral("no moov box in ") + file.fileName());
}

QByteArray boxOf(const char* type, const QByteArray& content)
{
    QByteArray box;
    append<quint32>(box, static_cast<quint32>(kHeader + content.size()));
    return box + type + content;
}

QByteArray editBox(const std::vector<EditListEntry>& entries)
{
    const auto isLong = [](const EditListEntry& entry) {
        return entry.segmentDuration > std::numeric_limits<quint32>::max()
            || entry.mediaTime > std::numeric_limits<qint32>::max();
    };
    const bool wide = std::any_of(entries.begin(), entries.end(), isLong);
    QByteArray list;
    append<quint32>(list, wide ? 0x01000000U : 0U);
    append<quint32>(list, static_cast<quint32>(entries.size()));
    for (const EditListEntry& entry : entries) {
        if (wide) {
            append<qint64>(list, entry.segmentDuration);
            append<qint64>(list, entry.mediaTime);
        } else {
            append<quint32>(list, static_cast<quint32>(entry.segmentDuration));
            append<qint32>(list, static_cast<qint32>(entry.mediaTime));
        }
        append<quint32>(list, 0x00010000U); // The rate, 1.0.
    }
    return boxOf("edts", boxOf("elst", list));
}

/// The duration field of a tkhd (after two times, a track number and a gap) or an mvhd (two times and a timescale).
void setDuration(QByteArray& bytes, const Box& box, qsizetype gapBefore, int64_t duration)
{
    const bool wide = bytes.at(box.offset + kHeader) == 1;
    const qsizetype at = box.offset + kHeader + 4 + (wide ? 16 : 8) + gapBefore;
    if (wide)
        putAt<quint64>(bytes, at, static_cast<quint64>(duration));
    else
        putAt<quint32>(bytes, at, static_cast<quint32>(duration));
}

int64_t trackDuration(const QByteArray& bytes, const Box& header)
{
    const bool wide = bytes.at(header.offset + kHeader) == 1;
    const qsizetype at = header.offset + kHeader + 4 + (wide ? 24 : 16);
    return wide ? valueAt<qint64>(bytes, at) : valueAt<quint32>(bytes, at);
}

void setMovieDuration(QByteArray& moov)
{
    const Box whole{"moov", 0, moov.size()};
    int64_t longest = 0;
    for (int number = 0; const auto trak = child(moov, whole, "trak", number); ++number) {
        if (const auto header = child(moov, *trak, "tkhd"))
            longest = std::max(longest, trackDuration(moov, *header));
    }
    if (const auto header = child(moov, whole, "mvhd"))
        setDuration(moov, *header, 4, longest);
}

Result<void> replaceEdits(QByteArray& moov, int track, const std::vector<EditListEntry>& entries)
{
    const Box whole{"moov", 0, moov.size()};
    const auto trak = child(moov, whole, "trak", track);
    const auto header = trak ? child(moov, *trak, "tkhd") : std::nullopt;
    if (!header)
        return malformed(QStringLiteral("no track %1").arg(track));
    if (!entries.empty()) {
        int64_t duration = 0;
        for (const EditListEntry& entry : entries)
            duration += entry.segmentDuration;
        setDuration(moov, *header, 8, duration);
    }
    const auto old = child(moov, *trak, "edts");
    const QByteArray edits = entries.empty() ? QByteArray() : editBox(entries);
    const qsizetype oldSize = old ? old->size : 0;
    moov.replace(old ? old->offset : header->offset + header->size, oldSize, edits);
    const qsizetype growth = edits.size() - oldSize;
    putAt<quint32>(moov, trak->offset, static_cast<quint32>(trak->size + growth));
    putAt<quint32>(moov, 0, static_cast<quint32>(moov.size()));
    setMovieDuration(moov);
    return {};
}

} // namespace

Result<void> writeEditList(const QString& path, int track, const std::vector<EditListEntry>& entries)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite))
        return malformed(file.errorString());
    const auto place = findMoov(file);
    if (!place)
        return tl::unexpected(place.error());
    const auto [offset, size] = *place;
    file.seek(offset);
    QByteArray moov = file.read(size);
    if (auto replaced = replaceEdits(moov, track, entries); !replaced)
        return replaced;
    if (offset + size == file.size()) {
        file.resize(offset);
    } else {
        file.seek(offset + 4);
        file.write("free");
    }
    file.seek(file.size());
    if (file.write(moov) != moov.size() || !file.flush())
        return malformed(file.errorString());
    return {};
}

Result<std::vector<EditListEntry>> readEditList(const QString& path, int track)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return malformed(file.errorString());
    const auto place = findMoov(file);
    if (!place)
        return tl::unexpected(place.error());
    file.seek(place->first);
    const QByteArray moov = file.read(place->second);
    const auto trak = child(moov, {"moov", 0, moov.size()}, "trak", track);
    if (!trak)
        return malformed(QStringLiteral("no track %1").arg(track));
    std::vector<EditListEntry> entries;
    const auto edits = child(moov, *trak, "edts");
    const auto list = edits ? child(moov, *edits, "elst") : std::nullopt;
    if (!list)
        return entries;
    const bool wide = moov.at(list->offset + kHeader) == 1;
    const quint32 count = valueAt<quint32>(moov, list->offset + kHeader + 4);
    qsizetype at = list->offset + kHeader + 8;
    for (quint32 number = 0; number < count; ++number, at += wide ? 20 : 12) {
        if (wide)
            entries.push_back({valueAt<qint64>(moov, at), valueAt<qint64>(moov, at + 8)});
        else
            entries.push_back({valueAt<quint32>(moov, at), valueAt<qint32>(moov, at + 4)});
    }
    return entries;
}

} // namespace kelmo
