// The analytics controller: startup, the app secret, the logs a start leaves,
// and the end events that stop and destruction send.
#include "Analytics/CrashAppIdentiferMap.h"
#include "Analytics/FeatureTracking.h"
#include "AppCenter/AppCenter.h"
#include "AppCenter/AppCenterAnalytics.h"
#include "AppCenter/AppCenterQueue.h"

#include "AnalyticsTestFixture.h"
#include "IngestProcess.h"

#include <ZpCore/ZpProducts.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include <QCryptographicHash>
#include <QJsonArray>
#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThreadPool>

namespace {

QStringList typesAndNames(const QList<QJsonObject>& logs)
{
    QStringList result;
    for (const QJsonObject& log : logs) {
        const QString type = log.value(QStringLiteral("type")).toString();
        result << (type == QLatin1String("event") ? log.value(QStringLiteral("name")).toString() : type);
    }
    return result;
}

QString knownSecret()
{
    const CrashAppIdentiferKey key(kZpProductDelta, 0, 3, 2);
    return ZpQtStringUtils::createQStringFromCFStringRef(crashAppIdentiferMap().value(key));
}

using AnalyticsControllerTest = AnalyticsTestFixture;

} // namespace

TEST_F(AnalyticsControllerTest, StartsEmpty)
{
    EXPECT_EQ(mController->verbosity(), 0);
    EXPECT_EQ(mController->product(), nullptr);
    EXPECT_EQ(mController->userAppDataPath(), nullptr);
    EXPECT_TRUE(mController->appSecret().isEmpty());
    EXPECT_TRUE(mController->oncePerRunCounts().isEmpty());
    EXPECT_TRUE(mController->startedFeatureTimers().isEmpty());
}

TEST_F(AnalyticsControllerTest, StartupKeepsTheIdentityFindsTheSecretAndWritesThreeLogs)
{
    const CFIndex locationRetains = CFGetRetainCount(location());
    startKnownProduct();
    EXPECT_EQ(mController->product(), kZpProductDelta);
    EXPECT_EQ(mController->productType(), 0);
    EXPECT_EQ(mController->productEditionType(), 3);
    EXPECT_EQ(mController->userAppDataPath(), location());
    EXPECT_EQ(CFGetRetainCount(location()), locationRetains + 1);
    ASSERT_FALSE(knownSecret().isEmpty());
    EXPECT_EQ(mController->appSecret(), knownSecret());
    EXPECT_TRUE(mLog->matching(QStringLiteral("Could not find")).isEmpty());
    EXPECT_EQ(AppCenter::instance().storageDirectory(), storageDirectory());

    QStringList logs = typesAndNames(storedLogs()); // may share a millisecond: compare as a set
    logs.sort();
    EXPECT_EQ(logs, (QStringList{"System", "startService", "startSession"}));
}

TEST_F(AnalyticsControllerTest, AnUnknownProductIsLoggedAndStillDescribesTheMachine)
{
    mController->startup(kZpProductBeta, 5, 9, location());
    EXPECT_EQ(mLog->matching(QStringLiteral("Could not find")),
              QStringList{"Could not find application identifier for Beta, product type: 5, product edition type: 9"});
    EXPECT_TRUE(mController->appSecret().isEmpty());
    EXPECT_TRUE(typesAndNames(storedLogs()).contains(QStringLiteral("System")));
}

TEST_F(AnalyticsControllerTest, WithoutALocationTheProductsOwnFolderIsUsed)
{
    mController->startup(kZpProductDelta, 0, 3, nullptr);
    ASSERT_NE(mController->userAppDataPath(), nullptr);
    const QString path = ZpQtStringUtils::createQStringFileSystemRepresentationFromCFUrlRef(mController->userAppDataPath());
    EXPECT_TRUE(path.endsWith(QStringLiteral("Delta")) || path.endsWith(QStringLiteral("Delta/"))) << path.toStdString();
    EXPECT_TRUE(AppCenter::instance().storageDirectory().startsWith(QDir::cleanPath(path)));
}

TEST_F(AnalyticsControllerTest, TheFirstStartupConfiguresTheClientForTheWholeProcess)
{
    startKnownProduct();
    const AppCenterQueue* queue = AppCenter::instance().queue().get();
    AnalyticsController second;
    QTemporaryDir elsewhere;
    CFStringRef path = ZpQtStringUtils::createCFStringRefFromQString(elsewhere.path());
    CFURLRef otherLocation = CFURLCreateWithFileSystemPath(kCFAllocatorDefault, path, kCFURLPOSIXPathStyle, true);
    second.startup(kZpProductGamma, 0, 3, otherLocation);
    CFRelease(otherLocation);
    CFRelease(path);
    EXPECT_EQ(AppCenter::instance().queue().get(), queue);
    EXPECT_EQ(AppCenter::instance().storageDirectory(), storageDirectory());
    // Both starts described the machine and started the service, into the same store.
    EXPECT_EQ(typesAndNames(storedLogs()).count(QStringLiteral("System")), 2);
}

TEST_F(AnalyticsControllerTest, StopSendsInterruptedEndEventsInKeyOrderAndEmptiesTheMaps)
{
    startKnownProduct();
    FeatureTracking::start(*mController, CFSTR("Zoom"), nullptr);
    FeatureTracking::start(*mController, CFSTR("Brush"), nullptr);
    FeatureTracking::trackOncePerRun(*mController, CFSTR("Welcome"));
    tick();
    QStringList order; // both ends may share a stored millisecond
    AppCenterAnalytics::instance().setEventObserverForTesting(
        [&order](const QJsonObject& log) { order << log.value(QStringLiteral("name")).toString(); });
    mController->stop();
    EXPECT_TRUE(mController->startedFeatureTimers().isEmpty());
    EXPECT_TRUE(mController->oncePerRunCounts().isEmpty());
    mController->stop(); // nothing left to end
    AppCenterAnalytics::instance().setEventObserverForTesting(nullptr);
    EXPECT_EQ(order, (QStringList{"BrushEnd", "ZoomEnd"}));

    QList<QJsonObject> ends;
    for (const QJsonObject& event : trackedEvents())
        if (event.value(QStringLiteral("name")).toString().endsWith(QLatin1String("End")))
            ends << event;
    ASSERT_EQ(ends.size(), 2);
    for (const QJsonObject& end : ends) {
        const auto properties = propertiesOf(end);
        EXPECT_EQ(properties.keys(), (QStringList{"interrupted", "time"}));
        EXPECT_EQ(properties.value("interrupted"), QStringLiteral("true"));
    }
}

TEST_F(AnalyticsControllerTest, ReleasingAStartedControllerEndsItsFeatures)
{
    startKnownProduct();
    FeatureTracking::start(*mController, CFSTR("Export"), nullptr);
    tick();
    const CFIndex locationRetains = CFGetRetainCount(location());
    mController.reset();
    EXPECT_EQ(CFGetRetainCount(location()), locationRetains - 1);
    const QList<QJsonObject> events = trackedEvents();
    ASSERT_EQ(events.size(), 2);
    EXPECT_EQ(events.at(1).value(QStringLiteral("name")).toString(), QStringLiteral("ExportEnd"));
    EXPECT_EQ(propertiesOf(events.at(1)).value("interrupted"), QStringLiteral("true"));
}

TEST_F(AnalyticsControllerTest, StartAndStopAreLoggedOnlyFromVerbosityOne)
{
    startKnownProduct();
    mController->stop();
    EXPECT_TRUE(mLog->matching(QStringLiteral("Start")).isEmpty());
    EXPECT_TRUE(mLog->matching(QStringLiteral("Stop")).isEmpty());

    mController->setVerbosityForTesting(1);
    startKnownProduct();
    mController->stop();
    EXPECT_EQ(mLog->messages().filter(QRegularExpression(QStringLiteral("^(Start|Stop)$"))),
              (QStringList{"Start", "Stop"}));
}

TEST_F(AnalyticsControllerTest, TrackingAfterStopStillReachesTheClient)
{
    startKnownProduct();
    mController->stop();
    FeatureTracking::track(*mController, CFSTR("AfterStop"), nullptr);
    EXPECT_EQ(typesAndNames(trackedEvents()), QStringList{"AfterStop"});
}

TEST_F(AnalyticsControllerTest, EveryLogOfARunIsDeliveredByTheNextSendInTheShapeTheReceiverAccepts)
{
    startKnownProduct();
    FeatureTracking::track(*mController, CFSTR("Crop"), nullptr);
    FeatureTracking::track(*mController, CFSTR("Application.Module.Browse"), nullptr);
    FeatureTracking::trackValue(*mController, CFSTR("Zoom"), 200);
    FeatureTracking::start(*mController, CFSTR("Retouch"), nullptr);
    FeatureTracking::stop(*mController, CFSTR("Retouch"), nullptr);
    FeatureTracking::track(*mController, CFSTR("Bad.Code"), nullptr); // dropped
    AppCenter::resetForTesting();
    QThreadPool::globalInstance()->waitForDone();

    // The next run's client sends what is pending as it starts.
    IngestProcess ingest;
    ASSERT_TRUE(ingest.ok()) << ingest.error().toStdString();
    qputenv("ZP_INGESTION_BASE_URL", ingest.baseUrl().toUtf8());
    AppCenter::start(knownSecret(), mDir.path());
    AppCenter::resetForTesting();
    QThreadPool::globalInstance()->waitForDone();

    ASSERT_FALSE(ingest.requests().isEmpty());
    EXPECT_EQ(ingest.requests().first().status, 200) << ingest.requests().first().reason.toStdString();
    QStringList delivered = typesAndNames(ingest.logs());
    delivered.sort();
    EXPECT_EQ(delivered, (QStringList{"Application", "Crop", "RetouchEnd", "RetouchStart", "System", "Zoom",
                                      "startService", "startSession"}));
    const QString secretHash = QString::fromLatin1(
        QCryptographicHash::hash(knownSecret().toUtf8(), QCryptographicHash::Sha256).toHex());
    for (const auto& credentials : ingest.logCredentials())
        EXPECT_EQ(credentials.second, secretHash);
}
