#include "Analytics/SystemProperties.h"

#include "AppCenter/AppCenterAnalytics.h"

#include <ZpCore/ZpCore.h>
#include <ZpQtCoreLite/ZpCoreImageHardwareInfo.h>
#include <ZpQtCoreLite/ZpQtLocale.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>
#include <ZpQtCoreLite/ZpQtSysInfo.h>

#include <QLocale>

namespace {

// Every text value passes through "%1" (field width 0, blank fill), the same
// path as the numbers; for a QString argument the text comes out unchanged.
QString filled(const QString& text)
{
    return QStringLiteral("%1").arg(text, 0, QLatin1Char(' '));
}

void setText(CFMutableDictionaryRef properties, CFStringRef key, const QString& text)
{
    const CFStringRef value = ZpQtStringUtils::createCFStringRefFromQString(filled(text));
    ZpUtilsCFDictionarySetValueString(properties, key, value);
    CFRelease(value);
}

QString textOr(const QString& text, const QString& placeholder)
{
    return text.isEmpty() ? placeholder : text;
}

} // namespace

void SystemProperties::send(const AnalyticsController* /*controller*/)
{
    const CFMutableDictionaryRef properties = create();
    AppCenterAnalytics::instance().trackEvent(CFSTR("System"), properties);
    CFRelease(properties);
}

CFMutableDictionaryRef SystemProperties::create()
{
    const CFMutableDictionaryRef properties = ZpUtilsCFDictionaryCreateMutable();
    setText(properties, CFSTR("OperatingSystemVersion"), systemText(ZpQtSysInfo::osVersion()));
    setText(properties, CFSTR("PrimaryScreenResolution"), systemText(ZpQtSysInfo::resolution()));
    setText(properties, CFSTR("PrimaryScreenRefreshRate"), refreshRateText(ZpQtSysInfo::refreshRate()));
    setText(properties, CFSTR("Memory"), memoryText(ZpProcessGetActualPhysicalMem()));
    setText(properties, CFSTR("VRAM"), videoMemoryText(ZpUtilsGetVRAMAvaliableInMB()));
    setText(properties, CFSTR("VRAMDedicated"), videoMemoryText(ZpUtilsGetVRAMDedicatedVideoMemoryInMB()));
    setText(properties, CFSTR("VRAMDedicatedSystemMemory"),
            videoMemoryText(ZpUtilsGetVRAMDedicatedSystemMemoryInMB()));
    setText(properties, CFSTR("VRAMSharedSystemMemory"), videoMemoryText(ZpUtilsGetVRAMSharedSystemMemoryInMB()));
    setText(properties, CFSTR("OpenGLVendor"), openGLText(ZpCoreImageHardwareInfo::openGLVendor()));
    setText(properties, CFSTR("OpenGLRenderer"), openGLText(ZpCoreImageHardwareInfo::openGLRenderer()));
    setText(properties, CFSTR("OpenGLVersion"), openGLText(ZpCoreImageHardwareInfo::openGLVersion()));
    setText(properties, CFSTR("OpenGLVersionEx"), openGLText(ZpCoreImageHardwareInfo::openGLVersionEx()));
    setText(properties, CFSTR("OpenGLShadingLanguageVersion"),
            openGLText(ZpCoreImageHardwareInfo::openGLShadingLanguageVersion()));
    // The one number. AppCenterAnalytics::trackEvent keeps only string pairs,
    // so this entry never reaches the event log; it stays a number on purpose,
    // and neither side is to be "fixed" to let it through.
    ZpUtilsCFDictionarySetValueInt(properties, CFSTR("OpenGLMaxTextureSize"),
                                   ZpCoreImageHardwareInfo::openGLMaxTextureSize());
    setText(properties, CFSTR("KeyboardLocale"), ZpQtLocale::standardizeName(QLocale()));
    return properties;
}

QString SystemProperties::memoryText(uint64_t bytes)
{
    const auto gibibytes = static_cast<int32_t>(static_cast<double>(bytes) / 1073741824.0 + 0.5);
    return QStringLiteral("%1GB").arg(gibibytes);
}

QString SystemProperties::refreshRateText(double hertz)
{
    return QStringLiteral("%1").arg(hertz, 0, 'g', -1, QLatin1Char(' '));
}

QString SystemProperties::videoMemoryText(int32_t megabytes)
{
    return QStringLiteral("%1MB").arg(megabytes);
}

QString SystemProperties::systemText(const QString& text)
{
    return textOr(text, QStringLiteral("Unknown"));
}

QString SystemProperties::openGLText(const QString& text)
{
    return textOr(text, QStringLiteral("Invalid"));
}
