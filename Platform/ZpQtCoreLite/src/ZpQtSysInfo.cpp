#include <ZpQtCoreLite/ZpQtSysInfo.h>

#include "ZpQtSysInfoPlatform.h"

#include <QGuiApplication>
#include <QMutex>
#include <QMutexLocker>
#include <QScreen>
#include <QStringList>
#include <QSysInfo>
#include <QThread>

namespace {

// The build's own debug flag: NDEBUG is what CMake's release configurations
// (Release, RelWithDebInfo, MinSizeRel) define and Debug does not.
#ifdef NDEBUG
constexpr bool kBuiltAsDebug = false;
#else
constexpr bool kBuiltAsDebug = true;
#endif

struct Overrides
{
    QMutex mutex;
    std::optional<bool> winPlatform;
    std::optional<bool> debugBuild;
    std::optional<QString> systemRoot;
};

Overrides& overrides()
{
    static Overrides instance;
    return instance;
}

QString systemRoot()
{
    Overrides& o = overrides();
    QMutexLocker lock(&o.mutex);
    return o.systemRoot.value_or(ZpQtSysInfoPlatform::defaultRoot());
}

// QScreen belongs to the GUI thread; elsewhere there is no screen to ask.
const QScreen* primaryScreenHere()
{
    // qobject_cast: a host may have only a QCoreApplication (qGuiApp would
    // then be a wrong static_cast).
    const auto* app = qobject_cast<QGuiApplication*>(QCoreApplication::instance());
    if (!app || QThread::currentThread() != app->thread())
        return nullptr;
    return QGuiApplication::primaryScreen();
}

QString hexId(quint16 id)
{
    return QStringLiteral("%1").arg(id, 4, 16, QLatin1Char('0'));
}

QString adapterName(const ZpDisplayAdapter& adapter)
{
    if (!adapter.deviceName.isEmpty())
        return adapter.vendorName + QLatin1Char(' ') + adapter.deviceName;
    if (!adapter.vendorName.isEmpty())
        return adapter.vendorName + QStringLiteral(" device ") + hexId(adapter.deviceId);
    return QStringLiteral("PCI ") + hexId(adapter.vendorId) + QLatin1Char(':') + hexId(adapter.deviceId);
}

} // namespace

QString ZpQtSysInfo::osVersion()
{
    return QSysInfo::productVersion();
}

QString ZpQtSysInfo::osBuildVersion()
{
    return QSysInfo::kernelVersion();
}

QString ZpQtSysInfo::osPlatform()
{
    return ZpQtSysInfoPlatform::platformWord();
}

QString ZpQtSysInfo::osName()
{
    return QSysInfo::prettyProductName();
}

QString ZpQtSysInfo::resolution()
{
    const QScreen* screen = primaryScreenHere();
    if (!screen)
        return {};
    const QSize pixels = screen->size() * screen->devicePixelRatio();
    return QStringLiteral("%1x%2").arg(pixels.width()).arg(pixels.height());
}

double ZpQtSysInfo::refreshRate()
{
    const QScreen* screen = primaryScreenHere();
    return screen ? screen->refreshRate() : 0.0;
}

QString ZpQtSysInfo::hwModel()
{
    return ZpQtSysInfoPlatform::hwModel(systemRoot());
}

QString ZpQtSysInfo::hwManufacture()
{
    return ZpQtSysInfoPlatform::hwManufacture(systemRoot());
}

QString ZpQtSysInfo::videoCard()
{
    const QList<ZpDisplayAdapter> adapters = ZpQtSysInfoPlatform::displayAdapters(systemRoot());
    return adapters.isEmpty() ? QString() : adapterName(adapters.first());
}

QString ZpQtSysInfo::videoDescription()
{
    QStringList lines;
    for (const ZpDisplayAdapter& adapter : ZpQtSysInfoPlatform::displayAdapters(systemRoot())) {
        QString line = QStringLiteral("%1 %2: %3 [%4:%5]")
                           .arg(adapter.slot, adapter.className, adapterName(adapter),
                                hexId(adapter.vendorId), hexId(adapter.deviceId));
        if (!adapter.driver.isEmpty())
            line += QStringLiteral(" (driver %1)").arg(adapter.driver);
        lines.append(line);
    }
    return lines.join(QLatin1Char('\n'));
}

bool ZpQtSysInfo::isDebugBuild()
{
    Overrides& o = overrides();
    QMutexLocker lock(&o.mutex);
    return o.debugBuild.value_or(kBuiltAsDebug);
}

bool ZpQtSysInfo::isWinPlatform()
{
    Overrides& o = overrides();
    QMutexLocker lock(&o.mutex);
    return o.winPlatform.value_or(ZpQtSysInfoPlatform::isWindows());
}

void ZpQtSysInfo::setWinPlatformOverride(std::optional<bool> value)
{
    Overrides& o = overrides();
    QMutexLocker lock(&o.mutex);
    o.winPlatform = value;
}

void ZpQtSysInfo::setDebugBuildOverride(std::optional<bool> value)
{
    Overrides& o = overrides();
    QMutexLocker lock(&o.mutex);
    o.debugBuild = value;
}

void ZpQtSysInfo::setSystemRootOverride(std::optional<QString> root)
{
    Overrides& o = overrides();
    QMutexLocker lock(&o.mutex);
    o.systemRoot = std::move(root);
}
