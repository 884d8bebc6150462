#include "AppCenter/DeviceInfo.h"

#include <ZpCore/ZpProcess.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>
#include <ZpQtCoreLite/ZpQtSysInfo.h>

#include <QDateTime>
#include <QLocale>
#include <QStringList>

DeviceInfo DeviceInfo::current()
{
    DeviceInfo info;
    info.sdkName = QStringLiteral("appcenter.custom");
    info.sdkVersion = QStringLiteral("1.0");
    info.appVersion = ZpQtStringUtils::createQStringFromCFStringRef(ZpProcessGetAppVersion());
    info.appBuild = QStringLiteral("%1").arg(ZpProcessGetBuildNumber());
    info.oemName = ZpQtSysInfo::hwManufacture();
    info.model = ZpQtSysInfo::hwModel();
    // The platform word ("Windows", "Linux"), which is what App Center groups by.
    info.osName = ZpQtSysInfo::osPlatform();
    info.osVersion = ZpQtSysInfo::osVersion();
    info.osBuild = ZpQtSysInfo::osBuildVersion();
    info.screenSize = ZpQtSysInfo::resolution();
    info.locale = QLocale::system().name();
    info.carrierCountry = carrierCountryFromLocaleName(info.locale);
    info.timeZoneOffset = timeZoneOffsetMinutes(QDateTime::currentDateTime().offsetFromUtc());
    return info;
}

QJsonObject DeviceInfo::toJson(const QString& wrapperSdkName) const
{
    QJsonObject device{
        {QStringLiteral("sdkName"), sdkName},
        {QStringLiteral("sdkVersion"), sdkVersion},
        {QStringLiteral("model"), model},
        {QStringLiteral("oemName"), oemName},
        {QStringLiteral("osName"), osName},
        {QStringLiteral("osVersion"), osVersion},
        {QStringLiteral("osBuild"), osBuild},
        {QStringLiteral("locale"), locale},
        {QStringLiteral("carrierCountry"), carrierCountry},
        {QStringLiteral("timeZoneOffset"), timeZoneOffset},
        {QStringLiteral("screenSize"), screenSize},
        {QStringLiteral("appVersion"), appVersion},
        {QStringLiteral("appBuild"), appBuild},
        {QStringLiteral("appNamespace"), appNamespace},
    };
    if (!wrapperSdkName.isEmpty())
        device.insert(QStringLiteral("wrapperSdkName"), wrapperSdkName);
    return device;
}

QString DeviceInfo::carrierCountryFromLocaleName(const QString& localeName)
{
    if (!localeName.contains(QLatin1Char('_')))
        return QString();
    const QStringList parts = localeName.split(QLatin1Char('_'), Qt::KeepEmptyParts, Qt::CaseSensitive);
    return parts.size() == 2 ? parts.at(1) : QString();
}

int32_t DeviceInfo::timeZoneOffsetMinutes(int offsetSeconds)
{
    return offsetSeconds / 60; // C++ division truncates toward zero
}
