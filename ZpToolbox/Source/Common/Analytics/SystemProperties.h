#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <QString>
#include <cstdint>

class AnalyticsController;

// The "System" event: one App Center event per analytics start-up describing
// the machine (operating system, primary screen, memory, video memory, OpenGL
// driver, keyboard locale). Nothing is cached; every call measures again.
//
// GUI thread only: the screen and OpenGL facts are read there (other threads
// would get empty answers).
class SystemProperties {
public:
    SystemProperties() = delete;

    // Builds the properties (create()) and hands ("System", properties) to
    // AppCenterAnalytics::trackEvent, which keeps only the text values.
    // `controller` is not read.
    static void send(const AnalyticsController* controller);

    // The fifteen properties in their fixed order: fourteen CFString texts and
    // "OpenGLMaxTextureSize" as a 32-bit CFNumber. The caller releases it.
    static CFMutableDictionaryRef create();

    // "<n>GB": the size in gibibytes rounded half up (bytes * 2^-30 + 0.5,
    // truncated to 32 bits).
    static QString memoryText(uint64_t bytes);
    // The rate as QString::arg writes a double with format 'g' and precision
    // -1: 59.94 -> "59.94", 60.0 -> "60".
    static QString refreshRateText(double hertz);
    // "<n>MB", n in decimal.
    static QString videoMemoryText(int32_t megabytes);
    // The operating-system and screen texts: the text, or "Unknown" when empty.
    static QString systemText(const QString& text);
    // The OpenGL texts: the text, or "Invalid" when empty.
    static QString openGLText(const QString& text);
};
