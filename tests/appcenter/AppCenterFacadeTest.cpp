// The App Center client facade: where it stores, which logs starting the
// services writes, and what an event does before the service started.
#include "AppCenter/AppCenter.h"
#include "AppCenter/AppCenterAnalytics.h"
#include "AppCenter/AppCenterQueue.h"
#include "CrashReport/Crashes.h"

#include "AppCenterStoreFixture.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThreadPool>
#include <gtest/gtest.h>

namespace {

using AppCenterFacade = AppCenterStoreFixture;

} // namespace

TEST_F(AppCenterFacade, AnEmptyDirectoryMeansTheApplicationLocalDataDirectory)
{
    const QString local = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
    ASSERT_TRUE(QStandardPaths::isTestModeEnabled());
    QDir(local + QStringLiteral("/AppCenter")).removeRecursively();

    AppCenter::start(QStringLiteral("secret"), QString());
    EXPECT_EQ(AppCenter::instance().storageDirectory(), local + QDir::separator() + QStringLiteral("AppCenter"));
    ASSERT_TRUE(AppCenter::instance().queue());
    EXPECT_TRUE(AppCenter::instance().queue()->hasDatabase());
    EXPECT_TRUE(QFileInfo(local + QStringLiteral("/AppCenter/logs/CURRENT")).isFile());
    AppCenter::resetForTesting();
    QThreadPool::globalInstance()->waitForDone();
    QDir(local + QStringLiteral("/AppCenter")).removeRecursively();
}

TEST_F(AppCenterFacade, AGivenDirectoryGetsAppCenterAppended)
{
    AppCenter::start(QStringLiteral("secret"), mDir.path());
    EXPECT_EQ(AppCenter::instance().storageDirectory(), mDir.path() + QDir::separator() + QStringLiteral("AppCenter"));
    EXPECT_FALSE(AppCenter::instance().sessionId().isNull());
}

TEST_F(AppCenterFacade, StartingAnalyticsWritesStartServiceAndStartSession)
{
    AppCenter::start(QStringLiteral("secret"), mDir.path());
    ASSERT_EQ(AppCenter::instance().storageDirectory(), storageDirectory());
    const QString sessionId = AppCenter::instance().sessionId().toString(QUuid::WithoutBraces);
    AppCenter::instance().startService(QStringLiteral("Analytics"));

    const QList<QJsonObject> logs = storedLogs();
    ASSERT_EQ(logs.size(), 2);
    const QJsonObject service = select(logs, QStringLiteral("startService")).value(0);
    EXPECT_EQ(service.value(QStringLiteral("services")).toArray(), QJsonArray{QStringLiteral("Analytics")});
    EXPECT_EQ(service.value(QStringLiteral("userId")).toString(QStringLiteral("missing")), QString());
    const QJsonObject session = select(logs, QStringLiteral("startSession")).value(0);
    EXPECT_EQ(session.value(QStringLiteral("sid")).toString(), sessionId);
    EXPECT_EQ(session.value(QStringLiteral("sid")).toString(), sessionId.toLower());
    EXPECT_EQ(session.value(QStringLiteral("userId")).toString(QStringLiteral("missing")), QString());
}

TEST_F(AppCenterFacade, StartingCrashesCarriesTheCrashUserIdAndHandsOverTheClient)
{
    AppCenter::start(QStringLiteral("secret"), mDir.path());
    AppCenter& client = AppCenter::instance();
    const QString storage = client.storageDirectory();
    client.setUserId(QStringLiteral("user-42"));
    client.startService(QStringLiteral("Crashes"));

    const Crashes& crashes = Crashes::instance();
    EXPECT_EQ(crashes.queue(), client.queue());
    EXPECT_EQ(crashes.crashesDirectory(), storage + QDir::separator() + QStringLiteral("crashes"));
    EXPECT_EQ(crashes.crashJsonPath(), crashes.crashesDirectory() + QDir::separator()
                                           + client.sessionId().toString(QUuid::WithoutBraces) + QStringLiteral(".json"));
    EXPECT_EQ(QJsonDocument::fromJson(crashes.crashJson()).object().value(QStringLiteral("userId")).toString(),
              QStringLiteral("user-42"));

    const QList<QJsonObject> logs = storedLogs();
    ASSERT_EQ(logs.size(), 1);
    EXPECT_EQ(logs.first().value(QStringLiteral("services")).toArray(), QJsonArray{QStringLiteral("Crashes")});
    EXPECT_EQ(logs.first().value(QStringLiteral("userId")).toString(), QStringLiteral("user-42"));
}

TEST_F(AppCenterFacade, ServiceNamesAreCaseSensitive)
{
    AppCenter::start(QStringLiteral("secret"), mDir.path());
    ASSERT_EQ(AppCenter::instance().storageDirectory(), storageDirectory());
    AppCenter::instance().startService(QStringLiteral("analytics"));
    AppCenterAnalytics::instance().trackEvent(CFSTR("AfterLowerCaseStart"), nullptr);

    const QList<QJsonObject> logs = storedLogs();
    ASSERT_EQ(logs.size(), 1); // the startService log, and no session or event
    EXPECT_EQ(logs.first().value(QStringLiteral("type")).toString(), QStringLiteral("startService"));
    EXPECT_EQ(logs.first().value(QStringLiteral("services")).toArray(), QJsonArray{QStringLiteral("analytics")});
}

TEST_F(AppCenterFacade, AnEventBeforeTheAnalyticsServiceStartedIsDropped)
{
    AppCenter::start(QStringLiteral("secret"), mDir.path());
    ASSERT_EQ(AppCenter::instance().storageDirectory(), storageDirectory());
    AppCenterAnalytics::instance().trackEvent(CFSTR("TooEarly"), nullptr);
    EXPECT_TRUE(storedLogs().isEmpty());
}

TEST_F(AppCenterFacade, StartingAServiceWithoutAClientWritesNothingButStillDispatches)
{
    AppCenter::instance().startService(QStringLiteral("Analytics"));
    AppCenterAnalytics::instance().trackEvent(CFSTR("Nowhere"), nullptr);
    AppCenter::instance().startService(QStringLiteral("Crashes"));
    EXPECT_FALSE(Crashes::instance().crashJson().isEmpty()); // started, with no queue
    EXPECT_EQ(Crashes::instance().queue(), nullptr);
}

TEST_F(AppCenterFacade, TrackedEventsKeepOnlyStringPairs)
{
    AppCenter::start(QStringLiteral("secret"), mDir.path());
    ASSERT_EQ(AppCenter::instance().storageDirectory(), storageDirectory());
    AppCenter::instance().startService(QStringLiteral("Analytics"));
    CFMutableDictionaryRef properties = CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                                  &kCFTypeDictionaryValueCallBacks);
    CFDictionarySetValue(properties, CFSTR("Tool"), CFSTR("Brush"));
    CFDictionarySetValue(properties, CFSTR("Flag"), kCFBooleanTrue);
    AppCenterAnalytics::instance().trackEvent(CFSTR("Paint"), properties);
    CFRelease(properties);

    const QList<QJsonObject> events = select(storedLogs(), QStringLiteral("event"));
    ASSERT_EQ(events.size(), 1);
    EXPECT_EQ(events.first().value(QStringLiteral("name")).toString(), QStringLiteral("Paint"));
    EXPECT_EQ(events.first().value(QStringLiteral("typedProperties")).toArray(),
              (QJsonArray{QJsonObject{{"type", "string"}, {"name", "Tool"}, {"value", "Brush"}}}));
}
