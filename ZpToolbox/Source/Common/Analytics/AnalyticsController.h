#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <ZpCore/ZpString.h>

#include <QElapsedTimer>
#include <QMap>
#include <QString>
#include <cstdint>

// The object behind an analytics handle: the host product's identity, its
// App Center app secret, and the containers feature tracking works on.
// Startup brings up the shared App Center client with the "Analytics"
// service and sends the description of the machine; stop closes the features
// still running.
//
// Not thread-safe: one thread at a time per controller (the host's GUI
// thread). Several controllers may exist; they share the App Center client.
class AnalyticsController {
public:
    AnalyticsController();
    // Stops, then releases the product and the location.
    virtual ~AnalyticsController();
    AnalyticsController(const AnalyticsController&) = delete;
    AnalyticsController& operator=(const AnalyticsController&) = delete;

    // `product` and `userAppDataPath` are retained (either may be null; a
    // null location means the product's default one).
    void startup(CFStringRef product, int32_t productType, int32_t productEditionType, CFURLRef userAppDataPath);
    // Sends an interrupted end event for every started feature and forgets
    // the started features and the once-per-run counts.
    void stop();

    int32_t verbosity() const;
    CFStringRef product() const;
    int32_t productType() const;
    int32_t productEditionType() const;
    CFURLRef userAppDataPath() const;
    QString appSecret() const;

    // Tests only: the library itself never raises the verbosity.
    void setVerbosityForTesting(int32_t verbosity);

    QMap<ZpString, int32_t>& oncePerRunCounts();
    QMap<ZpString, QElapsedTimer>& startedFeatureTimers();

private:
    void lookUpAppSecret();
    void startAppCenter();

    int32_t mVerbosity = 0; // nothing in the library raises it
    CFStringRef mProduct = nullptr;
    int32_t mProductType = 0;
    int32_t mProductEditionType = 0;
    CFURLRef mUserAppDataPath = nullptr;
    QString mAppSecret;
    QMap<ZpString, int32_t> mOncePerRunCounts;
    QMap<ZpString, QElapsedTimer> mStartedFeatureTimers;
};
