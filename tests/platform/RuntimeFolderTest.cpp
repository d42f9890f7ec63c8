#include "platform/RuntimeFolder.h"

#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace kelmo {

namespace {

constexpr char variable[] = "XDG_RUNTIME_DIR";

class RuntimeFolderTest : public testing::Test {
protected:
    RuntimeFolderTest()
    {
        qputenv("TMPDIR", m_temporary.path().toUtf8());
        qunsetenv(variable);
    }
    ~RuntimeFolderTest() override
    {
        qunsetenv("TMPDIR");
        m_wasSet ? qputenv(variable, m_before) : qunsetenv(variable);
    }

    const bool m_wasSet = qEnvironmentVariableIsSet(variable);
    const QByteArray m_before = qgetenv(variable);
    QTemporaryDir m_temporary;
};

} // namespace

TEST_F(RuntimeFolderTest, missingOneIsReplacedByAPrivateFolder)
{
    for (int start = 0; start < 2; ++start) {
        qunsetenv(variable);
        RuntimeFolder::ensure();
        const QFileInfo folder(qEnvironmentVariable(variable));
        EXPECT_TRUE(folder.isDir());
        EXPECT_EQ(folder.permissions() & QFile::Permissions(0x0077), QFile::Permissions());
    }
    qputenv(variable, "/what/the/login/says");
    RuntimeFolder::ensure();
    EXPECT_EQ(qgetenv(variable), "/what/the/login/says");
}

TEST_F(RuntimeFolderTest, folderThatOthersCanEnterIsNotTaken)
{
    RuntimeFolder::ensure();
    const QByteArray folder = qgetenv(variable);
    if (!folder.startsWith(m_temporary.path().toUtf8()))
        GTEST_SKIP() << "this login has a folder of its own";
    ASSERT_EQ(::chmod(folder.constData(), 0755), 0);
    qunsetenv(variable);
    RuntimeFolder::ensure();
    EXPECT_FALSE(qEnvironmentVariableIsSet(variable));
}

} // namespace kelmo
