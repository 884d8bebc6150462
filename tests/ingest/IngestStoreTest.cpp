#include "IngestTestSupport.h"

#include <ZpIngest/IngestStore.h>

#include <QFileInfo>
#include <QJsonObject>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QVariant>

#include <gtest/gtest.h>

using namespace ingest_test;

namespace {

IngestStore::RequestRecord requestRecord(int status, int logCount, const QString& reason = QString())
{
    IngestStore::RequestRecord request;
    request.receivedAt = QStringLiteral("2024-05-01T10:20:31.000Z");
    request.status = status;
    request.bodyBytes = 1234;
    request.logCount = logCount;
    request.reason = reason;
    return request;
}

LogValidator::Result acceptedBatch(const QList<QJsonObject>& logs)
{
    const LogValidator::Result result = LogValidator::validate(headers(), body(logs));
    EXPECT_TRUE(result.ok) << result.reason.toStdString();
    return result;
}

// Runs `sql` on the file through a connection of its own and returns the first
// column of the first row.
QVariant scalar(const QString& path, const QString& sql)
{
    QVariant value;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("probe"));
        database.setDatabaseName(path);
        EXPECT_TRUE(database.open());
        QSqlQuery query(database);
        EXPECT_TRUE(query.exec(sql)) << sql.toStdString();
        if (query.next())
            value = query.value(0);
    }
    QSqlDatabase::removeDatabase(QStringLiteral("probe"));
    return value;
}

class ZpIngestStore : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(mDirectory.isValid()); }
    QString path() const { return mDirectory.filePath(QStringLiteral("ingest.db")); }

    QTemporaryDir mDirectory;
};

} // namespace

TEST_F(ZpIngestStore, OpenCreatesAUserOnlyFileWithBothTables)
{
    IngestStore store(path());
    ASSERT_TRUE(store.open()) << store.errorString().toStdString();
    EXPECT_TRUE(store.isOpen());
    EXPECT_EQ(store.path(), path());
    const QFileDevice::Permissions permissions = QFileInfo(path()).permissions();
    EXPECT_TRUE(permissions.testFlag(QFileDevice::ReadOwner) && permissions.testFlag(QFileDevice::WriteOwner));
    EXPECT_FALSE(permissions
                 & (QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ExeGroup | QFileDevice::ReadOther
                    | QFileDevice::WriteOther | QFileDevice::ExeOther));
    store.close();
    EXPECT_FALSE(store.isOpen());
    EXPECT_EQ(scalar(path(), "SELECT count(*) FROM sqlite_master WHERE type = 'table' AND name IN ('logs', 'requests')")
                  .toInt(),
              2);
}

TEST_F(ZpIngestStore, StoresEveryLogOfABatchWithItsRequest)
{
    IngestStore store(path());
    ASSERT_TRUE(store.open());
    const LogValidator::Result batch = acceptedBatch(oneOfEachType());
    ASSERT_TRUE(store.storeAccepted(requestRecord(200, 5), batch)) << store.errorString().toStdString();

    const QList<IngestStore::StoredLog> logs = store.logs();
    ASSERT_EQ(logs.size(), 5);
    for (qsizetype i = 0; i < logs.size(); ++i) {
        EXPECT_EQ(logs.at(i).type, batch.logs.at(i).type);
        EXPECT_EQ(logs.at(i).logId, batch.logs.at(i).id);
        EXPECT_EQ(logs.at(i).json, batch.logs.at(i).json);
        EXPECT_EQ(logs.at(i).appSecretSha256, batch.appSecretSha256);
        EXPECT_EQ(logs.at(i).installId, QString::fromLatin1(kInstallId));
        EXPECT_EQ(logs.at(i).receivedAt, QStringLiteral("2024-05-01T10:20:31.000Z"));
        if (i > 0) {
            EXPECT_GT(logs.at(i).seq, logs.at(i - 1).seq);
        }
    }
    EXPECT_EQ(logs.at(2).name, QStringLiteral("FeatureUsed"));

    const QList<IngestStore::RequestRecord> requests = store.requests();
    ASSERT_EQ(requests.size(), 1);
    EXPECT_EQ(requests.at(0).status, 200);
    EXPECT_EQ(requests.at(0).logCount, 5);
    EXPECT_EQ(requests.at(0).bodyBytes, 1234);
    EXPECT_TRUE(requests.at(0).reason.isEmpty());
    store.close();

    // Only events have a name; the others hold SQL NULL, not an empty string.
    EXPECT_EQ(scalar(path(), "SELECT count(*) FROM logs WHERE name IS NULL").toInt(), 4);
    EXPECT_EQ(scalar(path(), "SELECT count(*) FROM requests WHERE reason IS NULL").toInt(), 1);
}

TEST_F(ZpIngestStore, SameIdTwiceIsStoredTwice)
{
    IngestStore store(path());
    ASSERT_TRUE(store.open());
    const LogValidator::Result batch = acceptedBatch({eventLog()});
    ASSERT_TRUE(store.storeAccepted(requestRecord(200, 1), batch));
    ASSERT_TRUE(store.storeAccepted(requestRecord(200, 1), batch));
    EXPECT_EQ(store.logs().size(), 2);
}

TEST_F(ZpIngestStore, ABatchThatCannotBeStoredWholeLeavesNothing)
{
    {
        IngestStore store(path());
        ASSERT_TRUE(store.open());
    }
    // A trigger makes the third insert fail, after two have gone in.
    const QString poisoned = QStringLiteral("00000000-0000-4000-8000-0000000000ff");
    scalar(path(), QStringLiteral("CREATE TRIGGER refuse BEFORE INSERT ON logs WHEN NEW.log_id = '%1' "
                                  "BEGIN SELECT RAISE(ABORT, 'refused'); END")
                       .arg(poisoned));
    IngestStore store(path());
    ASSERT_TRUE(store.open());
    const LogValidator::Result batch =
        acceptedBatch({startServiceLog(), startSessionLog(), eventLog(QStringLiteral("Open"), poisoned)});
    EXPECT_FALSE(store.storeAccepted(requestRecord(200, 3), batch));
    EXPECT_TRUE(store.errorString().contains(QStringLiteral("refused"))) << store.errorString().toStdString();
    EXPECT_TRUE(store.logs().isEmpty());
    EXPECT_TRUE(store.requests().isEmpty());
}

TEST_F(ZpIngestStore, RecordsRefusedRequestsWithTheirReason)
{
    IngestStore store(path());
    ASSERT_TRUE(store.open());
    ASSERT_TRUE(store.recordRequest(requestRecord(400, 0, QStringLiteral("log 0: \"id\" is missing"))));
    ASSERT_TRUE(store.recordRequest(requestRecord(0, 0, QStringLiteral("dropped"))));
    const QList<IngestStore::RequestRecord> requests = store.requests();
    ASSERT_EQ(requests.size(), 2);
    EXPECT_EQ(requests.at(0).status, 400);
    EXPECT_EQ(requests.at(0).reason, QStringLiteral("log 0: \"id\" is missing"));
    EXPECT_EQ(requests.at(1).status, 0);
    EXPECT_LT(requests.at(0).seq, requests.at(1).seq);
    EXPECT_TRUE(store.logs().isEmpty());
}

TEST_F(ZpIngestStore, ReopeningKeepsWhatWasStored)
{
    {
        IngestStore store(path());
        ASSERT_TRUE(store.open());
        ASSERT_TRUE(store.storeAccepted(requestRecord(200, 1), acceptedBatch({eventLog()})));
    }
    IngestStore store(path());
    ASSERT_TRUE(store.open());
    EXPECT_EQ(store.logs().size(), 1);
    EXPECT_EQ(store.requests().size(), 1);
}

TEST_F(ZpIngestStore, ReadOnlyNeedsAnExistingFileAndWritesNothing)
{
    IngestStore missing(path());
    EXPECT_FALSE(missing.open(IngestStore::OpenMode::ExistingReadOnly));
    EXPECT_FALSE(missing.errorString().isEmpty());
    EXPECT_FALSE(QFileInfo::exists(path()));

    {
        IngestStore writer(path());
        ASSERT_TRUE(writer.open());
    }
    IngestStore reader(path());
    ASSERT_TRUE(reader.open(IngestStore::OpenMode::ExistingReadOnly));
    EXPECT_FALSE(reader.recordRequest(requestRecord(200, 0)));
    EXPECT_TRUE(reader.requests().isEmpty());
}

TEST_F(ZpIngestStore, OpenFailsInAMissingDirectory)
{
    IngestStore store(mDirectory.filePath(QStringLiteral("no/such/dir/ingest.db")));
    EXPECT_FALSE(store.open());
    EXPECT_FALSE(store.isOpen());
    EXPECT_FALSE(store.errorString().isEmpty());
}

TEST_F(ZpIngestStore, ReadsOnAnUnopenedStoreReportAnError)
{
    IngestStore store(path());
    EXPECT_TRUE(store.logs().isEmpty());
    EXPECT_FALSE(store.errorString().isEmpty());
}

TEST(ZpIngestStoreTime, CurrentTimestampIsIsoWithMillisecondsAndZ)
{
    EXPECT_TRUE(LogValidator::isTimestamp(IngestStore::currentTimestamp()));
}
