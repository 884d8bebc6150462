#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <QtGlobal>
#include <cstdint>

class AnalyticsController;

// Turns the host's tracking calls into App Center event logs, on the
// containers of one AnalyticsController.
//
// A feature code is plain (no dot: sent as the event name) or dotted (two or
// more dots: "Event.Key.Value", the value being everything after the second
// dot). A code with one dot, or with exactly two dots the second of which
// ends it, is warned about and dropped. A null code is ignored silently.
// Host dictionaries are never modified. Same threading as the controller.
class FeatureTracking {
public:
    static constexpr int kValidCode = 0;
    static constexpr int kInvalidCode = 1005;

    // kValidCode, or kInvalidCode after logging why.
    static int checkCode(CFStringRef code);

    static void track(AnalyticsController& controller, CFStringRef code, CFDictionaryRef properties);
    // Sends the code once until the controller's next stop.
    static void trackOncePerRun(AnalyticsController& controller, CFStringRef code);
    // Sends code + "Start" and starts its timer; a feature started again
    // first gets code + "End" with the time it ran.
    static void start(AnalyticsController& controller, CFStringRef code, CFDictionaryRef properties);
    // Sends code + "End" with its time and "interrupted" = "false" if it was started.
    static void stop(AnalyticsController& controller, CFStringRef code, CFDictionaryRef properties);
    // Sends the code with the property "value".
    static void trackValue(AnalyticsController& controller, CFStringRef code, int32_t value);

    // The end event of a feature still running when its controller stops:
    // "time" and "interrupted" = "true".
    static void sendInterruptedEnd(CFStringRef code, qint64 elapsedMs);

private:
    static void trackDotted(CFStringRef code, CFDictionaryRef properties);
    static CFMutableDictionaryRef dottedProperties(CFStringRef code, CFDictionaryRef properties);
    // code + "End" with a copy of `properties` (or none) plus "time" and,
    // when given, "interrupted". Skipped if a dictionary cannot be made.
    static void sendEnd(CFStringRef code, CFDictionaryRef properties, CFStringRef time, CFStringRef interrupted);
    static void sendWithSuffix(CFStringRef code, CFStringRef suffix, CFDictionaryRef properties);
};
