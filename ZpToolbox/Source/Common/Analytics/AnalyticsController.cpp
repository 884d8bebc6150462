#include "Analytics/AnalyticsController.h"

#include "Analytics/AnalyticsLog.h"
#include "Analytics/CrashAppIdentiferMap.h"
#include "Analytics/FeatureTracking.h"
#include "Analytics/SystemProperties.h"
#include "AppCenter/AppCenter.h"
#include "Toolbox/CFReferences.h"

#include <ZpQtCoreLite/ZpQtStringUtils.h>

AnalyticsController::AnalyticsController() = default;

AnalyticsController::~AnalyticsController()
{
    stop();
    releaseInto(&mProduct);
    releaseInto(&mUserAppDataPath);
}

void AnalyticsController::startup(CFStringRef product, int32_t productType, int32_t productEditionType,
                                  CFURLRef userAppDataPath)
{
    retainInto(&mProduct, product);
    keepUserAppDataPath(&mUserAppDataPath, userAppDataPath, mProduct);
    mProductType = productType;
    mProductEditionType = productEditionType;
    if (mVerbosity >= 1)
        AnalyticsLog::info(CFSTR("Start"));

    lookUpAppSecret();
    startAppCenter();
    AppCenter::instance().startService(QStringLiteral("Analytics"));
    SystemProperties::send(this);
}

void AnalyticsController::lookUpAppSecret()
{
    // A miss is logged by the table and leaves the secret as it was.
    const CFStringRef secret = crashAppIdentiferMap().findAppSecret(mProduct, mProductType, mProductEditionType,
                                                                    CrashAppIdentiferMap::kLookupVariant);
    if (secret)
        mAppSecret = ZpQtStringUtils::createQStringFromCFStringRef(secret);
}

void AnalyticsController::startAppCenter()
{
    if (AppCenter::instance().queue())
        return; // the first service to start configured the client for the process
    const QString storage = mUserAppDataPath
        ? ZpQtStringUtils::createQStringFileSystemRepresentationFromCFUrlRef(mUserAppDataPath)
        : QString();
    AppCenter::start(mAppSecret, storage);
}

void AnalyticsController::stop()
{
    if (mVerbosity >= 1)
        AnalyticsLog::info(CFSTR("Stop"));
    for (auto it = mStartedFeatureTimers.cbegin(); it != mStartedFeatureTimers.cend(); ++it)
        FeatureTracking::sendInterruptedEnd(it.key().cfString(), it.value().elapsed());
    mStartedFeatureTimers.clear();
    mOncePerRunCounts.clear();
}

int32_t AnalyticsController::verbosity() const
{
    return mVerbosity;
}

CFStringRef AnalyticsController::product() const
{
    return mProduct;
}

int32_t AnalyticsController::productType() const
{
    return mProductType;
}

int32_t AnalyticsController::productEditionType() const
{
    return mProductEditionType;
}

CFURLRef AnalyticsController::userAppDataPath() const
{
    return mUserAppDataPath;
}

QString AnalyticsController::appSecret() const
{
    return mAppSecret;
}

void AnalyticsController::setVerbosityForTesting(int32_t verbosity)
{
    mVerbosity = verbosity;
}

QMap<ZpString, int32_t>& AnalyticsController::oncePerRunCounts()
{
    return mOncePerRunCounts;
}

QMap<ZpString, QElapsedTimer>& AnalyticsController::startedFeatureTimers()
{
    return mStartedFeatureTimers;
}
