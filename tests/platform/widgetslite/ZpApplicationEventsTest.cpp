#include <ZpWidgetsLite/ZpAppDidFinishLaunchingEvent.h>
#include <ZpWidgetsLite/ZpCrashUserInfoEvent.h>

#include <QApplication>
#include <QMainWindow>
#include <memory>
#include <gtest/gtest.h>

namespace {

// Records the custom events that reach the application object.
class EventRecorder : public QObject {
public:
    QList<QEvent::Type> types;
    QMainWindow* launchWindow = nullptr;
    QString userId, userName, userEmail;

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (watched != qApp)
            return false;
        if (event->type() == ZpAppDidFinishLaunchingEvent::kEventType) {
            types << event->type();
            launchWindow = static_cast<ZpAppDidFinishLaunchingEvent*>(event)->mainWindow();
        } else if (event->type() == ZpCrashUserInfoEvent::kEventType) {
            types << event->type();
            auto* info = static_cast<ZpCrashUserInfoEvent*>(event);
            userId = info->userId();
            userName = info->userName();
            userEmail = info->userEmail();
        }
        return false;
    }
};

} // namespace

TEST(ZpApplicationEvents, TypesAreRegisteredUserTypesAndDistinct)
{
    EXPECT_GE(int(ZpAppDidFinishLaunchingEvent::kEventType), int(QEvent::User));
    EXPECT_LE(int(ZpAppDidFinishLaunchingEvent::kEventType), int(QEvent::MaxUser));
    EXPECT_GE(int(ZpCrashUserInfoEvent::kEventType), int(QEvent::User));
    EXPECT_NE(ZpAppDidFinishLaunchingEvent::kEventType, ZpCrashUserInfoEvent::kEventType);
    // A registration made later by anybody else gets another number.
    EXPECT_NE(QEvent::registerEventType(), int(ZpAppDidFinishLaunchingEvent::kEventType));
}

TEST(ZpAppDidFinishLaunchingEvent, CarriesTheMainWindowThroughThePostedEventQueue)
{
    QMainWindow window;
    EventRecorder recorder;
    qApp->installEventFilter(&recorder);
    QCoreApplication::postEvent(qApp, new ZpAppDidFinishLaunchingEvent(&window));
    EXPECT_TRUE(recorder.types.isEmpty()); // posted, not sent
    QCoreApplication::sendPostedEvents(qApp);
    qApp->removeEventFilter(&recorder);
    ASSERT_EQ(recorder.types.size(), 1);
    EXPECT_EQ(recorder.types.first(), ZpAppDidFinishLaunchingEvent::kEventType);
    EXPECT_EQ(recorder.launchWindow, &window);
}

TEST(ZpAppDidFinishLaunchingEvent, MainWindowBecomesNullWhenTheWindowIsGone)
{
    auto window = std::make_unique<QMainWindow>();
    ZpAppDidFinishLaunchingEvent event(window.get());
    EXPECT_EQ(event.type(), ZpAppDidFinishLaunchingEvent::kEventType);
    EXPECT_EQ(event.mainWindow(), window.get());
    window.reset();
    EXPECT_EQ(event.mainWindow(), nullptr);
    EXPECT_EQ(ZpAppDidFinishLaunchingEvent(nullptr).mainWindow(), nullptr);
}

TEST(ZpCrashUserInfoEvent, CarriesTheUserDetails)
{
    EventRecorder recorder;
    qApp->installEventFilter(&recorder);
    QCoreApplication::postEvent(qApp,
        new ZpCrashUserInfoEvent(QStringLiteral("u-17"), QStringLiteral("Zoë Ångström"), QStringLiteral("zoe@example.org")));
    QCoreApplication::sendPostedEvents(qApp);
    qApp->removeEventFilter(&recorder);
    ASSERT_EQ(recorder.types.size(), 1);
    EXPECT_EQ(recorder.types.first(), ZpCrashUserInfoEvent::kEventType);
    EXPECT_EQ(recorder.userId, QStringLiteral("u-17"));
    EXPECT_EQ(recorder.userName, QStringLiteral("Zoë Ångström"));
    EXPECT_EQ(recorder.userEmail, QStringLiteral("zoe@example.org"));
}
