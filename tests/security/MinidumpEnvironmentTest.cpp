// A minidump written by the full crash service (armed through
// ZpCrashReportStartup in a Qt host, not just the bare capture core) holds
// none of the process's environment, which may carry tokens and passwords.
#include "SecurityHostProcess.h"

#include <csignal>

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

QString randomMarker(const char* prefix)
{
    QString marker = QString::fromLatin1(prefix);
    static const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    for (int i = 0; i < 48; ++i)
        marker += QLatin1Char(kAlphabet[QRandomGenerator::global()->bounded(int(sizeof(kAlphabet) - 1))]);
    return marker;
}

} // namespace

TEST(MinidumpEnvironmentTest, TheDumpOfAStartedHostHoldsNoEnvironment)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString secret = randomMarker("ZpEnvSecret");
    // The same kind of marker on the command line, which the dump does copy:
    // it shows that the search finds what is there.
    const QString visible = randomMarker("ZpArgVisible");
    const SecurityHostRun crashed =
        runSecurityHost({QStringLiteral("crash"), dir.path(), QStringLiteral("segv"), visible},
                        {{QStringLiteral("ZP_SECURITY_SECRET_MARKER"), secret}});
    ASSERT_TRUE(crashed.diedBy(SIGSEGV)) << crashed.describe();

    const QString crashes = crashed.facts.value(QStringLiteral("crashes"));
    const QStringList dumps = QDir(crashes).entryList({QStringLiteral("*.dmp")}, QDir::Files);
    ASSERT_EQ(dumps.size(), 1) << crashed.describe();
    QFile file(QDir(crashes).filePath(dumps.constFirst()));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray dump = file.readAll();
    ASSERT_TRUE(dump.startsWith("MDMP"));

    EXPECT_TRUE(dump.contains(visible.toLatin1()));
    EXPECT_FALSE(dump.contains(secret.toLatin1()));
    EXPECT_FALSE(dump.contains(secret.mid(20, 16).toLatin1())) << "a part of the environment marker";
    EXPECT_FALSE(dump.contains("ZP_SECURITY_SECRET_MARKER"));
    // Nor a copy Qt might have made of it in UTF-16.
    const QString part = secret.mid(20, 16);
    EXPECT_FALSE(dump.contains(QByteArray(reinterpret_cast<const char*>(part.utf16()), int(part.size() * 2))));
}
