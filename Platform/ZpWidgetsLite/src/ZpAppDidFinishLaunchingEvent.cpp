#include <ZpWidgetsLite/ZpAppDidFinishLaunchingEvent.h>

#include <QMainWindow>

const QEvent::Type ZpAppDidFinishLaunchingEvent::kEventType =
    static_cast<QEvent::Type>(QEvent::registerEventType());

ZpAppDidFinishLaunchingEvent::ZpAppDidFinishLaunchingEvent(QMainWindow* mainWindow)
    : QEvent(kEventType)
    , mMainWindow(mainWindow)
{
}

ZpAppDidFinishLaunchingEvent::~ZpAppDidFinishLaunchingEvent() = default;

QMainWindow* ZpAppDidFinishLaunchingEvent::mainWindow() const
{
    return mMainWindow.data();
}
