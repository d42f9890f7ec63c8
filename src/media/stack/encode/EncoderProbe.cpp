#include "media/stack/encode/EncoderProbe.h"

#include "media/stack/encode/EncoderInput.h"
#include "media/stack/encode/EncoderTable.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>

#include <cstdio>
#include <map>
#include <mutex>

namespace kelmo {

namespace {

constexpr char probeSwitch[] = "--probe-encoder";
constexpr std::chrono::seconds patience{10};

// Set by the main function of a program that can be asked.
std::atomic<bool> programAnswers = false;

/// Drivers that open an encoder and then fail at the first frame are common, so hardware has to show a packet.
Result<void> proveHere(const EncoderChoice& choice, const VideoEncoding& encoding)
{
    Result<AvHandle<AVCodecContext>> context = openEncoder(choice, encoding);
    if (!context)
        return tl::unexpected(context.error());
    const QString name = QString::fromLatin1(choice.name);
    const VideoFrame black = FramePool(encoding.width, encoding.height).black(encoding.color);
    for (int i = 0; i < 3; ++i) {
        const AvHandle<AVFrame> input = encoderInput(black, **context);
        if (!input)
            return avFailure(AVERROR_EXTERNAL, QStringLiteral("Can’t hand a picture to"), name);
        input->pts = i * VideoEncoder::timeBase.den / encoding.fps;
        if (const int code = avcodec_send_frame(context->get(), input.get()); code < 0)
            return avFailure(code, QStringLiteral("Can’t encode with"), name);
    }
    avcodec_send_frame(context->get(), nullptr);
    const AvHandle<AVPacket> packet = makeAvPacket();
    if (const int code = avcodec_receive_packet(context->get(), packet.get()); code < 0)
        return avFailure(code, QStringLiteral("Can’t encode with"), name);
    return {};
}

QStringList argumentsFor(const EncoderChoice& choice, const VideoEncoding& encoding)
{
    QStringList arguments{QString::fromLatin1(probeSwitch), QString::fromLatin1(choice.name)};
    for (const qint64 value : {qint64(encoding.aim), qint64(encoding.width), qint64(encoding.height),
             qint64(encoding.fps), qint64(encoding.bitRate), qint64(encoding.color.primaries),
             qint64(encoding.color.transfer), qint64(encoding.color.matrix), qint64(encoding.color.fullRange)})
        arguments.append(QString::number(value));
    return arguments;
}

std::optional<EncoderChoice> choiceNamed(const QString& name)
{
    for (const VideoCodec codec : {VideoCodec::H264, VideoCodec::Hevc}) {
        for (const EncoderChoice& choice : encodersFor(codec)) {
            if (name == QLatin1String(choice.name))
                return choice;
        }
    }
    return {};
}

/// What `argumentsFor` made out of an encoding.
VideoEncoding encodingFrom(const QStringList& values, VideoCodec codec)
{
    VideoEncoding encoding;
    encoding.codec = codec;
    encoding.aim = VideoEncoding::Aim(values.value(0).toInt());
    encoding.width = values.value(1).toInt();
    encoding.height = values.value(2).toInt();
    encoding.fps = values.value(3).toInt();
    encoding.bitRate = values.value(4).toLongLong();
    encoding.color
        = {values.value(5).toInt(), values.value(6).toInt(), values.value(7).toInt(), values.value(8).toInt() != 0};
    return encoding;
}

/// Without a device there is no driver to be afraid of, and no need for the time that a second process takes.
bool hasDevice()
{
    return !QDir(QStringLiteral("/dev/dri")).isEmpty(QDir::System | QDir::Files)
        || QFile::exists(QStringLiteral("/dev/nvidiactl"));
}

tl::unexpected<Error> refusal(const EncoderChoice& choice, const QString& reason)
{
    return failure(QStringLiteral("Media"), AVERROR_EXTERNAL, QString::fromLatin1(choice.name) % reason);
}

} // namespace

std::optional<int> EncoderProbe::answer(int argc, char** argv)
{
    programAnswers = true;
    if (argc < 3 || qstrcmp(argv[1], probeSwitch) != 0)
        return {};
    QStringList values;
    for (int i = 3; i < argc; ++i)
        values.append(QString::fromLocal8Bit(argv[i]));
    const std::optional<EncoderChoice> choice = choiceNamed(QString::fromLocal8Bit(argv[2]));
    if (!choice)
        return 2;
    quietAvLog();
    const Result<void> proven = proveHere(*choice, encodingFrom(values, choice->codec));
    if (proven)
        return 0;
    std::fputs(userText(proven.error()).toUtf8().constData(), stdout);
    return 1;
}

Result<void> EncoderProbe::ask(const QString& program, const EncoderChoice& choice, const VideoEncoding& encoding,
    std::chrono::milliseconds within)
{
    QProcess process;
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(program, argumentsFor(choice, encoding), QIODevice::ReadOnly);
    if (!process.waitForFinished(static_cast<int>(within.count()))) {
        const bool started = process.error() != QProcess::FailedToStart;
        process.kill();
        process.waitForFinished();
        return started ? refusal(choice, QStringLiteral(" gave no answer in time"))
                       : refusal(choice, QStringLiteral(" can’t be tried: ") % process.errorString());
    }
    if (process.exitStatus() == QProcess::CrashExit)
        return refusal(choice, QStringLiteral(" crashes when it is tried"));
    if (process.exitCode() == 0)
        return {};
    const QString reason = QString::fromUtf8(process.readAllStandardOutput());
    return reason.isEmpty() ? refusal(choice, QStringLiteral(" failed when it was tried"))
                            : failure(QStringLiteral("Media"), AVERROR_EXTERNAL, reason);
}

Result<void> EncoderProbe::prove(const EncoderChoice& choice, const VideoEncoding& encoding)
{
    if (!programAnswers || !hasDevice())
        return proveHere(choice, encoding);
    static std::mutex mutex;
    static std::map<QStringList, Result<void>> answers;
    const std::lock_guard lock(mutex);
    const QStringList question = argumentsFor(choice, encoding);
    const auto known = answers.find(question);
    if (known != answers.end())
        return known->second;
    return answers.emplace(question, ask(QCoreApplication::applicationFilePath(), choice, encoding, patience))
        .first->second;
}

} // namespace kelmo
