#include "DemoApplication.h"

#include <ZpWidgetsLite/ZpAppDidFinishLaunchingEvent.h>
#include <ZpWidgetsLite/ZpCrashUserInfoEvent.h>

DemoApplication::DemoApplication(int& argc, char** argv)
    : QApplication(argc, argv)
{
}

DemoApplication::~DemoApplication() = default;

bool DemoApplication::event(QEvent* event)
{
    if (event->type() == ZpAppDidFinishLaunchingEvent::kEventType) {
        emit launchFinished();
        return true;
    }
    if (event->type() == ZpCrashUserInfoEvent::kEventType) {
        const auto* info = static_cast<const ZpCrashUserInfoEvent*>(event);
        emit crashUserInfo(info->userId(), info->userName(), info->userEmail());
        return true;
    }
    return QApplication::event(event);
}
