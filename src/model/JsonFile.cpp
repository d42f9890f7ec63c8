#include "model/JsonFile.h"

#include <QFile>
#include <QJsonDocument>

namespace kelmo {

namespace {

constexpr qint64 maximumBytes = 256LL * 1024 * 1024;
constexpr qint64 pieceBytes = 1024 * 1024;

} // namespace

std::optional<QByteArray> JsonFile::read(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > maximumBytes)
        return std::nullopt;
    // The recorder may still be writing, or the size be unknown, so the limit holds for the bytes read as well.
    // Piece by piece, because reading "at most" so much would reserve all of it for the smallest file.
    QByteArray json;
    for (QByteArray piece = file.read(pieceBytes); !piece.isEmpty() && json.size() <= maximumBytes;
         piece = file.read(pieceBytes))
        json += piece;
    if (json.size() > maximumBytes || file.error() != QFile::NoError)
        return std::nullopt;
    return json;
}

std::optional<QJsonObject> JsonFile::readObject(const QString& path)
{
    const std::optional<QByteArray> json = read(path);
    return json ? parseObject(*json) : std::nullopt;
}

std::optional<QJsonObject> JsonFile::parseObject(const QByteArray& json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    return document.object();
}

} // namespace kelmo
