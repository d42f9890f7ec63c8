#include "media/stack/encode/EncoderProbe.h"

#include "media/stack/encode/EncoderTable.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace kelmo;
using namespace std::chrono_literals;

namespace {

VideoEncoding smallEncoding()
{
    VideoEncoding encoding;
    encoding.codec = VideoCodec::H264;
    encoding.width = 320;
    encoding.height = 180;
    encoding.bitRate = 200'000;
    return encoding;
}

class EncoderProbeTest : public testing::Test {
protected:
    /// Asks a shell script about the first encoder there is.
    [[nodiscard]] Result<void> askScript(const QByteArray& script, std::chrono::milliseconds within = 30s) const
    {
        QFile program(m_folder.filePath(QStringLiteral("program")));
        EXPECT_TRUE(program.open(QIODevice::WriteOnly | QIODevice::Truncate));
        program.write("#!/bin/sh\n" + script + "\n");
        program.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        program.close();
        return EncoderProbe::ask(program.fileName(), encodersFor(VideoCodec::H264).front(), smallEncoding(), within);
    }

    QTemporaryDir m_folder;
};

} // namespace

TEST_F(EncoderProbeTest, askOfAProgramThatComesToGriefIsARefusal)
{
    EXPECT_TRUE(askScript("exit 0"));
    const struct {
        const char* script;
        const char* reason;
    } cases[] = {
        {"kill -SEGV $$", "h264_nvenc crashes when it is tried"},
        {"kill -ABRT $$", "h264_nvenc crashes when it is tried"},
        {"printf 'the driver says no'; exit 1", "the driver says no"},
        {"exit 2", "h264_nvenc failed when it was tried"},
    };
    for (const auto& [script, reason] : cases) {
        const Result<void> asked = askScript(script);
        ASSERT_FALSE(asked) << script;
        EXPECT_EQ(userText(asked.error()), QString::fromUtf8(reason)) << script;
    }
    const Result<void> missing
        = EncoderProbe::ask(QStringLiteral("/nowhere"), encodersFor(VideoCodec::H264).front(), smallEncoding(), 30s);
    ASSERT_FALSE(missing);
    EXPECT_TRUE(userText(missing.error()).startsWith(QStringLiteral("h264_nvenc can’t be tried: ")));
}

TEST_F(EncoderProbeTest, askOfAProgramThatHangsEndsInTime)
{
    QElapsedTimer timer;
    timer.start();
    const Result<void> asked = askScript("exec sleep 300", 300ms);
    ASSERT_FALSE(asked);
    EXPECT_EQ(userText(asked.error()), QStringLiteral("h264_nvenc gave no answer in time"));
    EXPECT_LT(timer.elapsed(), 60'000);
}
