#include "tests/support/TemporaryHome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

namespace kelmo {

TemporaryHome::TemporaryHome()
    : m_before(qgetenv("HOME"))
    , m_wasSet(qEnvironmentVariableIsSet("HOME"))
{
    EXPECT_TRUE(m_folder.isValid());
    qputenv("HOME", QFile::encodeName(m_folder.path()));
}

TemporaryHome::~TemporaryHome()
{
    if (m_wasSet)
        qputenv("HOME", m_before);
    else
        qunsetenv("HOME");
}

QString TemporaryHome::path() const { return m_folder.path(); }

QString TemporaryHome::file(const QString& relativePath) const
{
    const QString path = m_folder.filePath(relativePath);
    QDir().mkpath(QFileInfo(path).absolutePath());
    return path;
}

QString TemporaryHome::write(const QString& relativePath, const QByteArray& bytes) const
{
    QFile target(file(relativePath));
    EXPECT_TRUE(target.open(QIODevice::WriteOnly)) << target.fileName().toStdString();
    target.write(bytes);
    return target.fileName();
}

QByteArray TemporaryHome::read(const QString& relativePath) const
{
    QFile source(m_folder.filePath(relativePath));
    return source.open(QIODevice::ReadOnly) ? source.readAll() : QByteArray();
}

} // namespace kelmo
