#include "tests/media/ExportedMovie.h"

#include "tools/moviemaker/FrameCode.h"

#include <QProcess>

#include <gtest/gtest.h>

#include <cstring>

namespace kelmo {

ExportedMovie::ExportedMovie(const QString& path)
    : m_path(path)
{
}

QByteArray ExportedMovie::run(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, QStringList{QStringLiteral("-v"), QStringLiteral("error")} + arguments);
    process.waitForFinished(120'000);
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().constData();
    return process.readAllStandardOutput();
}

QString ExportedMovie::probe(const QString& stream, const QString& entries) const
{
    return QString::fromUtf8(run(QStringLiteral("ffprobe"),
        {QStringLiteral("-select_streams"), stream, QStringLiteral("-show_entries"), entries, QStringLiteral("-of"),
            QStringLiteral("default=nw=1"), m_path}));
}

QString ExportedMovie::probeBareVideo(const QString& entries) const
{
    const QString codec
        = probe(QStringLiteral("v"), QStringLiteral("stream=codec_name")).section(QLatin1Char('='), 1).trimmed();
    const QString bare = m_path % QStringLiteral(".") % codec;
    run(QStringLiteral("ffmpeg"),
        {QStringLiteral("-y"), QStringLiteral("-i"), m_path, QStringLiteral("-c:v"), QStringLiteral("copy"),
            QStringLiteral("-bsf:v"), codec % QStringLiteral("_mp4toannexb"), QStringLiteral("-an"),
            QStringLiteral("-f"), codec, bare});
    return ExportedMovie(bare).probe(QStringLiteral("v"), entries);
}

double ExportedMovie::durationMs() const
{
    return probe(QStringLiteral("v"), QStringLiteral("format=duration")).section(QLatin1Char('='), 1).toDouble() * 1000;
}

std::vector<ExportedMovie::Picture> ExportedMovie::pictures() const
{
    const QString size = probe(QStringLiteral("v"), QStringLiteral("stream=width,height"));
    const int width = size.section(QLatin1Char('='), 1, 1).section(QLatin1Char('\n'), 0, 0).toInt();
    const int height = size.section(QLatin1Char('='), 2, 2).section(QLatin1Char('\n'), 0, 0).toInt();
    const QStringList times
        = probe(QStringLiteral("v"), QStringLiteral("frame=pts_time")).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    const QByteArray luma = run(QStringLiteral("ffmpeg"),
        {QStringLiteral("-i"), m_path, QStringLiteral("-map"), QStringLiteral("0:v"), QStringLiteral("-vsync"),
            QStringLiteral("passthrough"), QStringLiteral("-vf"), QStringLiteral("extractplanes=y"),
            QStringLiteral("-f"), QStringLiteral("rawvideo"), QStringLiteral("-")});
    std::vector<Picture> found;
    for (int i = 0; i < times.size(); ++i) {
        const qsizetype at = qsizetype(i) * width * height;
        if (at + width * height > luma.size())
            break;
        const auto* plane = reinterpret_cast<const uint8_t*>(luma.constData()) + at;
        found.push_back(
            {times[i].section(QLatin1Char('='), 1).toDouble() * 1000, readFrameCode(plane, width, width, height)});
    }
    EXPECT_EQ(found.size(), size_t(times.size()));
    return found;
}

std::vector<float> ExportedMovie::sound() const
{
    const QByteArray bytes = run(QStringLiteral("ffmpeg"),
        {QStringLiteral("-i"), m_path, QStringLiteral("-map"), QStringLiteral("0:a"), QStringLiteral("-af"),
            QStringLiteral("pan=mono|c0=c0"), QStringLiteral("-f"), QStringLiteral("f32le"), QStringLiteral("-")});
    std::vector<float> sound(size_t(bytes.size()) / sizeof(float));
    std::memcpy(sound.data(), bytes.constData(), sound.size() * sizeof(float));
    return sound;
}

std::vector<double> ExportedMovie::keyTimesMs() const
{
    const QStringList lines = QString::fromUtf8(
        run(QStringLiteral("ffprobe"),
            {QStringLiteral("-select_streams"), QStringLiteral("v"), QStringLiteral("-skip_frame"),
                QStringLiteral("nokey"), QStringLiteral("-show_entries"), QStringLiteral("frame=pts_time"),
                QStringLiteral("-of"), QStringLiteral("csv=p=0"), m_path}))
                                  .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    std::vector<double> times;
    for (const QString& line : lines)
        times.push_back(line.section(QLatin1Char(','), 0, 0).toDouble() * 1000);
    return times;
}

QImage ExportedMovie::pictureAt(int index) const
{
    const QByteArray png = run(QStringLiteral("ffmpeg"),
        {QStringLiteral("-i"), m_path, QStringLiteral("-vf"),
            QStringLiteral("select=eq(n\\,%1),scale=flags=accurate_rnd+full_chroma_int+full_chroma_inp").arg(index),
            QStringLiteral("-frames:v"), QStringLiteral("1"), QStringLiteral("-pix_fmt"), QStringLiteral("rgb24"),
            QStringLiteral("-f"), QStringLiteral("image2pipe"), QStringLiteral("-c:v"), QStringLiteral("png"),
            QStringLiteral("-")});
    return QImage::fromData(png, "PNG");
}

} // namespace kelmo
