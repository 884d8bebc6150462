#include "Analytics/FeatureTracking.h"

#include "Analytics/AnalyticsController.h"
#include "Analytics/AnalyticsLog.h"
#include "Analytics/TrackingObjectFactory.h"
#include "AppCenter/AppCenterAnalytics.h"
#include "Toolbox/CFReferences.h"

#include <ZpCore/ZpString.h>

namespace {

// Positions of every '.' in `code`.
QList<CFIndex> dotPositions(CFStringRef code)
{
    QList<CFIndex> dots;
    const CFIndex length = CFStringGetLength(code);
    for (CFIndex i = 0; i < length; ++i) {
        if (CFStringGetCharacterAtIndex(code, i) == u'.')
            dots << i;
    }
    return dots;
}

CFStringRef newSignedText(long long value)
{
    return CFStringCreateWithFormat(kCFAllocatorDefault, nullptr, CFSTR("%lld"), value);
}

CFStringRef newUnsignedText(unsigned long long value)
{
    return CFStringCreateWithFormat(kCFAllocatorDefault, nullptr, CFSTR("%llu"), value);
}

void send(CFStringRef name, CFDictionaryRef properties)
{
    AppCenterAnalytics::instance().trackEvent(name, properties);
}

} // namespace

int FeatureTracking::checkCode(CFStringRef code)
{
    const QList<CFIndex> dots = dotPositions(code);
    if (dots.size() == 1) {
        AnalyticsLog::warning(CFSTR("WARNING feature code '%@' should have none or more than one '.'"), code);
        return kInvalidCode;
    }
    // Only the two-dot form is tested for a trailing dot; with three or more
    // dots a trailing one simply ends the value.
    if (dots.size() == 2 && dots.last() == CFStringGetLength(code) - 1) {
        AnalyticsLog::warning(CFSTR("WARNING feature code '%@' should not end with a '.'"), code);
        return kInvalidCode;
    }
    return kValidCode;
}

void FeatureTracking::track(AnalyticsController& controller, CFStringRef code, CFDictionaryRef properties)
{
    if (!code || checkCode(code) != kValidCode)
        return;
    if (dotPositions(code).isEmpty())
        send(code, properties);
    else
        trackDotted(code, properties);
    if (controller.verbosity() >= 2)
        AnalyticsLog::info(CFSTR("Track Feature: %@"), code);
}

void FeatureTracking::trackDotted(CFStringRef code, CFDictionaryRef properties)
{
    const TrackingObjectFactory& factory = TrackingObjectFactory::current();
    CFOwned<CFArrayRef> pieces(factory.separate(kCFAllocatorDefault, code, CFSTR(".")));
    CFOwned<CFStringRef> name(pieces && CFArrayGetCount(pieces.get()) > 0
                                ? factory.copy(kCFAllocatorDefault,
                                               static_cast<CFStringRef>(CFArrayGetValueAtIndex(pieces.get(), 0)))
                                : nullptr);
    if (!name) {
        AnalyticsLog::internalFailure(154);
        return;
    }
    CFOwned<CFMutableDictionaryRef> dotted(dottedProperties(code, properties));
    if (!dotted) {
        AnalyticsLog::internalFailure(157);
        return;
    }
    send(name.get(), dotted.get());
}

CFMutableDictionaryRef FeatureTracking::dottedProperties(CFStringRef code, CFDictionaryRef properties)
{
    const QList<CFIndex> dots = dotPositions(code);
    if (dots.size() < 2) {
        AnalyticsLog::internalFailure(327);
        return nullptr;
    }
    const TrackingObjectFactory& factory = TrackingObjectFactory::current();
    const CFIndex first = dots.at(0);
    const CFIndex second = dots.at(1);
    CFOwned<CFStringRef> key(factory.substring(kCFAllocatorDefault, code, CFRangeMake(first + 1, second - first - 1)));
    if (!key) {
        AnalyticsLog::internalFailure(340);
        return nullptr;
    }
    CFOwned<CFStringRef> value(
        factory.substring(kCFAllocatorDefault, code, CFRangeMake(second + 1, CFStringGetLength(code) - second - 1)));
    if (!value) {
        AnalyticsLog::internalFailure(343);
        return nullptr;
    }
    CFMutableDictionaryRef result = factory.copyOrCreate(properties);
    if (!result) {
        AnalyticsLog::internalFailure(349);
        return nullptr;
    }
    CFDictionarySetValue(result, key.get(), value.get());
    return result;
}

void FeatureTracking::trackOncePerRun(AnalyticsController& controller, CFStringRef code)
{
    if (!code || checkCode(code) != kValidCode)
        return;
    QMap<ZpString, int32_t>& counts = controller.oncePerRunCounts();
    const ZpString key(code);
    const auto found = counts.find(key);
    if (found == counts.end()) {
        track(controller, code, nullptr);
        counts.insert(key, 1);
    } else {
        ++found.value();
    }
}

void FeatureTracking::start(AnalyticsController& controller, CFStringRef code, CFDictionaryRef properties)
{
    if (!code || checkCode(code) != kValidCode)
        return;
    QMap<ZpString, QElapsedTimer>& timers = controller.startedFeatureTimers();
    const ZpString key(code);
    const auto found = timers.find(key);
    if (found == timers.end()) {
        timers[key].start();
    } else {
        // Started again without a stop: close the first run with its time only.
        CFOwned<CFStringRef> time(newSignedText(found.value().restart()));
        sendEnd(code, nullptr, time.get(), nullptr);
    }
    sendWithSuffix(code, CFSTR("Start"), properties);
    if (controller.verbosity() >= 2)
        AnalyticsLog::info(CFSTR("Track Feature Start: %@"), code);
}

void FeatureTracking::stop(AnalyticsController& controller, CFStringRef code, CFDictionaryRef properties)
{
    if (!code || checkCode(code) != kValidCode)
        return;
    QMap<ZpString, QElapsedTimer>& timers = controller.startedFeatureTimers();
    const auto found = timers.find(ZpString(code));
    if (found != timers.end()) {
        CFOwned<CFStringRef> time(newUnsignedText(found.value().elapsed()));
        sendEnd(code, properties, time.get(), CFSTR("false"));
        timers.erase(found);
    }
    if (controller.verbosity() >= 2)
        AnalyticsLog::info(CFSTR("Track Feature Stop: %@"), code);
}

void FeatureTracking::trackValue(AnalyticsController& controller, CFStringRef code, int32_t value)
{
    if (!code || checkCode(code) != kValidCode)
        return;
    CFOwned<CFMutableDictionaryRef> properties(TrackingObjectFactory::current().emptyDictionary());
    CFOwned<CFStringRef> text(newSignedText(value));
    if (properties && text) {
        CFDictionarySetValue(properties.get(), CFSTR("value"), text.get());
        send(code, properties.get());
    }
    if (controller.verbosity() >= 2)
        AnalyticsLog::info(CFSTR("Track Feature: %@, Value %ld"), code, static_cast<long>(value));
}

void FeatureTracking::sendInterruptedEnd(CFStringRef code, qint64 elapsedMs)
{
    CFOwned<CFStringRef> time(newUnsignedText(elapsedMs));
    sendEnd(code, nullptr, time.get(), CFSTR("true"));
}

void FeatureTracking::sendEnd(CFStringRef code, CFDictionaryRef properties, CFStringRef time, CFStringRef interrupted)
{
    CFOwned<CFMutableDictionaryRef> end(TrackingObjectFactory::current().copyOrCreate(properties));
    if (!end || !time)
        return;
    CFDictionarySetValue(end.get(), CFSTR("time"), time);
    if (interrupted)
        CFDictionarySetValue(end.get(), CFSTR("interrupted"), interrupted);
    sendWithSuffix(code, CFSTR("End"), end.get());
}

void FeatureTracking::sendWithSuffix(CFStringRef code, CFStringRef suffix, CFDictionaryRef properties)
{
    CFOwned<CFStringRef> name(CFStringCreateWithFormat(kCFAllocatorDefault, nullptr, CFSTR("%@%@"), code, suffix));
    if (name)
        send(name.get(), properties);
}
