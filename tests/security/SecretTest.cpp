// The app secret leaves the process only as the "App-Secret" request header:
// never in a log line (the vendor log or Qt's), a stored record, a file of the
// store, a crash file of a real crash, or the crash report's description and
// attachments.
#include "SecurityHostProcess.h"

#include "ZpToolboxLite.h"

#include "AppCenter/AppCenter.h"
#include "AppCenter/AppCenterQueue.h"
#include "CrashReport/CrashReportController.h"

#include "AppCenterStoreFixture.h"
#include "IngestProcess.h"
#include "LogCapture.h"
#include "StoreReader.h"

#include <ZpWidgetsLite/ZpAppDidFinishLaunchingEvent.h>

#include <csignal>

#include <QApplication>
#include <QCryptographicHash>
#include <QDialog>
#include <QDialogButtonBox>
#include <QMutex>
#include <QPushButton>
#include <QThreadPool>
#include <QTimer>
#include <gtest/gtest.h>

namespace {

// Collects Qt's messages (qWarning and the like) while it exists; the
// earlier handler still gets them.
class QtMessageCapture {
public:
    QtMessageCapture()
    {
        sMessages.clear();
        sPrevious = qInstallMessageHandler(&QtMessageCapture::receive);
    }
    ~QtMessageCapture() { qInstallMessageHandler(sPrevious); }
    static QStringList messages()
    {
        QMutexLocker lock(&sMutex);
        return sMessages;
    }

private:
    static void receive(QtMsgType type, const QMessageLogContext& context, const QString& message)
    {
        {
            QMutexLocker lock(&sMutex);
            sMessages << message;
        }
        if (sPrevious)
            sPrevious(type, context, message);
    }
    static inline QMutex sMutex;
    static inline QStringList sMessages;
    static inline QtMessageHandler sPrevious = nullptr;
};

// Clicks OK in the next modal dialog, from the event loop.
void acceptNextDialog()
{
    QTimer::singleShot(0, [] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog) {
            acceptNextDialog();
            return;
        }
        dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();
    });
}

QStringList linesHolding(const QStringList& lines, const QString& secret)
{
    QStringList found;
    for (const QString& line : lines) {
        if (holdsSecret(line.toUtf8(), secret))
            found << line;
    }
    return found;
}

class SecretTest : public AppCenterStoreFixture {
protected:
    void TearDown() override
    {
        ZpCrashReportShutdown();
        CrashReportController::resetForTesting();
        AppCenterQueue::setSendThrottleForTesting(AppCenterQueue::kSendThrottleMs);
        AppCenterStoreFixture::TearDown();
    }

    // The host's start-up as a product does it: crash reporting armed, the
    // launch announced (the crash dialog, if any, is accepted), analytics
    // started and a few features tracked.
    ZpAnalytics* startHost()
    {
        ZpCrashReportStartupWithUserAppDataPath(CFSTR("user-1"), kZpProductAlpha, 0, 1, false, location());
        acceptNextDialog();
        ZpAppDidFinishLaunchingEvent launched(nullptr);
        QCoreApplication::sendEvent(qApp, &launched);
        ZpAnalytics* analytics = ZpAnalyticsCreate();
        ZpAnalyticsStartupUserAppDataPath(analytics, kZpProductAlpha, 0, 1, location());
        ZpAnalyticsTrackFeature(analytics, CFSTR("Crop"));
        ZpAnalyticsTrackFeatureOncePerRun(analytics, CFSTR("Export.Format.Png"));
        return analytics;
    }

    void stopHost(ZpAnalytics* analytics)
    {
        QThreadPool::globalInstance()->waitForDone();
        ZpAnalyticsRelease(analytics);
        ZpCrashReportShutdown();
        AppCenter::resetForTesting();
        QThreadPool::globalInstance()->waitForDone();
    }
};

} // namespace

TEST_F(SecretTest, TheSecretGoesOnlyIntoTheRequestHeader)
{
    // A real crash of a host on this folder first, so that this run has a
    // pending report with a real minidump to send.
    const SecurityHostRun crashed = runSecurityHost({QStringLiteral("crash"), mDir.path(), QStringLiteral("segv")});
    ASSERT_TRUE(crashed.diedBy(SIGSEGV)) << crashed.describe();
    const QString secret = crashed.facts.value(QStringLiteral("secret"));
    ASSERT_FALSE(secret.isEmpty()) << crashed.describe();
    const QMap<QString, QByteArray> crashFiles = filesBelow(storageDirectory() + QStringLiteral("/crashes"));
    ASSERT_EQ(crashFiles.size(), 2) << crashFiles.keys().join(' ').toStdString();
    for (auto it = crashFiles.cbegin(); it != crashFiles.cend(); ++it)
        EXPECT_FALSE(holdsSecret(it.value(), secret)) << it.key().toStdString();

    // Every send is refused with a 500 (the sender logs those).
    IngestProcess ingest({QStringLiteral("--fail-status"), QStringLiteral("500"), QStringLiteral("--fail-count"),
                          QStringLiteral("-1")});
    ASSERT_TRUE(ingest.ok()) << ingest.error().toStdString();
    qputenv("ZP_INGESTION_BASE_URL", ingest.baseUrl().toUtf8());
    AppCenterQueue::setSendThrottleForTesting(0);

    QByteArray description;
    QStringList logLines;
    QStringList qtMessages;
    {
        const LogCapture log;
        const QtMessageCapture qt;
        ZpAnalytics* analytics = startHost();
        EXPECT_EQ(CrashReportController::instance().appSecret(), secret);
        description = CrashReportController::instance().crashDescription();
        stopHost(analytics);
        logLines = log.messages();
        qtMessages = qt.messages();
    }
    EXPECT_FALSE(logLines.filter(QStringLiteral("ResultCode: 500")).isEmpty()) << logLines.join('\n').toStdString();
    EXPECT_TRUE(linesHolding(logLines, secret).isEmpty()) << linesHolding(logLines, secret).join('\n').toStdString();
    EXPECT_TRUE(linesHolding(qtMessages, secret).isEmpty()) << linesHolding(qtMessages, secret).join('\n').toStdString();
    EXPECT_TRUE(description.contains("User ID: user-1")) << description.toStdString();
    EXPECT_FALSE(holdsSecret(description, secret)) << description.toStdString();

    // What the store holds: keys, values, and the decoded attachments (the
    // minidump and the description among them).
    const QMap<QByteArray, QByteArray> records = StoreReader::records(storageDirectory());
    int attachments = 0;
    for (auto it = records.cbegin(); it != records.cend(); ++it) {
        EXPECT_FALSE(holdsSecret(it.key(), secret)) << it.key().toStdString();
        EXPECT_FALSE(holdsSecret(it.value(), secret)) << it.key().toStdString();
        const QJsonObject record = QJsonDocument::fromJson(it.value()).object();
        if (record.value(QStringLiteral("type")).toString() != QLatin1String("errorAttachment"))
            continue;
        ++attachments;
        const QByteArray data = QByteArray::fromBase64(record.value(QStringLiteral("data")).toString().toLatin1());
        EXPECT_FALSE(holdsSecret(data, secret)) << record.value(QStringLiteral("fileName")).toString().toStdString();
    }
    EXPECT_GE(attachments, 2); // the minidump and the description
    // And the store's files as they lie on disk, whatever leveldb keeps in them.
    const QMap<QString, QByteArray> files = filesBelow(mDir.path());
    EXPECT_FALSE(files.isEmpty());
    for (auto it = files.cbegin(); it != files.cend(); ++it)
        EXPECT_FALSE(holdsSecret(it.value(), secret)) << it.key().toStdString();

    // Delivery: the receiver saw the secret in the header of every request
    // that carried logs, and nowhere in the logs themselves.
    ASSERT_TRUE(ingest.control(QJsonObject{{"failStatus", 0}}));
    ZpAnalytics* again = ZpAnalyticsCreate();
    ZpAnalyticsStartupUserAppDataPath(again, kZpProductAlpha, 0, 1, location());
    stopHost(again);
    const QList<QJsonObject> delivered = ingest.logs();
    EXPECT_FALSE(delivered.isEmpty());
    const QString secretHash = QString::fromLatin1(QCryptographicHash::hash(secret.toUtf8(), QCryptographicHash::Sha256).toHex());
    for (const auto& [installId, hash] : ingest.logCredentials())
        EXPECT_EQ(hash, secretHash) << installId.toStdString();
    for (const QJsonObject& log : delivered)
        EXPECT_FALSE(holdsSecret(QJsonDocument(log).toJson(QJsonDocument::Compact), secret));
}
