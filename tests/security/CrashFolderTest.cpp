// Crash folders the crash service cannot use, and data folder paths too long
// for the crash-time core's fixed path storage (CrashCapture::kPathCapacity).
// The host keeps running after the start; a crash still ends the process by
// its own signal, and leaves either correct files or none, never a file at a
// cut-off path and never a dump without its record.
#include "SecurityHostProcess.h"

#include "CrashReport/CrashCapture.h"

#include <csignal>

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

// The part of a crash file's path after the data folder:
// "/AppCenter/crashes/<session uuid>.json".
constexpr int kJsonPathTail = 19 + 36 + 5;

class CrashFolderTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(mDir.isValid()); }

    SecurityHostRun crash(const QString& folder, const char* mode = "segv")
    {
        return runSecurityHost({QStringLiteral("crash"), folder, QString::fromLatin1(mode)});
    }

    // A folder below mDir whose path is exactly `length` characters long,
    // made of components short enough for any file system. Created only
    // when `create` (the kernel refuses paths from PATH_MAX on).
    QString folderOfLength(int length, bool create) const
    {
        QString path = mDir.path();
        int component = 0;
        while (path.size() < length) {
            const int room = length - int(path.size()) - 1;
            // Never leave a remainder too short for a component of its own.
            const int size = room > 200 ? std::min(100, room - 101) : room;
            path += QLatin1Char('/') + QString(std::max(size, 1), QChar(u'a' + (component++ % 26)));
        }
        if (create) {
            EXPECT_TRUE(QDir().mkpath(path)) << path.size();
        }
        return path;
    }

    QStringList crashFilesBelow(const QString& root) const
    {
        QStringList found;
        const QMap<QString, QByteArray> files = filesBelow(root);
        for (auto it = files.cbegin(); it != files.cend(); ++it) {
            if (it.key().endsWith(QLatin1String(".dmp")) || it.key().endsWith(QLatin1String(".json")))
                found << it.key();
        }
        return found;
    }

    QTemporaryDir mDir;
};

} // namespace

TEST_F(CrashFolderTest, CrashesPathThatIsARegularFile)
{
    ASSERT_TRUE(QDir().mkpath(mDir.filePath(QStringLiteral("AppCenter"))));
    const QString crashes = mDir.filePath(QStringLiteral("AppCenter/crashes"));
    QFile blocker(crashes);
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.write("not a folder");
    blocker.close();

    const SecurityHostRun calm = crash(mDir.path(), "none");
    EXPECT_TRUE(calm.endedNormally()) << calm.describe();

    const SecurityHostRun crashed = crash(mDir.path());
    // The start came back (the host printed its report) and the crash still
    // ended the process by its own signal.
    EXPECT_EQ(crashed.facts.value(QStringLiteral("crashes")), crashes) << crashed.describe();
    EXPECT_TRUE(crashed.diedBy(SIGSEGV)) << crashed.describe();
    EXPECT_TRUE(crashFilesBelow(mDir.path()).isEmpty()) << crashFilesBelow(mDir.path()).join(' ').toStdString();
    QFile kept(crashes);
    ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
    EXPECT_EQ(kept.readAll(), QByteArray("not a folder"));
}

TEST_F(CrashFolderTest, FolderFarBeyondThePathCapacity)
{
    // Made as deep as the kernel allows, so that a path cut off at the
    // capacity would name a folder that exists and the file would show.
    const QString existing = folderOfLength(int(CrashCapture::kPathCapacity) - 120, true);
    const QString folder = existing + QLatin1Char('/') + QString(5000 - int(existing.size()) - 1, QLatin1Char('z'))
                               .replace(200, 1, QLatin1Char('/')).replace(400, 1, QLatin1Char('/'));
    ASSERT_GE(folder.size(), 5000 - 1);

    const SecurityHostRun crashed = crash(folder);
    EXPECT_TRUE(crashed.facts.contains(QStringLiteral("crashes"))) << crashed.describe();
    EXPECT_TRUE(crashed.diedBy(SIGSEGV)) << crashed.describe();
    // Not a file of any name: a path cut off at the capacity would not end
    // with ".dmp" or ".json".
    EXPECT_TRUE(filesBelow(mDir.path()).isEmpty()) << filesBelow(mDir.path()).keys().join(' ').toStdString();
}

TEST_F(CrashFolderTest, FolderWhoseCrashRecordPathJustFits)
{
    // The record's path is one character longer than the dump's: this is the
    // longest folder for which both fit, terminating NUL included.
    const QString folder = folderOfLength(int(CrashCapture::kPathCapacity) - 1 - kJsonPathTail, true);
    const SecurityHostRun crashed = crash(folder);
    ASSERT_TRUE(crashed.diedBy(SIGSEGV)) << crashed.describe();
    const QString jsonPath = crashed.facts.value(QStringLiteral("json"));
    ASSERT_EQ(jsonPath.size(), int(CrashCapture::kPathCapacity) - 1);

    QFile json(jsonPath);
    ASSERT_TRUE(json.open(QIODevice::ReadOnly));
    const QJsonObject record = QJsonDocument::fromJson(json.readAll()).object();
    EXPECT_EQ(record.value(QStringLiteral("type")).toString(), QStringLiteral("managedError"));
    EXPECT_EQ(record.value(QStringLiteral("userId")).toString(), QStringLiteral("security-user"));
    QFile dump(jsonPath.chopped(5) + QStringLiteral(".dmp"));
    ASSERT_TRUE(dump.open(QIODevice::ReadOnly));
    EXPECT_TRUE(dump.read(4) == "MDMP");
}

TEST_F(CrashFolderTest, FolderOneCharacterTooLongForTheRecordLeavesNoLoneDump)
{
    // The dump's path still fits here, the record's does not. A dump without
    // its record would never be sent (reports are found by their records)
    // nor deleted: process memory left on disk for good.
    const QString folder = folderOfLength(int(CrashCapture::kPathCapacity) - kJsonPathTail, true);
    const SecurityHostRun crashed = crash(folder);
    ASSERT_TRUE(crashed.diedBy(SIGSEGV)) << crashed.describe();
    ASSERT_EQ(crashed.facts.value(QStringLiteral("json")).size(), int(CrashCapture::kPathCapacity));
    EXPECT_TRUE(crashFilesBelow(mDir.path()).isEmpty()) << crashFilesBelow(mDir.path()).join(' ').toStdString();
}
