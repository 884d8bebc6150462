#ifndef ZPTOOLBOX_ZPTOOLBOXLITE_H
#define ZPTOOLBOX_ZPTOOLBOXLITE_H

/*
 * ZpToolboxLite: usage analytics and crash reporting for the applications of
 * the family. This is the library's one header for hosts.
 *
 * Conventions:
 *  (1) Plain C functions, usable from C and C++. Texts, property dictionaries
 *      and file locations are CoreFoundation references; the library retains
 *      what it keeps and never modifies a dictionary it is given.
 *  (2) Nothing reports an error: bad input (an unknown product, an invalid or
 *      NULL feature code) is logged through the vendor log and the call
 *      returns normally. No exception leaves the library.
 *  (3) Call everything from the application's GUI thread, after the Qt
 *      application object exists: the dialogs are modal Qt dialogs, and logs
 *      are sent in the background through Qt networking.
 *  (4) Every log is stored on disk first and sent in batches in the
 *      background, at most once a minute; what is not sent goes with the next
 *      run. A log may arrive twice (the same "id"), never not at all, with
 *      two exceptions: while another process holds the same data folder's
 *      store, or when the store cannot be opened (unwritable, damaged), this
 *      process stores and sends nothing.
 *
 * Analytics, in the order a host calls it:
 *
 *     ZpAnalytics* analytics = ZpAnalyticsCreate();
 *     if (ZpAnalyticsQueryUserPrivacy(analytics, mainWindow) == 0) {   optional
 *         ZpAnalyticsStartup(analytics, kZpProductAlpha, 0, 1);
 *         ZpAnalyticsTrackFeature(analytics, kZpAnalyticsLayersModule);
 *         ...
 *         ZpAnalyticsShutdown(analytics);
 *     }
 *     ZpAnalyticsRelease(analytics);
 *
 * Crash reporting: ZpCrashReportStartup early, then post a
 * ZpAppDidFinishLaunchingEvent (from the widget library) to the application
 * object once the main window is shown; the crash reports of earlier runs are
 * offered to the user then. ZpCrashReportShutdown at exit.
 */

#include "ZpAnalyticsFeatureCodes.h"
#include "ZpToolboxLiteExport.h"

#include <CoreFoundation/CoreFoundation.h>
#include <ZpCore/ZpProducts.h> /* kZpProductAlpha ... kZpProductKappa */

#ifdef __cplusplus
#include "ZpToolboxUtils.h"
class QWidget;
extern "C" {
#else
#include <stdbool.h>
typedef struct QWidget QWidget; /* a Qt widget, opaque to C */
#endif

/* An analytics session of one product: opaque, owned by the host. */
typedef struct ZpAnalytics ZpAnalytics;

/* ---- Analytics ---------------------------------------------------------- */

/* A new, unstarted handle; give it back with ZpAnalyticsRelease. */
ZPTOOLBOX_EXPORT ZpAnalytics* ZpAnalyticsCreate(void);
/* Ends features still running (as interrupted) and frees the handle. NULL is ignored. */
ZPTOOLBOX_EXPORT void ZpAnalyticsRelease(ZpAnalytics* analytics);
/* Starts analytics for a product (kZpProductAlpha...) with its type and edition;
 * the data folder is the product's own. May be repeated. */
ZPTOOLBOX_EXPORT void ZpAnalyticsStartup(ZpAnalytics* analytics, CFStringRef product, int productType,
                                         int productEditionType);
/* The same, keeping the data under userAppDataPath (NULL: the product's own folder). */
ZPTOOLBOX_EXPORT void ZpAnalyticsStartupUserAppDataPath(ZpAnalytics* analytics, CFStringRef product, int productType,
                                                        int productEditionType, CFURLRef userAppDataPath);
/* Ends features still running (as interrupted) and forgets the once-per-run
 * codes. The handle may be started again. */
ZPTOOLBOX_EXPORT void ZpAnalyticsShutdown(ZpAnalytics* analytics);
/* Asks the user, in a modal dialog over parent (may be NULL), whether usage
 * data may be sent: 0 when they agreed, 1 otherwise. Nothing is stored. */
ZPTOOLBOX_EXPORT int ZpAnalyticsQueryUserPrivacy(ZpAnalytics* analytics, QWidget* parent);

/* Feature codes: "Name", or "Name.Key.Value" which sends "Name" with the
 * property Key = Value. A NULL code is ignored. */
ZPTOOLBOX_EXPORT void ZpAnalyticsTrackFeature(ZpAnalytics* analytics, CFStringRef featureCode);
/* properties: CFString keys and values, may be NULL. */
ZPTOOLBOX_EXPORT void ZpAnalyticsTrackFeatureWithProperties(ZpAnalytics* analytics, CFStringRef featureCode,
                                                            CFDictionaryRef properties);
/* Sent at most once until the next ZpAnalyticsShutdown. */
ZPTOOLBOX_EXPORT void ZpAnalyticsTrackFeatureOncePerRun(ZpAnalytics* analytics, CFStringRef featureCode);
/* Timed features: code + "Start" now, code + "End" with its time at the stop. */
ZPTOOLBOX_EXPORT void ZpAnalyticsTrackFeatureStart(ZpAnalytics* analytics, CFStringRef featureCode);
ZPTOOLBOX_EXPORT void ZpAnalyticsTrackFeatureStartWithProperties(ZpAnalytics* analytics, CFStringRef featureCode,
                                                                 CFDictionaryRef properties);
ZPTOOLBOX_EXPORT void ZpAnalyticsTrackFeatureStop(ZpAnalytics* analytics, CFStringRef featureCode);
ZPTOOLBOX_EXPORT void ZpAnalyticsTrackFeatureStopWithProperties(ZpAnalytics* analytics, CFStringRef featureCode,
                                                                CFDictionaryRef properties);
/* Sends the code with the property "value". */
ZPTOOLBOX_EXPORT void ZpAnalyticsTrackFeatureValue(ZpAnalytics* analytics, CFStringRef featureCode, int value);

/* ---- Crash reporting ---------------------------------------------------- */

/* Arms crash reporting for a product; userId goes into every report. With
 * alwaysSend, a declined dialog still keeps what the user typed. */
ZPTOOLBOX_EXPORT void ZpCrashReportStartup(CFStringRef userId, CFStringRef product, int productType,
                                           int productEditionType, bool alwaysSend);
/* The same, keeping the crash files under userAppDataPath (NULL: the product's own folder). */
ZPTOOLBOX_EXPORT void ZpCrashReportStartupWithUserAppDataPath(CFStringRef userId, CFStringRef product,
                                                              int productType, int productEditionType,
                                                              bool alwaysSend, CFURLRef userAppDataPath);
/* Disarms crash reporting; a crash handler already installed stays. */
ZPTOOLBOX_EXPORT void ZpCrashReportShutdown(void);
/* Does nothing (the crash reporter merely exists afterwards). */
ZPTOOLBOX_EXPORT void ZpCrashReportAbort(void);
/* Whether the user agreed to send (or always-send was set) in this run's dialog. */
ZPTOOLBOX_EXPORT bool ZpCrashReportDidSendCrashReport(void);
/* Prefill the dialog and the report. */
ZPTOOLBOX_EXPORT void ZpCrashReportSetUserName(CFStringRef name);
ZPTOOLBOX_EXPORT void ZpCrashReportSetUserEmail(CFStringRef email);
/* Ends the process through the C runtime's terminate, to try crash capture. */
ZPTOOLBOX_EXPORT void ZpCrashReportTestCrash(void);
/* Shows the crash dialog over the active main window as if a crash were
 * pending; sends nothing. True when the user agreed. */
ZPTOOLBOX_EXPORT bool ZpCrashReportTestUI(void);

#ifdef __cplusplus
}
#endif

#endif
