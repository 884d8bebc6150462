#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <ZpCore/ZpLog.h>

// The analytics subsystem's lines in the vendor log: category "Analytics",
// level 3 for information and 0 for warnings; internal failures as event
// 1026 at the controller's source path.
class AnalyticsLog {
public:
    // `format` is a CoreFoundation format taking exactly `arguments`.
    template <typename... Arguments>
    static void info(CFStringRef format, Arguments... arguments)
    {
        ZpLogWithParams(kZpLogLevelInfo, CFSTR("Analytics"), 0, format, arguments...);
    }

    template <typename... Arguments>
    static void warning(CFStringRef format, Arguments... arguments)
    {
        ZpLogWithParams(kZpLogLevelWarning, CFSTR("Analytics"), 0, format, arguments...);
    }

    // `line` names the place of the failure for the people who read the log.
    static void internalFailure(int line)
    {
        ZpLogEvent(1026, "ZpToolbox/Source/Common/Analytics/AnalyticsController", line);
    }
};
