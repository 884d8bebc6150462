#include "CrashReport/CrashReportEventFilter.h"

#include "CrashReport/CrashReportController.h"

#include <ZpWidgetsLite/ZpAppDidFinishLaunchingEvent.h>

#include <QCoreApplication>
#include <QEvent>
#include <QMainWindow>

CrashReportEventFilter::CrashReportEventFilter(QObject* parent)
    : QObject(parent)
{
}

CrashReportEventFilter::~CrashReportEventFilter() = default;

bool CrashReportEventFilter::eventFilter(QObject* watched, QEvent* event)
{
    // Installed on the application object, the filter sees the events of
    // every object of the thread; only the application's own launch event counts.
    if (watched != QCoreApplication::instance())
        return false;
    if (event->type() != ZpAppDidFinishLaunchingEvent::kEventType)
        return false;
    CrashReportController& controller = CrashReportController::instance();
    controller.setParentWidget(static_cast<ZpAppDidFinishLaunchingEvent*>(event)->mainWindow());
    controller.startService();
    return false;
}
