#include "platform/crash/CrashRecord.h"

#include <QRandomGenerator>

#include <gtest/gtest.h>

using namespace kelmo;

namespace {

const QByteArray complete = "version 0.0.1\n"
                            "build 0123abcd\n"
                            "system Some Linux 12\n"
                            "architecture x86_64\n"
                            "hang\n"
                            "lasted 000000006250\n"
                            "module 1000 2000 1000 - lib of blanks.so\n"
                            "frame 1004\n"
                            "end\n"
                            "crash\n"
                            "signal 11\n"
                            "code -6\n"
                            "address ffffffffffffff10\n"
                            "region 7f00 7fff r--p [stack]\n"
                            "module 3000 4000 2000 0123abcd kelmo-editor\n"
                            "frame 3abc\n"
                            "frame 7\n"
                            "end\n";

} // namespace

TEST(CrashRecord, parseCompleteFindsEverySection)
{
    const CrashRecord record = CrashRecord::parse(complete);
    EXPECT_EQ(record.version, QStringLiteral("0.0.1"));
    EXPECT_EQ(record.system, QStringLiteral("Some Linux 12"));
    ASSERT_EQ(record.hangs.size(), 1U);
    EXPECT_EQ(record.hangs[0].durationMs, 6250);
    EXPECT_EQ(record.hangs[0].modules.at(0).name, QStringLiteral("lib of blanks.so"));
    EXPECT_TRUE(record.hangs[0].modules.at(0).buildID.isEmpty());
    ASSERT_EQ(record.crashes.size(), 1U);
    const CrashRecord::Crash& crash = record.crashes[0];
    EXPECT_EQ(crash.signal, 11);
    EXPECT_EQ(crash.code, -6);
    EXPECT_EQ(crash.address, 0xffffffffffffff10U);
    EXPECT_EQ(crash.region->start, 0x7f00U);
    EXPECT_EQ(crash.region->name, QStringLiteral("[stack]"));
    EXPECT_EQ(crash.modules.at(0).base, 0x2000U);
    EXPECT_EQ(crash.frames, (std::vector<quint64>{0x3abc, 7}));
}

TEST(CrashRecord, parseCutShortKeepsWhatIsWhole)
{
    const qsizetype hangKnown = complete.indexOf("module");
    const qsizetype signalKnown = complete.indexOf("code");
    for (qsizetype size = 0; size <= complete.indexOf("frame 7\n") + 7; ++size) {
        const CrashRecord record = CrashRecord::parse(complete.left(size));
        EXPECT_EQ(record.hangs.size(), size >= hangKnown ? 1U : 0U) << size;
        ASSERT_EQ(record.crashes.size(), size >= signalKnown ? 1U : 0U) << size;
        if (!record.crashes.empty()) {
            EXPECT_LT(record.crashes[0].frames.size(), 2U) << size;
        }
    }
}

TEST(CrashRecord, parseGarbageFindsNothingAndDoesNoHarm)
{
    QRandomGenerator random(7);
    for (int round = 0; round < 300; ++round) {
        QByteArray noise(2000, Qt::Uninitialized);
        for (char& byte : noise)
            byte = static_cast<char>(random.bounded(256));
        EXPECT_TRUE(CrashRecord::parse(noise).crashes.empty());
        // Garbage between good lines must not hurt either.
        QByteArray damaged = complete;
        for (int i = 0; i < 12; ++i)
            damaged[random.bounded(static_cast<int>(damaged.size()))] = static_cast<char>(random.bounded(256));
        EXPECT_LE(CrashRecord::parse(damaged).crashes.size(), 2U);
    }
    EXPECT_TRUE(CrashRecord::parse("frame 12\nmodule\nregion 1 2\nend\ncrash\nend\nhang\nlasted x\n").crashes.empty());
}
