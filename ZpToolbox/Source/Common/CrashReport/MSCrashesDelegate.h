#pragma once

#include "CrashReport/ErrorAttachment.h"
#include "CrashReport/MSErrorReport.h"

#include <QList>

class Crashes;

// What the crash workflow decides for each pending report. Crashes owns its
// delegate and calls it on the thread that sends (the GUI thread).
class MSCrashesDelegate {
public:
    virtual ~MSCrashesDelegate();
    // False skips the report; its files are deleted with the others all the same.
    virtual bool shouldProcessErrorReport(Crashes& crashes, const MSErrorReport& report) = 0;
    // Files to send with the report, after its minidump.
    virtual QList<ErrorAttachment> attachmentsForErrorReport(Crashes& crashes, const MSErrorReport& report) = 0;
};
