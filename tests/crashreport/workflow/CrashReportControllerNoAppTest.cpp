// CrashReportController in a process without an application object: start-up
// records the identity but cannot arm, and shutdown still works.
#include "CrashReport/CrashReportController.h"

#include <ZpCore/ZpProducts.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include <QCoreApplication>
#include <QTemporaryDir>
#include <gtest/gtest.h>

TEST(CrashReportControllerWithoutApplication, StartupRecordsTheIdentityButStaysUnarmed)
{
    ASSERT_EQ(QCoreApplication::instance(), nullptr);
    // A folder of its own: without the application's test mode, the product's
    // default folder would be the user's real one.
    QTemporaryDir folder;
    ASSERT_TRUE(folder.isValid());
    CFStringRef path = ZpQtStringUtils::createCFStringRefFromQString(folder.path());
    CFURLRef location = CFURLCreateWithFileSystemPath(kCFAllocatorDefault, path, kCFURLPOSIXPathStyle, true);
    CFRelease(path);

    CrashReportController& controller = CrashReportController::instance();
    controller.startup(CFSTR("user-7"), kZpProductAlpha, 0, 1, false, location);
    EXPECT_EQ(controller.userId(), QStringLiteral("user-7"));
    EXPECT_FALSE(controller.appSecret().isEmpty());
    EXPECT_FALSE(controller.bundleIdentifier().isEmpty());
    EXPECT_EQ(controller.eventFilter(), nullptr);

    controller.shutdown();
    EXPECT_TRUE(controller.userId().isEmpty());
    EXPECT_EQ(controller.product(), nullptr);
    CrashReportController::resetForTesting();
    CFRelease(location);
}
