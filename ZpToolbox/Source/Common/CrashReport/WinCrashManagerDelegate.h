#pragma once

#include "CrashReport/ErrorAttachment.h"
#include "CrashReport/MSCrashesDelegate.h"
#include "CrashReport/MSErrorReport.h"

#include <QList>

class Crashes;

// The crash workflow's answers to the "Crashes" service: every pending report
// is sent, each with two files made by CrashReportController at the moment of
// sending: the product's log and the crash description.
//
// Stateless. Crashes owns it (CrashReportController hands it over at service
// start) and calls it on the GUI thread.
class WinCrashManagerDelegate : public MSCrashesDelegate {
public:
    WinCrashManagerDelegate();
    ~WinCrashManagerDelegate() override;

    // Always true.
    bool shouldProcessErrorReport(Crashes& crashes, const MSErrorReport& report) override;
    // "<product>.<crash time>.log" (the product log, empty when there is none)
    // then "<product>.<crash time>.txt" (the description). The crash time is in
    // UTC as "yyyy-MM-dd_hh-mm-ssZ"; two reports differ only in it.
    QList<ErrorAttachment> attachmentsForErrorReport(Crashes& crashes, const MSErrorReport& report) override;
};
