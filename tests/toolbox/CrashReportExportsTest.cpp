// The exported crash-reporting functions, through their C names.
#include "ZpToolboxLite.h"

#include "CrashReport/CrashReportController.h"

#include "AppCenterStoreFixture.h"

#include <ZpWidgetsLite/VantroMainWindow.h>
#include <ZpWidgetsLite/ZpAppDidFinishLaunchingEvent.h>

#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QProcess>
#include <QPushButton>
#include <QTest>
#include <QTimer>

namespace {

class CrashReportExports : public AppCenterStoreFixture {
protected:
    void SetUp() override
    {
        AppCenterStoreFixture::SetUp();
        CrashReportController::resetForTesting();
    }
    void TearDown() override
    {
        ZpCrashReportShutdown();
        CrashReportController::resetForTesting();
        AppCenterStoreFixture::TearDown();
    }
};

} // namespace

TEST_F(CrashReportExports, AbortChangesNothing)
{
    ZpCrashReportStartupWithUserAppDataPath(CFSTR("user-1"), kZpProductDelta, 0, 3, false, location());
    ZpCrashReportSetUserName(CFSTR("Zoë"));
    ZpCrashReportSetUserEmail(CFSTR("zoe@example.org"));
    const CrashReportController& controller = CrashReportController::instance();
    CrashReportEventFilter* filter = controller.eventFilter();
    ASSERT_NE(filter, nullptr);
    const QString secret = controller.appSecret();

    ZpCrashReportAbort();
    EXPECT_EQ(controller.userId(), QStringLiteral("user-1"));
    EXPECT_EQ(controller.product(), kZpProductDelta);
    EXPECT_EQ(controller.appSecret(), secret);
    EXPECT_EQ(controller.eventFilter(), filter);
    EXPECT_EQ(controller.userName(), QStringLiteral("Zoë"));
    EXPECT_EQ(controller.userEmail(), QStringLiteral("zoe@example.org"));
    EXPECT_FALSE(ZpCrashReportDidSendCrashReport());
}

TEST_F(CrashReportExports, AbortFirstOnlyMakesTheController)
{
    ZpCrashReportAbort();
    const CrashReportController& controller = CrashReportController::instance();
    EXPECT_TRUE(controller.userId().isEmpty());
    EXPECT_EQ(controller.product(), nullptr);
    EXPECT_EQ(controller.eventFilter(), nullptr);
    EXPECT_FALSE(ZpCrashReportDidSendCrashReport());
}

TEST_F(CrashReportExports, ShutdownWithoutStartupLeavesTheControllerEmpty)
{
    ZpCrashReportShutdown();
    const CrashReportController& controller = CrashReportController::instance();
    EXPECT_EQ(controller.product(), nullptr);
    EXPECT_EQ(controller.eventFilter(), nullptr);
    EXPECT_TRUE(controller.appSecret().isEmpty());
}

TEST_F(CrashReportExports, ShutdownForgetsTheIdentityAndKeepsTheUsersDetails)
{
    ZpCrashReportStartupWithUserAppDataPath(CFSTR("user-1"), kZpProductDelta, 0, 3, false, location());
    ZpCrashReportSetUserName(CFSTR("Ann"));
    ZpCrashReportShutdown();
    const CrashReportController& controller = CrashReportController::instance();
    EXPECT_TRUE(controller.userId().isEmpty());
    EXPECT_TRUE(controller.appSecret().isEmpty());
    EXPECT_TRUE(controller.bundleIdentifier().isEmpty());
    EXPECT_EQ(controller.product(), nullptr);
    EXPECT_EQ(controller.eventFilter(), nullptr);
    EXPECT_EQ(controller.userName(), QStringLiteral("Ann"));
}

TEST_F(CrashReportExports, ARunWithoutPendingCrashesSendsNoReport)
{
    ZpCrashReportStartupWithUserAppDataPath(CFSTR("user-1"), kZpProductDelta, 0, 3, false, location());
    ZpAppDidFinishLaunchingEvent launched(nullptr);
    QCoreApplication::sendEvent(qApp, &launched); // no crash files: no dialog
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
    EXPECT_FALSE(ZpCrashReportDidSendCrashReport());
}

TEST_F(CrashReportExports, TestUIShowsTheDialogOverTheActiveMainWindowAndSendsNothing)
{
    ZpCrashReportStartupWithUserAppDataPath(CFSTR("user-1"), kZpProductDelta, 0, 3, false, location());
    VantroMainWindow window;
    window.show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    QWidget* parent = nullptr;
    QTimer::singleShot(0, [&parent] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        parent = dialog->parentWidget();
        dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();
    });
    EXPECT_TRUE(ZpCrashReportTestUI());
    EXPECT_EQ(parent, &window);
    EXPECT_TRUE(ZpCrashReportDidSendCrashReport());
    EXPECT_TRUE(select(storedLogs(), QStringLiteral("managedError")).isEmpty());
}

TEST(CrashReportTestCrash, EndsTheProcessThroughTerminate)
{
    QProcess child;
    child.start(QStringLiteral(ZP_TEST_CRASH_CHILD), {});
    ASSERT_TRUE(child.waitForFinished(60000));
    EXPECT_EQ(child.exitStatus(), QProcess::CrashExit);
    EXPECT_TRUE(child.readAllStandardOutput().isEmpty());
    EXPECT_TRUE(child.readAllStandardError().contains("terminate called")) << "not the C++ runtime's terminate";
}
