// A store the queue cannot use: garbage in leveldb's files, or a folder that
// cannot be written. The host must start, track and end as usual; the queue
// then runs without a database (it opens with paranoid checks, so corruption
// fails the open rather than being repaired or half read) and delivers
// nothing, and the damaged files are left as they were for a later repair.
//
// Every run is a child process (security_host): a crash in leveldb or in the
// product would otherwise end this test program.
#include "SecurityHostProcess.h"

#include "IngestProcess.h"
#include "StoreReader.h"

#include <leveldb/db.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

class BadStoreTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(mDir.isValid());
        ASSERT_TRUE(mIngest.ok()) << mIngest.error().toStdString();
    }

    QString logsDirectory() const { return StoreReader::logsDirectory(mDir.filePath(QStringLiteral("AppCenter"))); }

    // A run of the host that tracks `events` features on mDir, sending to mIngest.
    SecurityHostRun track(int events = 3)
    {
        return runSecurityHost({QStringLiteral("analytics"), mDir.path(), QString::number(events), QStringLiteral("16")},
                               {}, mIngest.baseUrl());
    }

    // Leaves a healthy store with pending events that no receiver took: the
    // runs send to an address that refuses. A second run turns the first
    // run's write-ahead log into a table file.
    void leavePendingEvents()
    {
        for (int run = 0; run < 2; ++run) {
            const SecurityHostRun filled =
                runSecurityHost({QStringLiteral("analytics"), mDir.path(), QStringLiteral("20"), QStringLiteral("64")});
            ASSERT_TRUE(filled.endedNormally()) << filled.describe();
            ASSERT_EQ(filled.facts.value(QStringLiteral("database")), QStringLiteral("1"));
        }
        ASSERT_FALSE(StoreReader::logs(mDir.filePath(QStringLiteral("AppCenter"))).isEmpty());
    }

    QString firstFile(const QString& pattern) const
    {
        const QStringList names = QDir(logsDirectory()).entryList({pattern}, QDir::Files, QDir::Name);
        return names.isEmpty() ? QString() : QDir(logsDirectory()).filePath(names.constFirst());
    }

    // The store's data files; leveldb's own diagnostic log and lock file change
    // with every open and are left out.
    QMap<QString, QByteArray> dataFiles() const
    {
        QMap<QString, QByteArray> files = filesBelow(logsDirectory());
        files.remove(QStringLiteral("LOG"));
        files.remove(QStringLiteral("LOG.old"));
        files.remove(QStringLiteral("LOCK"));
        return files;
    }

    static bool overwrite(const QString& path, qint64 offset, const QByteArray& bytes)
    {
        QFile file(path);
        return file.open(QIODevice::ReadWrite) && file.seek(offset) && file.write(bytes) == bytes.size();
    }

    static QByteArray randomBytes(int count)
    {
        QByteArray bytes(count, '\0');
        for (char& byte : bytes)
            byte = char(QRandomGenerator::global()->bounded(256));
        return bytes;
    }

    // What every damaged store must give: a host that starts, tracks and ends
    // normally, with a queue but without a database, nothing delivered, and
    // the damaged files untouched.
    void expectRunWithoutDatabase()
    {
        const QMap<QString, QByteArray> before = dataFiles();
        const SecurityHostRun run = track();
        ASSERT_TRUE(run.endedNormally()) << run.describe();
        EXPECT_EQ(run.facts.value(QStringLiteral("queue")), QStringLiteral("1")) << run.describe();
        EXPECT_EQ(run.facts.value(QStringLiteral("database")), QStringLiteral("0")) << run.describe();
        EXPECT_TRUE(mIngest.requests().isEmpty());
        EXPECT_EQ(dataFiles(), before);
    }

    QTemporaryDir mDir;
    IngestProcess mIngest;
};

} // namespace

TEST_F(BadStoreTest, AHealthyStoreDeliversWhatEarlierRunsLeft)
{
    // The same steps as the damaged cases without the damage: delivery works,
    // so the absence of requests below is the damage's doing.
    leavePendingEvents();
    const SecurityHostRun run = track();
    ASSERT_TRUE(run.endedNormally()) << run.describe();
    EXPECT_EQ(run.facts.value(QStringLiteral("database")), QStringLiteral("1"));
    EXPECT_FALSE(mIngest.logs().isEmpty());
}

TEST_F(BadStoreTest, CurrentNamingAMissingManifest)
{
    leavePendingEvents();
    QFile current(QDir(logsDirectory()).filePath(QStringLiteral("CURRENT")));
    ASSERT_TRUE(current.open(QIODevice::WriteOnly | QIODevice::Truncate));
    current.write("MANIFEST-999999\n");
    current.close();
    expectRunWithoutDatabase();
}

TEST_F(BadStoreTest, CurrentFullOfGarbage)
{
    leavePendingEvents();
    QFile current(QDir(logsDirectory()).filePath(QStringLiteral("CURRENT")));
    ASSERT_TRUE(current.open(QIODevice::WriteOnly | QIODevice::Truncate));
    current.write(randomBytes(300));
    current.close();
    expectRunWithoutDatabase();
}

TEST_F(BadStoreTest, TruncatedManifest)
{
    leavePendingEvents();
    const QString manifest = firstFile(QStringLiteral("MANIFEST-*"));
    ASSERT_FALSE(manifest.isEmpty());
    QFile file(manifest);
    ASSERT_GT(file.size(), 8);
    ASSERT_TRUE(file.resize(file.size() / 2));
    expectRunWithoutDatabase();
}

TEST_F(BadStoreTest, RandomBytesInTheWriteAheadLog)
{
    leavePendingEvents();
    // Reading the store above moved its log into a table: one more run
    // leaves its events in the write-ahead log (it ends without a flush).
    const SecurityHostRun unsent =
        runSecurityHost({QStringLiteral("analytics"), mDir.path(), QStringLiteral("20"), QStringLiteral("64")});
    ASSERT_TRUE(unsent.endedNormally()) << unsent.describe();
    const QString log = firstFile(QStringLiteral("*.log"));
    ASSERT_FALSE(log.isEmpty());
    ASSERT_GT(QFile(log).size(), 200);
    ASSERT_TRUE(overwrite(log, 100, randomBytes(64)));
    expectRunWithoutDatabase();
}

TEST_F(BadStoreTest, RandomBytesInATableFile)
{
    leavePendingEvents();
    const QString table = firstFile(QStringLiteral("*.ldb"));
    ASSERT_FALSE(table.isEmpty()) << "no table file to damage";
    ASSERT_GT(QFile(table).size(), 200);
    // A table is read only when its records are: the open succeeds. The send
    // task's reading skips the records of a damaged block (leveldb's iterator
    // steps over blocks it cannot read) and delivers the intact ones; the
    // damaged ones stay where they are.
    const int pending = StoreReader::logs(mDir.filePath(QStringLiteral("AppCenter"))).size();
    ASSERT_TRUE(overwrite(table, 20, randomBytes(120)));
    const SecurityHostRun run = track();
    ASSERT_TRUE(run.endedNormally()) << run.describe();
    EXPECT_EQ(run.facts.value(QStringLiteral("database")), QStringLiteral("1"));
    for (const IngestProcess::Request& request : mIngest.requests())
        EXPECT_EQ(request.status, 200) << request.reason.toStdString();
    const QList<QJsonObject> delivered = mIngest.logs();
    for (const QJsonObject& log : delivered) {
        EXPECT_FALSE(log.value(QStringLiteral("id")).toString().isEmpty());
        EXPECT_FALSE(log.value(QStringLiteral("type")).toString().isEmpty());
    }
    EXPECT_GT(delivered.size(), 0);
    EXPECT_LE(delivered.size(), pending + 5); // + this run's start, System and three events
}

TEST_F(BadStoreTest, DataFolderThatCannotBeWritten)
{
    if (::geteuid() == 0)
        GTEST_SKIP() << "permissions do not stop the superuser";
    ASSERT_TRUE(QFile::setPermissions(mDir.path(), QFile::ReadOwner | QFile::ExeOwner));
    const SecurityHostRun run = track();
    QFile::setPermissions(mDir.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    ASSERT_TRUE(run.endedNormally()) << run.describe();
    EXPECT_EQ(run.facts.value(QStringLiteral("database")), QStringLiteral("0"));
    EXPECT_TRUE(mIngest.requests().isEmpty());
    EXPECT_TRUE(QDir(mDir.path()).isEmpty());
}

TEST_F(BadStoreTest, DataFolderBelowARegularFile)
{
    // Cannot be made by anyone, the superuser included (ENOTDIR).
    QFile blocker(mDir.filePath(QStringLiteral("blocker")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    const SecurityHostRun run = runSecurityHost(
        {QStringLiteral("analytics"), mDir.filePath(QStringLiteral("blocker/data")), QStringLiteral("3"), QStringLiteral("16")},
        {}, mIngest.baseUrl());
    ASSERT_TRUE(run.endedNormally()) << run.describe();
    EXPECT_EQ(run.facts.value(QStringLiteral("queue")), QStringLiteral("1"));
    EXPECT_EQ(run.facts.value(QStringLiteral("database")), QStringLiteral("0"));
    EXPECT_TRUE(mIngest.requests().isEmpty());
    EXPECT_EQ(QDir(mDir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList{"blocker"});
}

TEST_F(BadStoreTest, LogsPathThatIsARegularFile)
{
    ASSERT_TRUE(QDir().mkpath(mDir.filePath(QStringLiteral("AppCenter"))));
    QFile logs(logsDirectory());
    ASSERT_TRUE(logs.open(QIODevice::WriteOnly));
    logs.write("not a store");
    logs.close();
    const SecurityHostRun run = track();
    ASSERT_TRUE(run.endedNormally()) << run.describe();
    EXPECT_EQ(run.facts.value(QStringLiteral("database")), QStringLiteral("0"));
    EXPECT_TRUE(mIngest.requests().isEmpty());
    QFile kept(logsDirectory());
    ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
    EXPECT_EQ(kept.readAll(), QByteArray("not a store"));
}
