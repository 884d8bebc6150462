#include "DemoAnalytics.h"

#include "CFOwned.h"

#include <ZpToolboxLite.h>

#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include <vector>

namespace {

CFOwned<CFStringRef> cfString(const QString& text)
{
    return CFOwned<CFStringRef>(ZpQtStringUtils::createCFStringRefFromQString(text));
}

// Null for no properties, which the library takes as "none".
CFOwned<CFDictionaryRef> cfDictionary(const QMap<QString, QString>& properties)
{
    if (properties.isEmpty())
        return nullptr;
    // The dictionary retains what it holds; the holders release our references.
    std::vector<CFOwned<CFStringRef>> keys;
    std::vector<CFOwned<CFStringRef>> values;
    std::vector<const void*> keyPointers;
    std::vector<const void*> valuePointers;
    for (auto it = properties.cbegin(); it != properties.cend(); ++it) {
        keys.push_back(cfString(it.key()));
        values.push_back(cfString(it.value()));
        keyPointers.push_back(keys.back().get());
        valuePointers.push_back(values.back().get());
    }
    return CFOwned<CFDictionaryRef>(CFDictionaryCreate(kCFAllocatorDefault, keyPointers.data(), valuePointers.data(),
                                                       CFIndex(keyPointers.size()), &kCFTypeDictionaryKeyCallBacks,
                                                       &kCFTypeDictionaryValueCallBacks));
}

} // namespace

DemoAnalytics::DemoAnalytics()
    : mHandle(ZpAnalyticsCreate())
{
}

DemoAnalytics::~DemoAnalytics()
{
    shutdown();
    ZpAnalyticsRelease(mHandle);
}

bool DemoAnalytics::askPrivacy(QWidget* parent)
{
    return ZpAnalyticsQueryUserPrivacy(mHandle, parent) == 0;
}

void DemoAnalytics::start(CFStringRef product, int productType, int editionType, CFURLRef dataDir)
{
    ZpAnalyticsStartupUserAppDataPath(mHandle, product, productType, editionType, dataDir);
    mStarted = true;
}

bool DemoAnalytics::isStarted() const
{
    return mStarted;
}

bool DemoAnalytics::track(const FeatureStep& step)
{
    if (step.kind == FeatureStep::Kind::Wait)
        return true;
    if (!mStarted)
        return false;
    const CFOwned<CFStringRef> code = cfString(step.code);
    const CFOwned<CFDictionaryRef> properties = cfDictionary(step.properties);
    switch (step.kind) {
    case FeatureStep::Kind::Plain:
        if (properties)
            ZpAnalyticsTrackFeatureWithProperties(mHandle, code.get(), properties.get());
        else
            ZpAnalyticsTrackFeature(mHandle, code.get());
        break;
    case FeatureStep::Kind::Once:
        ZpAnalyticsTrackFeatureOncePerRun(mHandle, code.get());
        break;
    case FeatureStep::Kind::Start:
        if (properties)
            ZpAnalyticsTrackFeatureStartWithProperties(mHandle, code.get(), properties.get());
        else
            ZpAnalyticsTrackFeatureStart(mHandle, code.get());
        break;
    case FeatureStep::Kind::Stop:
        if (properties)
            ZpAnalyticsTrackFeatureStopWithProperties(mHandle, code.get(), properties.get());
        else
            ZpAnalyticsTrackFeatureStop(mHandle, code.get());
        break;
    case FeatureStep::Kind::Value:
        ZpAnalyticsTrackFeatureValue(mHandle, code.get(), step.number);
        break;
    case FeatureStep::Kind::Wait:
        break;
    }
    return true;
}

void DemoAnalytics::shutdown()
{
    if (!mStarted)
        return;
    ZpAnalyticsShutdown(mHandle);
    mStarted = false;
}
