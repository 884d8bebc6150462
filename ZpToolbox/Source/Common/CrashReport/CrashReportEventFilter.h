#pragma once

#include <QObject>

class QEvent;

// Waits on the application object for the host's "finished launching" event
// (ZpAppDidFinishLaunchingEvent) and then starts the crash service through
// CrashReportController, with the host's main window as the parent of the
// crash dialog. It watches and never consumes: every event goes on to its
// receiver. It stays installed, so each such event starts the service again.
//
// Made, installed and destroyed by CrashReportController. GUI thread only;
// the crash dialog may run modally inside eventFilter().
class CrashReportEventFilter : public QObject {
    Q_OBJECT

public:
    explicit CrashReportEventFilter(QObject* parent = nullptr);
    ~CrashReportEventFilter() override;

    // Always false.
    bool eventFilter(QObject* watched, QEvent* event) override;
};
