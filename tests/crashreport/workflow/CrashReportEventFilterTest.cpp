// CrashReportEventFilter: only the application's own launch event starts the
// service; every event goes on to its receiver; the filter stays for the next.
#include "WorkflowFixture.h"

#include "AppCenter/AppCenter.h"
#include "CrashReport/CrashReportEventFilter.h"
#include "CrashReport/Crashes.h"

#include <ZpWidgetsLite/ZpAppDidFinishLaunchingEvent.h>

#include <QCoreApplication>
#include <QEvent>
#include <QMainWindow>
#include <gtest/gtest.h>

namespace {

// Counts the launch events that reach it.
class LaunchRecorder : public QObject {
public:
    int received = 0;

    bool event(QEvent* event) override
    {
        if (event->type() == ZpAppDidFinishLaunchingEvent::kEventType) {
            ++received;
            return true;
        }
        return QObject::event(event);
    }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (watched == QCoreApplication::instance() && event->type() == ZpAppDidFinishLaunchingEvent::kEventType)
            ++received;
        return false;
    }
};

class CrashReportEventFilterTest : public WorkflowFixture {
protected:
    static bool serviceStarted() { return !Crashes::instance().crashesDirectory().isEmpty(); }
};

} // namespace

TEST_F(CrashReportEventFilterTest, TheApplicationsLaunchEventStartsTheServiceWithTheMainWindowAsParent)
{
    startAlpha();
    QMainWindow window;
    ZpAppDidFinishLaunchingEvent launch(&window);
    CrashReportEventFilter filter;
    EXPECT_FALSE(filter.eventFilter(QCoreApplication::instance(), &launch));
    EXPECT_TRUE(serviceStarted());
    EXPECT_EQ(controller().parentWidget(), &window);
}

TEST_F(CrashReportEventFilterTest, TheLaunchEventOfAnotherObjectIsLeftAlone)
{
    startAlpha();
    QMainWindow window;
    ZpAppDidFinishLaunchingEvent launch(&window);
    CrashReportEventFilter filter;
    QObject other;
    EXPECT_FALSE(filter.eventFilter(&other, &launch));
    EXPECT_FALSE(serviceStarted());
    EXPECT_EQ(controller().parentWidget(), nullptr);

    // Through the application: the other object still gets its event.
    LaunchRecorder receiver;
    QCoreApplication::postEvent(&receiver, new ZpAppDidFinishLaunchingEvent(&window));
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(receiver.received, 1);
    EXPECT_FALSE(serviceStarted());
}

TEST_F(CrashReportEventFilterTest, OtherEventsOfTheApplicationAreLeftAlone)
{
    startAlpha();
    CrashReportEventFilter filter;
    QEvent user(QEvent::User);
    EXPECT_FALSE(filter.eventFilter(QCoreApplication::instance(), &user));
    QEvent other(static_cast<QEvent::Type>(QEvent::registerEventType()));
    EXPECT_FALSE(filter.eventFilter(QCoreApplication::instance(), &other));
    EXPECT_FALSE(serviceStarted());

    QCoreApplication::postEvent(QCoreApplication::instance(), new QEvent(QEvent::User));
    QCoreApplication::sendPostedEvents();
    EXPECT_FALSE(serviceStarted());
}

TEST_F(CrashReportEventFilterTest, TheLaunchEventGoesOnToTheApplication)
{
    // Filters installed later run first: this one sees what the crash filter let through.
    LaunchRecorder later;
    QCoreApplication::instance()->installEventFilter(&later);
    startAlpha();
    announceLaunch();
    QCoreApplication::instance()->removeEventFilter(&later);
    EXPECT_TRUE(serviceStarted());
    EXPECT_EQ(later.received, 1);
}

TEST_F(CrashReportEventFilterTest, StaysInstalledSoASecondLaunchStartsTheServiceAgain)
{
    startAlpha();
    QMainWindow first;
    QMainWindow second;
    announceLaunch(&first);
    EXPECT_EQ(controller().parentWidget(), &first);
    CrashReportEventFilter* filter = controller().eventFilter();
    announceLaunch(&second);
    EXPECT_EQ(controller().eventFilter(), filter);
    EXPECT_EQ(controller().parentWidget(), &second);
    // Each start of the service stores its "startService" log.
    EXPECT_EQ(select(storedLogs(), QStringLiteral("startService")).size(), 2);
}

TEST_F(CrashReportEventFilterTest, ALaunchWithoutMainWindowLeavesTheDialogWithoutParent)
{
    startAlpha();
    QMainWindow window;
    controller().setParentWidget(&window);
    announceLaunch(nullptr);
    EXPECT_EQ(controller().parentWidget(), nullptr);
}
