#pragma once

#include <QEvent>
#include <QPointer>
#include <ZpWidgetsLite/ZpWidgetsLiteExport.h>

class QMainWindow;

// Posted by a host application to the application object once its main window
// is up, so that components waiting for the end of the launch can start, e.g.:
//   QCoreApplication::postEvent(qApp, new ZpAppDidFinishLaunchingEvent(window));
// The application takes ownership of a posted event.
class ZPWIDGETSLITE_EXPORT ZpAppDidFinishLaunchingEvent : public QEvent {
public:
    // Registered with QEvent::registerEventType when the library loads; the same
    // number for the whole process.
    static const QEvent::Type kEventType;

    explicit ZpAppDidFinishLaunchingEvent(QMainWindow* mainWindow);
    ~ZpAppDidFinishLaunchingEvent() override;

    // The host's main window; null if the host passed none or the window has
    // been destroyed since the event was posted.
    QMainWindow* mainWindow() const;

private:
    QPointer<QMainWindow> mMainWindow;
};
