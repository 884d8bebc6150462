// The send task against a real receiver (zp-ingest on 127.0.0.1): batching,
// deletion only after HTTP 200, the throttle, and every way a send can fail.
#include "AppCenter/AppCenterLogBatch.h"
#include "AppCenter/AppCenterLogBuilder.h"
#include "AppCenter/AppCenterQueue.h"

#include "IngestProcess.h"
#include "LogCapture.h"
#include "StoreReader.h"
#include "TestCertificates.h"

#include <ZpQtCoreLite/ZpHttp.h>

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <QThreadPool>
#include <gtest/gtest.h>

namespace {

// App secrets are UUIDs; this one is made up.
const QString kSecret = QStringLiteral("7d8e9f00-1a2b-4c3d-8e4f-5a6b7c8d9e0f");

QJsonObject event(const QString& name, const QString& padding = QString())
{
    QJsonObject log{{"type", "event"}, {"name", name}};
    if (!padding.isEmpty())
        log.insert(QStringLiteral("typedProperties"),
                   QJsonArray{QJsonObject{{"type", "string"}, {"name", "padding"}, {"value", padding}}});
    return log;
}

QJsonObject parsed(const QByteArray& json)
{
    return QJsonDocument::fromJson(json).object();
}

class AppCenterQueueSend : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(mDir.isValid());
        mStorage = mDir.filePath(QStringLiteral("AppCenter"));
    }
    void TearDown() override
    {
        settle();
        qunsetenv("ZP_INGESTION_BASE_URL");
        AppCenterQueue::setSendThrottleForTesting(AppCenterQueue::kSendThrottleMs);
        ZpHttp::setDefaultTimeout(0);
    }

    static void settle() { QThreadPool::globalInstance()->waitForDone(); }
    static void pointAt(const QString& baseUrl) { qputenv("ZP_INGESTION_BASE_URL", baseUrl.toUtf8()); }

    // Leaves `logs` pending in the store: the queue that stores them can
    // reach no receiver, so nothing is deleted.
    QMap<QByteArray, QByteArray> prefill(const QList<QJsonObject>& logs)
    {
        pointAt(refusingBaseUrl());
        {
            AppCenterQueue queue(kSecret, mStorage);
            for (QJsonObject log : logs)
                queue.enqueue(log, QString());
        }
        settle();
        return StoreReader::logs(mStorage);
    }

    // A new queue sends what is pending as it starts; wait for that send.
    void startQueueAndSend(const QString& baseUrl)
    {
        pointAt(baseUrl);
        {
            AppCenterQueue queue(kSecret, mStorage);
        }
        settle();
    }

    QTemporaryDir mDir;
    QString mStorage;
};

} // namespace

TEST_F(AppCenterQueueSend, AStoreHoldingOnlyTheInstallIdSendsNothing)
{
    IngestProcess ingest;
    ASSERT_TRUE(ingest.ok()) << ingest.error().toStdString();
    startQueueAndSend(ingest.baseUrl());
    startQueueAndSend(ingest.baseUrl());
    EXPECT_TRUE(ingest.requests().isEmpty());
    EXPECT_TRUE(StoreReader::records(mStorage).contains("install_id"));
}

TEST_F(AppCenterQueueSend, TwoPendingLogsGoInOneRequestAndBothAreDeleted)
{
    const auto pending = prefill({event(QStringLiteral("A")), event(QStringLiteral("B"))});
    ASSERT_EQ(pending.size(), 2);
    const QByteArray installId = StoreReader::records(mStorage).value("install_id");

    IngestProcess ingest;
    ASSERT_TRUE(ingest.ok()) << ingest.error().toStdString();
    startQueueAndSend(ingest.baseUrl());

    const auto requests = ingest.requests();
    ASSERT_EQ(requests.size(), 1);
    EXPECT_EQ(requests.first().status, 200);
    EXPECT_EQ(requests.first().logCount, 2);
    // {"logs":[A,B]} with the stored texts copied byte for byte, in key order.
    const QByteArray expectedBody = "{\"logs\":[" + pending.first() + "," + pending.last() + "]}";
    EXPECT_EQ(requests.first().bodyBytes, expectedBody.size());
    EXPECT_EQ(ingest.logs(), (QList<QJsonObject>{parsed(pending.first()), parsed(pending.last())}));

    const QString secretHash = QString::fromLatin1(QCryptographicHash::hash(kSecret.toUtf8(), QCryptographicHash::Sha256).toHex());
    for (const auto& credentials : ingest.logCredentials()) {
        EXPECT_EQ(credentials.first, QString::fromUtf8(installId));
        EXPECT_EQ(credentials.second, secretHash);
    }
    EXPECT_TRUE(StoreReader::logs(mStorage).isEmpty());
    EXPECT_EQ(StoreReader::records(mStorage).value("install_id"), installId); // survives the send
}

TEST_F(AppCenterQueueSend, TheReceiverAcceptsEveryLogTypeTheClientBuilds)
{
    CFMutableDictionaryRef properties = CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                                  &kCFTypeDictionaryValueCallBacks);
    CFDictionarySetValue(properties, CFSTR("Tool"), CFSTR("Brush"));
    const QList<QJsonObject> built{
        AppCenterLogBuilder::startServiceLog(QStringLiteral("Analytics"), QString()),
        AppCenterLogBuilder::startSessionLog(AppCenterLogBuilder::newUuid(), QStringLiteral("user 1")),
        AppCenterLogBuilder::eventLog(QStringLiteral("Crop"), {}),
        AppCenterLogBuilder::eventLog(QStringLiteral("Brush"), AppCenterLogBuilder::stringProperties(properties)),
    };
    CFRelease(properties);
    const auto pending = prefill(built);
    ASSERT_EQ(pending.size(), 4);

    IngestProcess ingest;
    ASSERT_TRUE(ingest.ok()) << ingest.error().toStdString();
    startQueueAndSend(ingest.baseUrl());
    ASSERT_EQ(ingest.requests().size(), 1);
    EXPECT_EQ(ingest.requests().first().status, 200) << ingest.requests().first().reason.toStdString();
    EXPECT_EQ(ingest.logs().size(), 4);
    EXPECT_TRUE(StoreReader::logs(mStorage).isEmpty());
}

TEST_F(AppCenterQueueSend, AnErrorAnswerKeepsTheRecordsAndLogsTheSizeAndCode)
{
    const auto pending = prefill({event(QStringLiteral("A")), event(QStringLiteral("B"))});
    IngestProcess ingest({QStringLiteral("--fail-status"), QStringLiteral("500"), QStringLiteral("--fail-count"),
                          QStringLiteral("1")});
    ASSERT_TRUE(ingest.ok()) << ingest.error().toStdString();

    LogCapture capture;
    startQueueAndSend(ingest.baseUrl());
    const qint64 bodySize = 9 + pending.first().size() + 1 + pending.last().size() + 2;
    EXPECT_EQ(capture.matching(QStringLiteral("AppCenter:")),
              QStringList{QStringLiteral("AppCenter: PayloadSize: %1, ResultCode: 500").arg(bodySize)});
    EXPECT_EQ(StoreReader::logs(mStorage), pending);
    EXPECT_TRUE(ingest.logs().isEmpty());

    // The next run delivers them once the receiver behaves.
    startQueueAndSend(ingest.baseUrl());
    EXPECT_EQ(ingest.logs().size(), 2);
    EXPECT_TRUE(StoreReader::logs(mStorage).isEmpty());
}

TEST_F(AppCenterQueueSend, MoreThanOneBatchGoesInSeveralRequestsAndOnlyAcceptedBatchesAreDeleted)
{
    // Eight logs of about 1 MB: the first seven pass the 6800000-byte limit
    // together, the eighth goes in a second request of the same task.
    QList<QJsonObject> logs;
    for (int i = 0; i < 8; ++i)
        logs << event(QStringLiteral("Big %1").arg(i), QString(1000000, QLatin1Char('a' + i)));
    const auto pending = prefill(logs);
    ASSERT_EQ(pending.size(), 8);

    IngestProcess ingest({QStringLiteral("--fail-status"), QStringLiteral("500"), QStringLiteral("--fail-count"),
                          QStringLiteral("1")});
    ASSERT_TRUE(ingest.ok()) << ingest.error().toStdString();
    startQueueAndSend(ingest.baseUrl());

    const auto requests = ingest.requests();
    ASSERT_EQ(requests.size(), 2);
    EXPECT_EQ(requests.at(0).status, 500);
    EXPECT_GE(requests.at(0).bodyBytes, AppCenterLogBatch::kMaxBodyBytes);
    EXPECT_EQ(requests.at(1).status, 200);
    EXPECT_EQ(requests.at(1).logCount, 1);

    const QList<QByteArray> keys = pending.keys();
    EXPECT_EQ(StoreReader::logs(mStorage).keys(), keys.mid(0, 7)); // the failed first batch stays
    ASSERT_EQ(ingest.logs().size(), 1);
    EXPECT_EQ(ingest.logs().first().value(QStringLiteral("id")).toString().toUtf8(), keys.last());
}

TEST_F(AppCenterQueueSend, WithinTheThrottleOnlyTheFirstLogStartsASend)
{
    IngestProcess ingest;
    ASSERT_TRUE(ingest.ok()) << ingest.error().toStdString();
    pointAt(ingest.baseUrl());
    AppCenterQueue::setSendThrottleForTesting(2000);
    {
        AppCenterQueue queue(kSecret, mStorage); // its start-up send finds nothing to send
        settle();
        QThread::msleep(2100);
        QJsonObject first = event(QStringLiteral("First"));
        queue.enqueue(first, QString()); // a send may start again: it does
        settle();
        QJsonObject second = event(QStringLiteral("Second"));
        queue.enqueue(second, QString()); // less than 2 s after the last start: only stored
        settle();
    }
    ASSERT_EQ(ingest.logs().size(), 1);
    EXPECT_EQ(ingest.logs().first().value(QStringLiteral("name")).toString(), QStringLiteral("First"));
    const auto left = StoreReader::logs(mStorage);
    ASSERT_EQ(left.size(), 1);
    EXPECT_EQ(parsed(left.first()).value(QStringLiteral("name")).toString(), QStringLiteral("Second"));
}

TEST_F(AppCenterQueueSend, TheShippedThrottleHoldsALogQueuedRightAfterStart)
{
    EXPECT_EQ(AppCenterQueue::kSendThrottleMs, 60000);
    IngestProcess ingest;
    ASSERT_TRUE(ingest.ok()) << ingest.error().toStdString();
    pointAt(ingest.baseUrl());
    {
        AppCenterQueue queue(kSecret, mStorage);
        settle();
        QJsonObject log = event(QStringLiteral("Later"));
        queue.enqueue(log, QString());
        settle();
    }
    EXPECT_TRUE(ingest.requests().isEmpty());
    EXPECT_EQ(StoreReader::logs(mStorage).size(), 1);
}

TEST_F(AppCenterQueueSend, LogsLeftByAnotherProcessGoOutWhenTheNextQueueStarts)
{
    pointAt(refusingBaseUrl());
    QProcess probe; // inherits the refusing address
    probe.start(QStringLiteral(ZP_APPCENTER_PROBE), {mStorage, QStringLiteral("3")});
    ASSERT_TRUE(probe.waitForFinished(60000));
    ASSERT_EQ(probe.readAllStandardOutput().trimmed(), QByteArray("database=1 stored=3"));
    ASSERT_EQ(StoreReader::logs(mStorage).size(), 3);

    IngestProcess ingest;
    ASSERT_TRUE(ingest.ok()) << ingest.error().toStdString();
    startQueueAndSend(ingest.baseUrl());
    EXPECT_EQ(ingest.logs().size(), 3);
    EXPECT_TRUE(StoreReader::logs(mStorage).isEmpty());
}

TEST_F(AppCenterQueueSend, ARefusedConnectionKeepsTheRecords)
{
    const auto pending = prefill({event(QStringLiteral("A"))});
    LogCapture capture;
    startQueueAndSend(refusingBaseUrl());
    EXPECT_EQ(StoreReader::logs(mStorage), pending);
    ASSERT_EQ(capture.matching(QStringLiteral("AppCenter:")).size(), 1);
    EXPECT_TRUE(capture.matching(QStringLiteral("AppCenter:")).first().endsWith(QStringLiteral("ResultCode: 0")));
}

TEST_F(AppCenterQueueSend, AnAnswerLaterThanTheTimeOutKeepsTheRecords)
{
    const auto pending = prefill({event(QStringLiteral("A"))});
    IngestProcess ingest({QStringLiteral("--delay-ms"), QStringLiteral("3000")});
    ASSERT_TRUE(ingest.ok()) << ingest.error().toStdString();
    ZpHttp::setDefaultTimeout(500);
    LogCapture capture;
    startQueueAndSend(ingest.baseUrl());
    EXPECT_EQ(StoreReader::logs(mStorage), pending);
    EXPECT_EQ(capture.matching(QStringLiteral("ResultCode: 0")).size(), 1);
}

TEST_F(AppCenterQueueSend, AConnectionClosedInTheMiddleKeepsTheRecords)
{
    const auto pending = prefill({event(QStringLiteral("A"), QString(200000, QLatin1Char('x')))});
    // Every connection is dropped while the body arrives: Qt's network layer
    // quietly tries a dropped request again, so dropping one is not enough.
    IngestProcess ingest({QStringLiteral("--close-count"), QStringLiteral("-1")});
    ASSERT_TRUE(ingest.ok()) << ingest.error().toStdString();
    LogCapture capture;
    startQueueAndSend(ingest.baseUrl());
    EXPECT_EQ(StoreReader::logs(mStorage), pending);
    EXPECT_TRUE(ingest.logs().isEmpty());
    EXPECT_EQ(capture.matching(QStringLiteral("ResultCode: 0")).size(), 1);
    EXPECT_FALSE(ingest.requests().isEmpty());

    ASSERT_TRUE(ingest.control(QJsonObject{{"closeCount", 0}}));
    startQueueAndSend(ingest.baseUrl());
    EXPECT_EQ(ingest.logs().size(), 1);
    EXPECT_TRUE(StoreReader::logs(mStorage).isEmpty());
}

TEST_F(AppCenterQueueSend, HttpsDeliversOnlyToACertificateOfATrustedAuthority)
{
    const TestCertificates trusted;
    const TestCertificates untrusted;
    ASSERT_TRUE(trusted.ok()) << trusted.error().toStdString();
    ASSERT_TRUE(untrusted.ok()) << untrusted.error().toStdString();
    ZpHttp::addCertificateAuthorities(trusted.authority());
    const auto pending = prefill({event(QStringLiteral("A")), event(QStringLiteral("B"))});

    {
        IngestProcess impostor({QStringLiteral("--tls-cert"), untrusted.serverCertificatePath(),
                                QStringLiteral("--tls-key"), untrusted.serverKeyPath()});
        ASSERT_TRUE(impostor.ok()) << impostor.error().toStdString();
        ASSERT_TRUE(impostor.baseUrl().startsWith(QStringLiteral("https://")));
        startQueueAndSend(impostor.baseUrl());
        EXPECT_TRUE(impostor.logs().isEmpty());
        EXPECT_EQ(StoreReader::logs(mStorage), pending);
    }

    IngestProcess ingest({QStringLiteral("--tls-cert"), trusted.serverCertificatePath(), QStringLiteral("--tls-key"),
                          trusted.serverKeyPath()});
    ASSERT_TRUE(ingest.ok()) << ingest.error().toStdString();
    startQueueAndSend(ingest.baseUrl());
    EXPECT_EQ(ingest.logs().size(), 2);
    EXPECT_TRUE(StoreReader::logs(mStorage).isEmpty());
}
