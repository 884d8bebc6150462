// The queue's storage: envelope, records, install id, permissions, and silence
// without a database. Sends go to a refusing address, so nothing is deleted.
#include "AppCenter/AppCenterQueue.h"

#include "LogCapture.h"
#include "StoreReader.h"

#include <leveldb/db.h>
#include <sys/stat.h>

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThreadPool>
#include <memory>
#include <gtest/gtest.h>

namespace {

class AppCenterQueueStore : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(mDir.isValid());
        qputenv("ZP_INGESTION_BASE_URL", refusingBaseUrl().toUtf8());
        mStorage = mDir.filePath(QStringLiteral("AppCenter"));
    }
    void TearDown() override
    {
        QThreadPool::globalInstance()->waitForDone();
        qunsetenv("ZP_INGESTION_BASE_URL");
    }
    // Lets running sends finish, so that the store can be read directly.
    static void settle() { QThreadPool::globalInstance()->waitForDone(); }

    QTemporaryDir mDir;
    QString mStorage;
};

mode_t modeOf(const QString& path)
{
    struct stat info {};
    ::stat(QFile::encodeName(path).constData(), &info);
    return info.st_mode & 0777;
}

QJsonObject parsed(const QByteArray& json)
{
    return QJsonDocument::fromJson(json).object();
}

const QRegularExpression kUuid(QStringLiteral("^[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}$"));

} // namespace

TEST_F(AppCenterQueueStore, StoresTheCompletedEnvelopeUnderTheLogId)
{
    {
        AppCenterQueue queue(QStringLiteral("secret"), mStorage);
        ASSERT_TRUE(queue.hasDatabase());
        QJsonObject log{{"type", "event"}, {"name", "Crop"}, {"device", "caller value"}, {"timestamp", "then"}};
        queue.enqueue(log, QString());
        const QString id = log.value(QStringLiteral("id")).toString();
        EXPECT_TRUE(kUuid.match(id).hasMatch()) << id.toStdString();
        EXPECT_TRUE(log.value(QStringLiteral("device")).isObject());
        EXPECT_NE(log.value(QStringLiteral("timestamp")).toString(), QStringLiteral("then"));
    }
    settle();
    const auto logs = StoreReader::logs(mStorage);
    ASSERT_EQ(logs.size(), 1);
    const QJsonObject stored = parsed(logs.first());
    EXPECT_EQ(logs.firstKey(), stored.value(QStringLiteral("id")).toString().toUtf8());
    EXPECT_FALSE(logs.first().contains('\n'));
    EXPECT_FALSE(logs.first().contains(' '));
    EXPECT_EQ(stored.value(QStringLiteral("name")).toString(), QStringLiteral("Crop"));
    EXPECT_FALSE(stored.value(QStringLiteral("device")).toObject().contains(QStringLiteral("wrapperSdkName")));
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z$"))
                    .match(stored.value(QStringLiteral("timestamp")).toString())
                    .hasMatch());
}

TEST_F(AppCenterQueueStore, KeepsACallersIdAndReplacesAPendingRecordWithTheSameId)
{
    const QString id = QStringLiteral("0b6e7f4c-1d2a-4c3b-8e9f-a0b1c2d3e4f5");
    {
        AppCenterQueue queue(QStringLiteral("secret"), mStorage);
        QJsonObject first{{"type", "event"}, {"name", "First"}, {"id", id}};
        queue.enqueue(first, QString());
        QJsonObject second{{"type", "event"}, {"name", "Second"}, {"id", id}};
        queue.enqueue(second, QStringLiteral("custom.ndk"));
        EXPECT_EQ(second.value(QStringLiteral("id")).toString(), id);
    }
    settle();
    const auto logs = StoreReader::logs(mStorage);
    ASSERT_EQ(logs.keys(), QList<QByteArray>{id.toUtf8()});
    const QJsonObject stored = parsed(logs.first());
    EXPECT_EQ(stored.value(QStringLiteral("name")).toString(), QStringLiteral("Second"));
    EXPECT_EQ(stored.value(QStringLiteral("device")).toObject().value(QStringLiteral("wrapperSdkName")).toString(),
              QStringLiteral("custom.ndk"));
}

TEST_F(AppCenterQueueStore, InstallIdIsStoredOnceAndSurvivesARestart)
{
    QString first;
    {
        AppCenterQueue queue(QStringLiteral("secret"), mStorage);
        first = queue.installId();
        EXPECT_TRUE(kUuid.match(first).hasMatch()) << first.toStdString();
    }
    settle();
    EXPECT_EQ(StoreReader::records(mStorage).value("install_id"), first.toUtf8());
    AppCenterQueue again(QStringLiteral("secret"), mStorage);
    EXPECT_EQ(again.installId(), first);
}

TEST_F(AppCenterQueueStore, DeletingTheStoreGivesANewInstallId)
{
    QString first;
    {
        AppCenterQueue queue(QStringLiteral("secret"), mStorage);
        first = queue.installId();
    }
    settle();
    ASSERT_TRUE(QDir(StoreReader::logsDirectory(mStorage)).removeRecursively());
    AppCenterQueue again(QStringLiteral("secret"), mStorage);
    EXPECT_TRUE(again.hasDatabase());
    EXPECT_FALSE(again.installId().isEmpty());
    EXPECT_NE(again.installId(), first);
}

TEST_F(AppCenterQueueStore, DirectoriesAndFilesAreUserOnly)
{
    ASSERT_EQ(::chmod(QFile::encodeName(mDir.path()).constData(), 0755), 0);
    {
        AppCenterQueue queue(QStringLiteral("secret"), mStorage);
        QJsonObject log{{"type", "event"}, {"name", "E"}};
        queue.enqueue(log, QString());
    }
    settle();
    EXPECT_EQ(modeOf(mStorage), mode_t(0700));
    const QString logsDir = StoreReader::logsDirectory(mStorage);
    EXPECT_EQ(modeOf(logsDir), mode_t(0700));
    const QStringList files = QDir(logsDir).entryList(QDir::Files);
    ASSERT_FALSE(files.isEmpty());
    for (const QString& name : files)
        EXPECT_EQ(modeOf(QDir(logsDir).filePath(name)), mode_t(0600)) << name.toStdString();
    // The parent the user already had is left alone.
    EXPECT_EQ(modeOf(mDir.path()), mode_t(0755));
}

TEST_F(AppCenterQueueStore, WithoutADatabaseNothingIsStoredOrLogged)
{
    ASSERT_TRUE(QDir().mkpath(StoreReader::logsDirectory(mStorage)));
    leveldb::DB* raw = nullptr;
    leveldb::Options options;
    options.create_if_missing = true;
    ASSERT_TRUE(leveldb::DB::Open(options, StoreReader::logsDirectory(mStorage).toStdString(), &raw).ok());
    std::unique_ptr<leveldb::DB> holder(raw); // holds the store's lock

    LogCapture capture;
    {
        AppCenterQueue queue(QStringLiteral("secret"), mStorage);
        EXPECT_FALSE(queue.hasDatabase());
        EXPECT_TRUE(queue.installId().isEmpty());
        QJsonObject log{{"type", "event"}, {"name", "Lost"}};
        queue.enqueue(log, QString());
        EXPECT_FALSE(log.contains(QStringLiteral("id")));
        EXPECT_FALSE(queue.isSending());
    }
    settle();
    EXPECT_TRUE(capture.messages().isEmpty()) << capture.messages().join('\n').toStdString();
    holder.reset();
    EXPECT_TRUE(StoreReader::records(mStorage).isEmpty());
}

TEST_F(AppCenterQueueStore, ASecondProcessOnTheSameStoreNeitherStoresNorCrashes)
{
    AppCenterQueue queue(QStringLiteral("secret"), mStorage);
    ASSERT_TRUE(queue.hasDatabase());

    QProcess probe;
    probe.start(QStringLiteral(ZP_APPCENTER_PROBE), {mStorage, QStringLiteral("3")});
    ASSERT_TRUE(probe.waitForFinished(60000));
    EXPECT_EQ(probe.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(probe.exitCode(), 0);
    EXPECT_EQ(probe.readAllStandardOutput().trimmed(), QByteArray("database=0 stored=0"));
}
