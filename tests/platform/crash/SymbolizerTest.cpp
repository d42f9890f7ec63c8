#include "platform/crash/Symbolizer.h"

#include "platform/crash/ModuleReader.h"
#include "tests/support/TemporaryHome.h"

#include <QCoreApplication>
#include <QFile>
#include <QRandomGenerator>

#include <gtest/gtest.h>

#include <cstdlib>

using namespace kelmo;

namespace kelmo::symbolizing {

[[gnu::noinline]] int landmark(int value) { return value * 3 + 1; }

} // namespace kelmo::symbolizing

namespace {

CrashRecord::Module moduleAt(quint64 address)
{
    ModuleReader modules;
    LoadedModule module;
    while (modules.next(module)) {
        if (module.start <= address && address < module.end) {
            return {module.start, module.end, module.base,
                QByteArray(module.buildID.data(), static_cast<qsizetype>(module.buildID.size())),
                QString::fromUtf8(module.name.data(), static_cast<qsizetype>(module.name.size()))};
        }
    }
    return {};
}

} // namespace

TEST(Symbolizer, functionIsFoundInThisProgramAndInAStrippedLibrary)
{
    Symbolizer symbolizer;
    const auto own = reinterpret_cast<quint64>(&symbolizing::landmark);
    EXPECT_EQ(moduleAt(own).name, QFileInfo(QCoreApplication::applicationFilePath()).fileName());
    EXPECT_EQ(symbolizer.function(moduleAt(own), own), QStringLiteral("kelmo::symbolizing::landmark(int) + 0"));
    EXPECT_EQ(symbolizer.function(moduleAt(own), own + 1), QStringLiteral("kelmo::symbolizing::landmark(int) + 1"));

    const auto library = reinterpret_cast<quint64>(&::qputenv);
    EXPECT_TRUE(moduleAt(library).name.contains(QLatin1String("Qt6Core")));
    const QString name = symbolizer.function(moduleAt(library), library).value_or(QString());
    EXPECT_TRUE(name.startsWith(QLatin1String("qputenv("))) << name.toStdString();

    // Another build of the same file has its functions elsewhere.
    CrashRecord::Module other = moduleAt(own);
    other.buildID = "0123456789";
    EXPECT_FALSE(symbolizer.function(other, own));
    // Before the first function, and far behind the last.
    EXPECT_FALSE(symbolizer.function(moduleAt(own), moduleAt(own).base));
    EXPECT_FALSE(symbolizer.function(moduleAt(own), moduleAt(own).base + (quint64(1) << 40)));
}

TEST(ElfSymbols, damagedFilesAreReadWithoutHarm)
{
    const TemporaryHome home;
    QFile program(QCoreApplication::applicationFilePath());
    ASSERT_TRUE(program.open(QIODevice::ReadOnly));
    QByteArray bytes = program.readAll();
    for (const qsizetype size : {qsizetype(0), qsizetype(10), qsizetype(64), qsizetype(4096), bytes.size() / 2}) {
        const QString path = home.write(QStringLiteral("program"), bytes.left(size));
        EXPECT_FALSE(ElfSymbols::read(path).find(bytes.size() / 3)) << size;
    }
    // The header is what leads everywhere else.
    QRandomGenerator random(3);
    for (int round = 0; round < 40; ++round) {
        QByteArray damaged = bytes;
        for (int i = 0; i < 3; ++i)
            damaged[random.bounded(32, 64)] = static_cast<char>(random.bounded(256));
        const ElfSymbols symbols = ElfSymbols::read(home.write(QStringLiteral("program"), damaged));
        for (quint64 place = 0; place < 1 << 20; place += 4099)
            static_cast<void>(symbols.find(place));
    }
    EXPECT_FALSE(ElfSymbols::read(QStringLiteral("/nowhere")).find(0));
}
