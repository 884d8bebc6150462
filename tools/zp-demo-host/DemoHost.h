#pragma once

#include "CFOwned.h"
#include "DemoAnalytics.h"
#include "DemoOptions.h"
#include "DialogAutoAnswer.h"
#include "FeatureStep.h"
#include "ScreenshotWriter.h"

#include <QList>
#include <QObject>
#include <memory>

class DemoApplication;
class DemoWindow;

// One run of the demo, in the order a product runs the library:
//
//   start()            crash reporting armed with the product identity, the
//                      main window shown
//   (event loop)       the privacy question; analytics started if agreed;
//                      ZpAppDidFinishLaunchingEvent posted to the application
//   launch finished    the library's crash service has started (and asked
//                      about earlier crashes); the scripted features run, then
//                      the scripted crash or the timed quit
//   destructor         analytics shut down and released, crash reporting shut
//                      down
//
// Everything it does is also written to the vendor log (standard error and
// the product log file), one line per action, written through at once so that
// nothing is lost when the run ends in a crash.
//
// GUI thread only.
class DemoHost : public QObject {
    Q_OBJECT

public:
    // `script` comes from FeatureStep::parseScript(options.features).
    DemoHost(const DemoOptions& options, const QList<FeatureStep>& script, DemoApplication& app);
    ~DemoHost() override;

    void start();

private:
    void askPrivacyAndLaunch();
    void onLaunchFinished();
    void onCrashUserInfo(const QString& userId, const QString& userName, const QString& userEmail);
    void runStepsFrom(int index);
    void onScriptFinished();
    void track(const FeatureStep& step);
    void crash(DemoOptions::CrashKind kind);
    void showCrashDialog();
    void updateSummary();
    void say(const QString& line);

    DemoOptions mOptions;
    QList<FeatureStep> mScript;
    CFOwned<CFStringRef> mUserId;
    CFOwned<CFURLRef> mDataDir; // null: the product's own folder
    ScreenshotWriter mScreenshots;
    DemoAnalytics mAnalytics;
    std::unique_ptr<DemoWindow> mWindow;
    DialogAutoAnswer mAutoAnswer;
    bool mCrashReportingStarted = false;
};
