#include "tests/tools/MediaCommands.h"

#include <QProcess>

#include <gtest/gtest.h>

#include <cstring>

namespace kelmo::test {

namespace {

constexpr int kTimeoutMs = 120000;

} // namespace

QByteArray outputOf(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    EXPECT_TRUE(process.waitForFinished(kTimeoutMs)) << qPrintable(program + u' ' + arguments.join(u' '));
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
    return process.readAllStandardOutput();
}

QStringList probe(const QString& path, const QString& stream, const QString& entries)
{
    const QByteArray output = outputOf(QStringLiteral("ffprobe"),
        {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-select_streams"), stream,
            QStringLiteral("-show_entries"), entries, QStringLiteral("-of"), QStringLiteral("csv=p=0"), path});
    QStringList lines = QString::fromUtf8(output).split(u'\n', Qt::SkipEmptyParts);
    for (QString& line : lines) {
        while (line.endsWith(u',') || line.endsWith(u'\r'))
            line.chop(1);
    }
    return lines;
}

std::vector<QImage> pictures(const QString& path, int width, int height)
{
    const QByteArray raw = outputOf(QStringLiteral("ffmpeg"),
        {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-i"), path, QStringLiteral("-vsync"),
            QStringLiteral("passthrough"), QStringLiteral("-vf"), QStringLiteral("scale=%1:%2").arg(width).arg(height),
            QStringLiteral("-pix_fmt"), QStringLiteral("gray"), QStringLiteral("-f"), QStringLiteral("rawvideo"),
            QStringLiteral("-")});
    std::vector<QImage> result;
    const qsizetype size = static_cast<qsizetype>(width) * height;
    for (qsizetype offset = 0; offset + size <= raw.size(); offset += size) {
        const auto* bytes = reinterpret_cast<const uchar*>(raw.constData() + offset);
        result.push_back(QImage(bytes, width, height, width, QImage::Format_Grayscale8).copy());
    }
    return result;
}

std::vector<float> sound(const QString& path, const QString& stream)
{
    const QByteArray raw = outputOf(QStringLiteral("ffmpeg"),
        {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-i"), path, QStringLiteral("-map"),
            QStringLiteral("0:") + stream, QStringLiteral("-ac"), QStringLiteral("1"), QStringLiteral("-f"),
            QStringLiteral("f32le"), QStringLiteral("-")});
    std::vector<float> samples(static_cast<size_t>(raw.size()) / sizeof(float));
    std::memcpy(samples.data(), raw.constData(), samples.size() * sizeof(float));
    return samples;
}

} // namespace kelmo::test
