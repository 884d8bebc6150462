#include "AppCenter/DeviceInfo.h"

#include <ZpCore/ZpProcess.h>
#include <ZpQtCoreLite/ZpQtSysInfo.h>

#include <QDateTime>
#include <QJsonDocument>
#include <QLocale>
#include <QTimeZone>
#include <gtest/gtest.h>

TEST(DeviceInfo, CarrierCountryIsTheSecondOfExactlyTwoParts)
{
    EXPECT_EQ(DeviceInfo::carrierCountryFromLocaleName(QStringLiteral("en_US")), QStringLiteral("US"));
    EXPECT_EQ(DeviceInfo::carrierCountryFromLocaleName(QStringLiteral("de_AT")), QStringLiteral("AT"));
    EXPECT_EQ(DeviceInfo::carrierCountryFromLocaleName(QStringLiteral("C")), QString());
    EXPECT_EQ(DeviceInfo::carrierCountryFromLocaleName(QStringLiteral("zh_Hans_CN")), QString());
    EXPECT_EQ(DeviceInfo::carrierCountryFromLocaleName(QStringLiteral("en_")), QString());
    EXPECT_EQ(DeviceInfo::carrierCountryFromLocaleName(QString()), QString());
}

TEST(DeviceInfo, TimeZoneOffsetInWholeMinutesTruncatedTowardZero)
{
    EXPECT_EQ(DeviceInfo::timeZoneOffsetMinutes(7200), 120);
    EXPECT_EQ(DeviceInfo::timeZoneOffsetMinutes(-18000), -300);
    EXPECT_EQ(DeviceInfo::timeZoneOffsetMinutes(19800), 330);   // UTC+5:30
    EXPECT_EQ(DeviceInfo::timeZoneOffsetMinutes(-12600), -210); // UTC-3:30
    EXPECT_EQ(DeviceInfo::timeZoneOffsetMinutes(-59), 0);
    EXPECT_EQ(DeviceInfo::timeZoneOffsetMinutes(119), 1);
}

TEST(DeviceInfo, HalfHourZonesOfTheTimeZoneDatabase)
{
    const QDateTime winter(QDate(2024, 1, 15), QTime(12, 0));
    EXPECT_EQ(DeviceInfo::timeZoneOffsetMinutes(winter.toTimeZone(QTimeZone("Asia/Kolkata")).offsetFromUtc()), 330);
    EXPECT_EQ(DeviceInfo::timeZoneOffsetMinutes(winter.toTimeZone(QTimeZone("America/St_Johns")).offsetFromUtc()), -210);
}

TEST(DeviceInfo, CurrentAsksThePlatform)
{
    ZpProcessSetAppVersion(CFSTR("7.1.2"));
    ZpProcessSetBuildNumber(4711);
    const DeviceInfo info = DeviceInfo::current();
    ZpProcessSetAppVersion(nullptr);
    ZpProcessSetBuildNumber(0);

    EXPECT_EQ(info.sdkName, QStringLiteral("appcenter.custom"));
    EXPECT_EQ(info.sdkVersion, QStringLiteral("1.0"));
    EXPECT_EQ(info.appVersion, QStringLiteral("7.1.2"));
    EXPECT_EQ(info.appBuild, QStringLiteral("4711"));
    EXPECT_EQ(info.osName, ZpQtSysInfo::osPlatform());
    EXPECT_NE(info.osName, ZpQtSysInfo::osName());
    EXPECT_EQ(info.osVersion, ZpQtSysInfo::osVersion());
    EXPECT_EQ(info.osBuild, ZpQtSysInfo::osBuildVersion());
    EXPECT_EQ(info.model, ZpQtSysInfo::hwModel());
    EXPECT_EQ(info.oemName, ZpQtSysInfo::hwManufacture());
    EXPECT_EQ(info.screenSize, ZpQtSysInfo::resolution());
    EXPECT_EQ(info.locale, QLocale::system().name());
    EXPECT_EQ(info.carrierCountry, DeviceInfo::carrierCountryFromLocaleName(info.locale));
    EXPECT_EQ(info.timeZoneOffset, QDateTime::currentDateTime().offsetFromUtc() / 60);
    EXPECT_TRUE(info.appNamespace.isEmpty());
}

TEST(DeviceInfo, JsonHasTheFourteenKeysAndWrapperOnlyWhenNamed)
{
    DeviceInfo info;
    info.sdkName = QStringLiteral("appcenter.custom");
    info.appBuild = QStringLiteral("12");
    info.timeZoneOffset = -210;
    const QJsonObject plain = info.toJson(QString());
    EXPECT_EQ(plain.keys(),
              QStringList({"appBuild", "appNamespace", "appVersion", "carrierCountry", "locale", "model", "oemName",
                           "osBuild", "osName", "osVersion", "screenSize", "sdkName", "sdkVersion", "timeZoneOffset"}));
    EXPECT_TRUE(plain.value(QStringLiteral("appNamespace")).isString());
    EXPECT_TRUE(plain.value(QStringLiteral("timeZoneOffset")).isDouble());
    EXPECT_EQ(QJsonDocument(QJsonObject{{"o", plain.value("timeZoneOffset")}}).toJson(QJsonDocument::Compact),
              QByteArray(R"({"o":-210})"));

    const QJsonObject wrapped = info.toJson(QStringLiteral("custom.ndk"));
    EXPECT_EQ(wrapped.size(), 15);
    EXPECT_EQ(wrapped.value(QStringLiteral("wrapperSdkName")).toString(), QStringLiteral("custom.ndk"));
}
