#include "platform/crash/CrashSource.h"

#include "platform/crash/CrashRecord.h"
#include "platform/crash/Symbolizer.h"
#include "tests/support/DoomedProcess.h"
#include "tests/support/TemporaryHome.h"

#include <QDir>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <csignal>

using namespace kelmo;

namespace {

QString folder() { return QDir::homePath() + QLatin1String("/records"); }

QStringList recordsIn(const QString& place) { return QDir(place).entryList(QDir::Files); }

/// The functions on the stack of a section, innermost first, as far as they can be named.
QString functionsOf(const CrashRecord::Section& section)
{
    Symbolizer symbolizer;
    QStringList names;
    for (size_t i = 0; i < section.frames.size(); ++i) {
        const quint64 address = section.frames[i] - (i > 0 ? 1 : 0);
        for (const CrashRecord::Module& module : section.modules) {
            if (module.start <= address && address < module.end)
                names.append(symbolizer.function(module, address).value_or(module.name));
        }
    }
    return names.join(QLatin1Char('\n'));
}

struct CrashCase {
    const char* name;
    Doom::Kind kind;
    int signal;
    const char* function; ///< To be found on the stack.
};

void PrintTo(const CrashCase& value, std::ostream* out) { *out << value.name; }

class CrashSourceTest : public testing::TestWithParam<CrashCase> { };

} // namespace

// Not a test of its own: the others run it in another process.
TEST(CrashSourceProcess, DISABLED_meetsItsDoom)
{
    if (!Doom::isUponUs())
        GTEST_SKIP() << "started by the other tests";
    const CrashSource source(folder(), QStringLiteral("7.8.9"));
    Doom::meet();
}

TEST_P(CrashSourceTest, crashLeavesARecordAndEndsTheProcessByItsSignal)
{
    const CrashCase& expected = GetParam();
    if (Doom::leftToSanitizer(expected.kind))
        GTEST_SKIP() << "the sanitizer handles this signal and reports it in its own way";
    const TemporaryHome home;
    DoomedProcess process(QStringLiteral("CrashSourceProcess.*"), expected.kind);
    EXPECT_EQ(process.waitForSignal(), expected.signal);

    const std::optional<QByteArray> bytes = RecordFile::takeLeftBehind(folder());
    ASSERT_TRUE(bytes);
    EXPECT_FALSE(bytes->contains(QDir::homePath().toUtf8()));
    EXPECT_TRUE(recordsIn(folder()).isEmpty());
    const CrashRecord record = CrashRecord::parse(*bytes);
    EXPECT_EQ(record.version, QStringLiteral("7.8.9"));
    EXPECT_EQ(record.build.size(), 40) << record.build.toStdString();
    EXPECT_EQ(record.system, QSysInfo::prettyProductName());
    EXPECT_EQ(record.architecture, QSysInfo::currentCpuArchitecture());
    ASSERT_EQ(record.crashes.size(), 1U);
    EXPECT_TRUE(record.hangs.empty());
    const CrashRecord::Crash& crash = record.crashes[0];
    EXPECT_EQ(crash.signal, expected.signal);
    EXPECT_GE(crash.modules.size(), 5U);
    EXPECT_TRUE(functionsOf(crash).contains(QLatin1String(expected.function))) << functionsOf(crash).toStdString();
}

INSTANTIATE_TEST_SUITE_P(Kinds, CrashSourceTest,
    testing::Values(CrashCase{"nullWrite", Doom::Kind::NullWrite, SIGSEGV, "writeToNowhere"},
        CrashCase{"abort", Doom::Kind::Abort, SIGABRT, "Doom::meet"},
        CrashCase{"stackOverflow", Doom::Kind::StackOverflow, SIGSEGV, "descendForEver"},
        CrashCase{"nullCall", Doom::Kind::NullCall, SIGSEGV, "callNothing"},
        CrashCase{"threadWrite", Doom::Kind::ThreadWrite, SIGSEGV, "writeToNowhere"},
        CrashCase{"illegalInstruction", Doom::Kind::IllegalInstruction, SIGILL, "Doom::meet"},
        CrashCase{"division", Doom::Kind::Division, SIGFPE, "divide"},
        CrashCase{"trap", Doom::Kind::Trap, SIGTRAP, "Doom::meet"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(CrashSource, faultNamesTheAddressAndTheMemoryNextToIt)
{
    if (Doom::leftToSanitizer(Doom::Kind::NullWrite))
        GTEST_SKIP() << "the sanitizer handles this signal and reports it in its own way";
    const TemporaryHome home;
    for (const Doom::Kind kind : {Doom::Kind::NullWrite, Doom::Kind::StackOverflow}) {
        DoomedProcess process(QStringLiteral("CrashSourceProcess.*"), kind);
        EXPECT_EQ(process.waitForSignal(), SIGSEGV);
        const CrashRecord record = CrashRecord::parse(RecordFile::takeLeftBehind(folder()).value_or(QByteArray()));
        ASSERT_EQ(record.crashes.size(), 1U);
        const CrashRecord::Crash& crash = record.crashes[0];
        ASSERT_TRUE(crash.address && crash.region);
        EXPECT_GT(crash.region->start, *crash.address);
        if (kind == Doom::Kind::NullWrite) {
            EXPECT_EQ(*crash.address, 16U);
            EXPECT_EQ(crash.code, SEGV_MAPERR);
        } else {
            EXPECT_EQ(crash.region->name, QStringLiteral("[stack]"));
            EXPECT_GT(crash.frames.size(), 100U);
        }
    }
}

TEST(CrashSource, runWithoutTroubleLeavesNothingAndGivesTheSignalsBack)
{
    const TemporaryHome home;
    struct sigaction before { };
    ::sigaction(SIGABRT, nullptr, &before);
    {
        const CrashSource source(folder(), QStringLiteral("1"));
        ASSERT_EQ(recordsIn(folder()).size(), 1);
        const QFileInfo record(QDir(folder()).filePath(recordsIn(folder())[0]));
        EXPECT_EQ(record.permissions() & ~QFile::Permissions(0x6600), QFile::Permissions());
        EXPECT_FALSE(RecordFile::takeLeftBehind(folder())) << "a record still in use was taken";
        struct sigaction during { };
        ::sigaction(SIGABRT, nullptr, &during);
        EXPECT_NE(during.sa_handler, before.sa_handler);
    }
    EXPECT_TRUE(recordsIn(folder()).isEmpty());
    struct sigaction after { };
    ::sigaction(SIGABRT, nullptr, &after);
    EXPECT_EQ(after.sa_handler, before.sa_handler);
}

TEST(CrashSource, signalThatSomebodyHandlesStaysTheirs)
{
    const TemporaryHome home;
    const auto theirs = [](int) {};
    const auto before = std::signal(SIGTRAP, theirs);
    {
        const CrashSource source(folder(), QStringLiteral("1"));
        EXPECT_EQ(std::signal(SIGTRAP, theirs), static_cast<void (*)(int)>(theirs));
    }
    EXPECT_EQ(std::signal(SIGTRAP, before), static_cast<void (*)(int)>(theirs));
}

TEST(CrashSource, folderThatCannotBeWrittenDoesNoHarm)
{
    const TemporaryHome home;
    home.write(QStringLiteral("records"), "a file where a folder should be");
    DoomedProcess process(QStringLiteral("CrashSourceProcess.*"), Doom::Kind::Abort);
    EXPECT_EQ(process.waitForSignal(), SIGABRT);
    EXPECT_EQ(home.read(QStringLiteral("records")), "a file where a folder should be");
}
