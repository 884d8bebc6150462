// A host process for the security tests, driven through the exported C
// functions as a product would drive them:
//
//   security_host analytics <data folder> <events> <padding>
//       starts analytics for the app manager product on the folder, tracks
//       <events> features (each with a property of <padding> characters),
//       lets the send tasks finish and ends normally;
//   security_host crash <data folder> none|segv [ignored...]
//       arms crash reporting on the folder, announces the end of the launch
//       (which starts the "Crashes" service) and ends normally or by a null
//       write. Extra arguments are ignored: tests put markers there.
//
// Before it ends it prints what it saw on one line, "key=value" pairs:
// queue=0|1 database=0|1 secret=<app secret> crashes=<folder> json=<path>.
// The secret is printed only so that the test can look for it elsewhere; the
// product itself never prints it.
#include "ZpToolboxLite.h"

#include "Analytics/AnalyticsController.h"
#include "AppCenter/AppCenter.h"
#include "AppCenter/AppCenterQueue.h"
#include "CrashReport/Crashes.h"
#include "CrashReport/CrashReportController.h"

#include <ZpQtCoreLite/ZpQtStringUtils.h>
#include <ZpWidgetsLite/ZpAppDidFinishLaunchingEvent.h>

#include <QApplication>
#include <QThreadPool>
#include <cstdio>

namespace {

CFURLRef createFolderUrl(const QString& path)
{
    CFStringRef text = ZpQtStringUtils::createCFStringRefFromQString(path);
    CFURLRef url = CFURLCreateWithFileSystemPath(kCFAllocatorDefault, text, kCFURLPOSIXPathStyle, true);
    CFRelease(text);
    return url;
}

void report(const QString& secret)
{
    const std::shared_ptr<AppCenterQueue> queue = AppCenter::instance().queue();
    std::printf("queue=%d database=%d secret=%s crashes=%s json=%s\n", queue ? 1 : 0,
                queue && queue->hasDatabase() ? 1 : 0, qPrintable(secret),
                qPrintable(Crashes::instance().crashesDirectory()), qPrintable(Crashes::instance().crashJsonPath()));
    std::fflush(stdout);
}

// Kept from UndefinedBehaviorSanitizer in a sanitizer build: it would end the
// process with its own report before the crash handler sees the fault.
[[gnu::noinline]] __attribute__((no_sanitize("undefined"))) void crashByNullWrite()
{
    volatile int* volatile target = nullptr;
    *target = 1;
}

int runAnalytics(const QString& folder, int events, int padding)
{
    CFURLRef url = createFolderUrl(folder);
    ZpAnalytics* analytics = ZpAnalyticsCreate();
    ZpAnalyticsStartupUserAppDataPath(analytics, kZpProductAlpha, 0, 1, url);
    CFStringRef value = ZpQtStringUtils::createCFStringRefFromQString(QString(padding, QLatin1Char('p')));
    CFMutableDictionaryRef properties = CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                                  &kCFTypeDictionaryValueCallBacks);
    CFDictionarySetValue(properties, CFSTR("Padding"), value);
    for (int i = 0; i < events; ++i)
        ZpAnalyticsTrackFeatureWithProperties(analytics, CFSTR("SecurityProbe"), properties);
    CFRelease(properties);
    CFRelease(value);
    QThreadPool::globalInstance()->waitForDone();
    report(reinterpret_cast<AnalyticsController*>(analytics)->appSecret());
    ZpAnalyticsRelease(analytics);
    CFRelease(url);
    return 0;
}

int runCrash(const QString& folder, const QString& mode)
{
    CFURLRef url = createFolderUrl(folder);
    ZpCrashReportStartupWithUserAppDataPath(CFSTR("security-user"), kZpProductAlpha, 0, 1, false, url);
    CFRelease(url);
    ZpAppDidFinishLaunchingEvent launched(nullptr);
    QCoreApplication::sendEvent(qApp, &launched);
    report(CrashReportController::instance().appSecret());
    if (mode == QLatin1String("segv"))
        crashByNullWrite();
    QThreadPool::globalInstance()->waitForDone();
    ZpCrashReportShutdown();
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() == 5 && args.at(1) == QLatin1String("analytics"))
        return runAnalytics(args.at(2), args.at(3).toInt(), args.at(4).toInt());
    if (args.size() >= 4 && args.at(1) == QLatin1String("crash"))
        return runCrash(args.at(2), args.at(3));
    std::fprintf(stderr, "usage: security_host analytics <folder> <events> <padding> | crash <folder> none|segv\n");
    return 2;
}
