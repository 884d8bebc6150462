// The exported analytics functions: each forwards to the analytics controller
// or the privacy dialog behind the C boundary.
#include "ZpToolboxLite.h"

#include "Analytics/AnalyticsController.h"
#include "Analytics/FeatureTracking.h"
#include "Analytics/QueryImproveProductsDlg.h"
#include "Toolbox/CurrentAnalyticsController.h"
#include "Toolbox/ExportBoundary.h"

namespace {

// The first controller started; nothing reads it, and it is not exported.
AnalyticsController* sCurrentController = nullptr;

AnalyticsController& controllerOf(ZpAnalytics* analytics)
{
    return *reinterpret_cast<AnalyticsController*>(analytics);
}

} // namespace

extern "C" {

ZpAnalytics* ZpAnalyticsCreate(void)
{
    return exportBoundary<ZpAnalytics*>(__func__, nullptr,
                                        [] { return reinterpret_cast<ZpAnalytics*>(new AnalyticsController); });
}

void ZpAnalyticsRelease(ZpAnalytics* analytics)
{
    exportBoundary(__func__, [analytics] { delete reinterpret_cast<AnalyticsController*>(analytics); });
}

void ZpAnalyticsStartup(ZpAnalytics* analytics, CFStringRef product, int productType, int productEditionType)
{
    ZpAnalyticsStartupUserAppDataPath(analytics, product, productType, productEditionType, nullptr);
}

void ZpAnalyticsStartupUserAppDataPath(ZpAnalytics* analytics, CFStringRef product, int productType,
                                       int productEditionType, CFURLRef userAppDataPath)
{
    exportBoundary(__func__, [=] {
        AnalyticsController& controller = controllerOf(analytics);
        controller.startup(product, productType, productEditionType, userAppDataPath);
        if (!sCurrentController)
            sCurrentController = &controller;
    });
}

void ZpAnalyticsShutdown(ZpAnalytics* analytics)
{
    exportBoundary(__func__, [analytics] {
        AnalyticsController& controller = controllerOf(analytics);
        if (sCurrentController == &controller)
            sCurrentController = nullptr;
        controller.stop();
    });
}

int ZpAnalyticsQueryUserPrivacy(ZpAnalytics*, QWidget* parent)
{
    return exportBoundary(__func__, 1, [parent] { return QueryImproveProductsDlg::queryUserPrivacy(parent); });
}

void ZpAnalyticsTrackFeature(ZpAnalytics* analytics, CFStringRef featureCode)
{
    ZpAnalyticsTrackFeatureWithProperties(analytics, featureCode, nullptr);
}

void ZpAnalyticsTrackFeatureWithProperties(ZpAnalytics* analytics, CFStringRef featureCode,
                                           CFDictionaryRef properties)
{
    if (!featureCode)
        return;
    exportBoundary(__func__, [=] { FeatureTracking::track(controllerOf(analytics), featureCode, properties); });
}

void ZpAnalyticsTrackFeatureOncePerRun(ZpAnalytics* analytics, CFStringRef featureCode)
{
    if (!featureCode)
        return;
    exportBoundary(__func__, [=] { FeatureTracking::trackOncePerRun(controllerOf(analytics), featureCode); });
}

void ZpAnalyticsTrackFeatureStart(ZpAnalytics* analytics, CFStringRef featureCode)
{
    ZpAnalyticsTrackFeatureStartWithProperties(analytics, featureCode, nullptr);
}

void ZpAnalyticsTrackFeatureStartWithProperties(ZpAnalytics* analytics, CFStringRef featureCode,
                                                CFDictionaryRef properties)
{
    if (!featureCode)
        return;
    exportBoundary(__func__, [=] { FeatureTracking::start(controllerOf(analytics), featureCode, properties); });
}

void ZpAnalyticsTrackFeatureStop(ZpAnalytics* analytics, CFStringRef featureCode)
{
    ZpAnalyticsTrackFeatureStopWithProperties(analytics, featureCode, nullptr);
}

void ZpAnalyticsTrackFeatureStopWithProperties(ZpAnalytics* analytics, CFStringRef featureCode,
                                               CFDictionaryRef properties)
{
    if (!featureCode)
        return;
    exportBoundary(__func__, [=] { FeatureTracking::stop(controllerOf(analytics), featureCode, properties); });
}

void ZpAnalyticsTrackFeatureValue(ZpAnalytics* analytics, CFStringRef featureCode, int value)
{
    if (!featureCode)
        return;
    exportBoundary(__func__, [=] { FeatureTracking::trackValue(controllerOf(analytics), featureCode, value); });
}

} // extern "C"

AnalyticsController* currentAnalyticsControllerForTesting()
{
    return sCurrentController;
}
