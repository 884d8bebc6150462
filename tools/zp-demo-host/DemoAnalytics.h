#pragma once

#include "FeatureStep.h"

#include <CoreFoundation/CoreFoundation.h>

class QWidget;
typedef struct ZpAnalytics ZpAnalytics;

// The host's analytics session: one ZpAnalytics handle from construction to
// destruction, started only once the user agreed. Steps tracked while it is
// not started go nowhere, as a product must not send usage data without
// consent.
//
// GUI thread only, like the library's functions.
class DemoAnalytics {
public:
    DemoAnalytics();
    // Shuts down (ending timed features still running as interrupted) and
    // releases the handle.
    ~DemoAnalytics();
    DemoAnalytics(const DemoAnalytics&) = delete;
    DemoAnalytics& operator=(const DemoAnalytics&) = delete;

    // Shows the library's privacy question over `parent` and blocks until it
    // is answered; true when the user agreed.
    bool askPrivacy(QWidget* parent);
    // `product` is one of the product constants; `dataDir` may be null (the
    // product's own folder). Neither is kept by this object.
    void start(CFStringRef product, int productType, int editionType, CFURLRef dataDir);
    bool isStarted() const;
    // False when the step was not sent because analytics is off. Wait steps
    // are not tracking and return true without doing anything.
    bool track(const FeatureStep& step);
    void shutdown();

private:
    ZpAnalytics* mHandle = nullptr;
    bool mStarted = false;
};
