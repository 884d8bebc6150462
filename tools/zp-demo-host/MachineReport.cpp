#include "MachineReport.h"

#include <CoreFoundation/CoreFoundation.h>
#include <ZpCore/ZpCore.h>
#include <ZpQtCoreLite/ZpCoreImageHardwareInfo.h>
#include <ZpQtCoreLite/ZpQtLocale.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>
#include <ZpQtCoreLite/ZpQtSysInfo.h>

#include <QLocale>
#include <QStringList>

namespace {

QString executablePath()
{
    CFURLRef url = ZpProcessCreateCurrentProcessPath();
    if (!url)
        return QString();
    const QString path = ZpQtStringUtils::createQStringFileSystemRepresentationFromCFUrlRef(url);
    CFRelease(url);
    return path;
}

QString line(const char* name, const QString& value)
{
    return QStringLiteral("%1: %2").arg(QLatin1String(name), value.isEmpty() ? QStringLiteral("(none)") : value);
}

} // namespace

QString MachineReport::text()
{
    QStringList lines;
    lines << line("Process", QStringLiteral("%1 (pid %2)").arg(executablePath()).arg(ZpProcessGetPID()))
          << line("OS", QStringLiteral("%1 / %2 %3 (%4)")
                            .arg(ZpQtSysInfo::osPlatform(), ZpQtSysInfo::osName(), ZpQtSysInfo::osVersion(),
                                 ZpQtSysInfo::osBuildVersion()))
          << line("Manufacturer", ZpQtSysInfo::hwManufacture())
          << line("Model", ZpQtSysInfo::hwModel())
          << line("Memory", QStringLiteral("%1 MiB").arg(ZpProcessGetActualPhysicalMem() >> 20))
          << line("Screen", QStringLiteral("%1 at %2 Hz").arg(ZpQtSysInfo::resolution()).arg(ZpQtSysInfo::refreshRate()))
          << line("Video card", ZpQtSysInfo::videoCard())
          << line("VRAM", QStringLiteral("available %1 MB, dedicated %2 MB, dedicated system %3 MB, shared %4 MB")
                              .arg(ZpUtilsGetVRAMAvaliableInMB())
                              .arg(ZpUtilsGetVRAMDedicatedVideoMemoryInMB())
                              .arg(ZpUtilsGetVRAMDedicatedSystemMemoryInMB())
                              .arg(ZpUtilsGetVRAMSharedSystemMemoryInMB()))
          << line("OpenGL", QStringLiteral("%1 | %2 | %3 | GLSL %4 | max texture %5")
                                .arg(ZpCoreImageHardwareInfo::openGLVendor(), ZpCoreImageHardwareInfo::openGLRenderer(),
                                     ZpCoreImageHardwareInfo::openGLVersionEx(),
                                     ZpCoreImageHardwareInfo::openGLShadingLanguageVersion())
                                .arg(ZpCoreImageHardwareInfo::openGLMaxTextureSize()))
          << line("Keyboard locale", ZpQtLocale::standardizeName(QLocale()))
          << line("Debug build", ZpQtSysInfo::isDebugBuild() ? QStringLiteral("yes") : QStringLiteral("no"));
    return lines.join(QLatin1Char('\n'));
}
