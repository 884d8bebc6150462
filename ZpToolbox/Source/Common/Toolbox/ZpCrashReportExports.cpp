// The exported crash-reporting functions: each acts on the one crash report
// controller of the process, made by whichever is called first.
#include "ZpToolboxLite.h"

#include "CrashReport/CrashReportController.h"
#include "Toolbox/ExportBoundary.h"

#include <ZpQtCoreLite/ZpQtStringUtils.h>
#include <ZpWidgetsLite/VantroMainWindow.h>

#include <QMainWindow>
#include <exception>

extern "C" {

void ZpCrashReportStartup(CFStringRef userId, CFStringRef product, int productType, int productEditionType,
                          bool alwaysSend)
{
    ZpCrashReportStartupWithUserAppDataPath(userId, product, productType, productEditionType, alwaysSend, nullptr);
}

void ZpCrashReportStartupWithUserAppDataPath(CFStringRef userId, CFStringRef product, int productType,
                                             int productEditionType, bool alwaysSend, CFURLRef userAppDataPath)
{
    exportBoundary(__func__, [=] {
        CrashReportController::instance().startup(userId, product, productType, productEditionType, alwaysSend,
                                                  userAppDataPath);
    });
}

void ZpCrashReportShutdown(void)
{
    exportBoundary(__func__, [] { CrashReportController::instance().shutdown(); });
}

void ZpCrashReportAbort(void)
{
    exportBoundary(__func__, [] { CrashReportController::instance(); });
}

bool ZpCrashReportDidSendCrashReport(void)
{
    return exportBoundary(__func__, false, [] { return CrashReportController::instance().didSend(); });
}

void ZpCrashReportSetUserName(CFStringRef name)
{
    exportBoundary(__func__, [name] {
        CrashReportController::instance().setUserName(ZpQtStringUtils::createQStringFromCFStringRef(name));
    });
}

void ZpCrashReportSetUserEmail(CFStringRef email)
{
    exportBoundary(__func__, [email] {
        CrashReportController::instance().setUserEmail(ZpQtStringUtils::createQStringFromCFStringRef(email));
    });
}

void ZpCrashReportTestCrash(void)
{
    exportBoundary(__func__, [] { CrashReportController::instance(); });
    std::terminate();
}

bool ZpCrashReportTestUI(void)
{
    return exportBoundary(__func__, false, [] {
        CrashReportController& controller = CrashReportController::instance();
        controller.setParentWidget(qobject_cast<QMainWindow*>(VantroMainWindow::activeWindow()));
        return controller.askUser();
    });
}

} // extern "C"
