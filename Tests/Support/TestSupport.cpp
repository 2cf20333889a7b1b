#include "TestSupport.h"

#include <QDir>
#include <QFile>

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace PavoTest {

QString outputDir()
{
    QString dir = qEnvironmentVariable("PAVO_TEST_OUTPUT_DIR");
    if (dir.isEmpty())
        dir = QDir::temp().filePath(QStringLiteral("pavo-test-output"));
    QDir().mkpath(dir);
    return dir;
}

QByteArray readFile(const QString& path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return f.readAll();
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    return f.write(bytes) == bytes.size();
}

StderrCapture::StderrCapture()
{
    std::fflush(stderr);
    char name[] = "/tmp/pavo-stderr-XXXXXX";
    m_captureFd = mkstemp(name);
    if (m_captureFd < 0)
        return;
    unlink(name);
    m_savedFd = dup(2);
    dup2(m_captureFd, 2);
}

StderrCapture::~StderrCapture()
{
    text();
}

QByteArray StderrCapture::text()
{
    if (m_done || m_captureFd < 0)
        return m_text;
    m_done = true;
    std::fflush(stderr);
    dup2(m_savedFd, 2);
    close(m_savedFd);
    off_t size = lseek(m_captureFd, 0, SEEK_END);
    m_text.resize(size);
    if (size > 0 && pread(m_captureFd, m_text.data(), size, 0) != size)
        m_text.clear();
    close(m_captureFd);
    return m_text;
}

} // namespace PavoTest
