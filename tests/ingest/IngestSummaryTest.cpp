#include "IngestTestSupport.h"

#include <ZpIngest/IngestSummary.h>

#include <QJsonDocument>

#include <gtest/gtest.h>

using namespace ingest_test;

namespace {

IngestStore::StoredLog stored(const QJsonObject& log)
{
    static qint64 seq = 0;
    IngestStore::StoredLog row;
    row.seq = ++seq;
    row.type = log.value("type").toString();
    row.logId = log.value("id").toString();
    if (row.type == QLatin1String("event"))
        row.name = log.value("name").toString();
    row.receivedAt = QStringLiteral("2024-05-01T10:20:31.000Z");
    row.json = QJsonDocument(log).toJson(QJsonDocument::Compact);
    return row;
}

IngestStore::RequestRecord request(int status)
{
    IngestStore::RequestRecord record;
    record.status = status;
    return record;
}

const QString kSecondCrash = QStringLiteral("c0a5c0a5-1111-4222-8333-000000000002");
const QString kNoCrash = QStringLiteral("deadbeef-0000-4000-8000-000000000000");

// Two sessions' worth: events of three names (one id sent twice), two crashes,
// one with two attachments, and an attachment whose crash never arrived.
QList<IngestStore::StoredLog> sampleLogs()
{
    QJsonObject secondCrash = managedErrorLog(kSecondCrash);
    secondCrash.insert("processName", "Helper");
    secondCrash.insert("timestamp", "2024-05-01T11:00:00.500Z");
    QJsonObject screenshot = errorAttachmentLog(QByteArray(10, 'p'), QString::fromLatin1(kCrashId),
                                                QStringLiteral("00000000-0000-4000-8000-0000000000a2"));
    screenshot.insert("fileName", "screen.png");
    screenshot.insert("contentType", "image/png");
    return {
        stored(startServiceLog()),
        stored(startSessionLog()),
        stored(eventLog(QStringLiteral("Open"), QStringLiteral("00000000-0000-4000-8000-0000000000e1"))),
        stored(eventLog(QStringLiteral("Crop"), QStringLiteral("00000000-0000-4000-8000-0000000000e2"))),
        stored(eventLog(QStringLiteral("Open"), QStringLiteral("00000000-0000-4000-8000-0000000000e3"))),
        stored(eventLog(QStringLiteral("Open"), QStringLiteral("00000000-0000-4000-8000-0000000000e3"))),
        stored(eventLog(QStringLiteral("Export"), QStringLiteral("00000000-0000-4000-8000-0000000000e4"))),
        stored(managedErrorLog()),
        stored(errorAttachmentLog(QByteArray(1000, 'm'))),
        stored(screenshot),
        stored(secondCrash),
        stored(errorAttachmentLog("x", kNoCrash, QStringLiteral("00000000-0000-4000-8000-0000000000a3"))),
    };
}

} // namespace

TEST(ZpIngestSummary, CountsLogsAndRequests)
{
    const IngestSummary summary(sampleLogs(), {request(200), request(400), request(200), request(0), request(503)});
    EXPECT_EQ(summary.logCount(), 12);
    EXPECT_EQ(summary.requestCount(), 5);
    EXPECT_EQ(summary.failedRequestCount(), 3);
}

TEST(ZpIngestSummary, CountsPerTypeAndPerEventName)
{
    const IngestSummary summary(sampleLogs(), {});
    const QMap<QString, qint64> expectedTypes{
        {"errorAttachment", 3}, {"event", 5}, {"managedError", 2}, {"startService", 1}, {"startSession", 1}};
    EXPECT_EQ(summary.countsByType(), expectedTypes);
    const QMap<QString, qint64> expectedNames{{"Crop", 1}, {"Export", 1}, {"Open", 3}};
    EXPECT_EQ(summary.countsByEventName(), expectedNames);
}

TEST(ZpIngestSummary, ReportsIdsStoredMoreThanOnce)
{
    const IngestSummary summary(sampleLogs(), {});
    const QMap<QString, qint64> expected{{"00000000-0000-4000-8000-0000000000e3", 2}};
    EXPECT_EQ(summary.duplicateIds(), expected);
}

TEST(ZpIngestSummary, CrashReportsCarryTheirAttachmentsWithDecodedSizes)
{
    const IngestSummary summary(sampleLogs(), {});
    const QList<IngestSummary::CrashReport> reports = summary.crashReports();
    ASSERT_EQ(reports.size(), 2);
    EXPECT_EQ(reports.at(0).id, QString::fromLatin1(kCrashId));
    EXPECT_EQ(reports.at(0).sid, QString::fromLatin1(kSessionId));
    EXPECT_EQ(reports.at(0).processName, QStringLiteral("PhotoEditor"));
    EXPECT_EQ(reports.at(0).timestamp, QStringLiteral("2024-05-01T10:20:30.123Z"));
    ASSERT_EQ(reports.at(0).attachments.size(), 2);
    EXPECT_EQ(reports.at(0).attachments.at(0).fileName, QStringLiteral("minidump.dmp"));
    EXPECT_EQ(reports.at(0).attachments.at(0).contentType, QStringLiteral("application/octet-stream"));
    EXPECT_EQ(reports.at(0).attachments.at(0).decodedBytes, 1000);
    EXPECT_EQ(reports.at(0).attachments.at(1).fileName, QStringLiteral("screen.png"));
    EXPECT_EQ(reports.at(0).attachments.at(1).decodedBytes, 10);
    EXPECT_EQ(reports.at(1).id, kSecondCrash);
    EXPECT_EQ(reports.at(1).processName, QStringLiteral("Helper"));
    EXPECT_TRUE(reports.at(1).attachments.isEmpty());
    EXPECT_EQ(summary.orphanAttachmentCount(), 1);
}

TEST(ZpIngestSummary, TextNamesEverything)
{
    const IngestSummary summary(sampleLogs(), {request(200), request(400)});
    const QString expected = QStringLiteral(
        "logs: 12\n"
        "requests: 2 (1 answered other than 200)\n"
        "logs by type:\n"
        "  errorAttachment  3\n"
        "  event            5\n"
        "  managedError     2\n"
        "  startService     1\n"
        "  startSession     1\n"
        "events by name:\n"
        "  Crop    1\n"
        "  Export  1\n"
        "  Open    3\n"
        "duplicate ids:\n"
        "  00000000-0000-4000-8000-0000000000e3  x2\n"
        "crash reports: 2\n"
        "  c0a5c0a5-1111-4222-8333-444455556666  sid 5e55105e-0000-4000-8000-000000000001  process PhotoEditor"
        "  at 2024-05-01T10:20:30.123Z\n"
        "    attachment minidump.dmp  application/octet-stream  1000 bytes\n"
        "    attachment screen.png  image/png  10 bytes\n"
        "  c0a5c0a5-1111-4222-8333-000000000002  sid 5e55105e-0000-4000-8000-000000000001  process Helper"
        "  at 2024-05-01T11:00:00.500Z\n"
        "attachments without a crash report: 1\n");
    EXPECT_EQ(summary.toText().toStdString(), expected.toStdString());
}

TEST(ZpIngestSummary, EmptyStoreSaysSo)
{
    const IngestSummary summary({}, {});
    EXPECT_EQ(summary.toText().toStdString(), std::string("logs: 0\n"
                                                          "requests: 0 (0 answered other than 200)\n"
                                                          "logs by type: none\n"
                                                          "events by name: none\n"
                                                          "duplicate ids: none\n"
                                                          "crash reports: 0\n"));
}
