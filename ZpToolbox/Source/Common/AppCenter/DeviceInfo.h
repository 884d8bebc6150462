#pragma once

#include <QJsonObject>
#include <QString>
#include <cstdint>

// What every App Center log says about the machine and the host application:
// the "device" object. Measured once per queue, when the queue is made.
struct DeviceInfo {
    QString sdkName;
    QString sdkVersion;
    QString appVersion;
    QString appBuild;
    QString appNamespace; // never filled; sent as ""
    QString oemName;
    QString model;
    QString osName;
    QString osVersion;
    QString osBuild;
    QString screenSize;
    QString locale;
    QString carrierCountry;
    int32_t timeZoneOffset = 0; // minutes east of UTC

    // Asks the platform libraries, once each. Needs the GUI thread for the
    // screen size.
    static DeviceInfo current();

    // The "device" object: the fourteen fields, plus "wrapperSdkName" when
    // wrapperSdkName is not empty.
    QJsonObject toJson(const QString& wrapperSdkName) const;

    // The country part of a locale name such as "en_US"; empty unless the name
    // splits at "_" into exactly two parts ("C", "zh_Hans_CN" give "").
    static QString carrierCountryFromLocaleName(const QString& localeName);
    // A UTC offset in seconds as whole minutes, truncated toward zero.
    static int32_t timeZoneOffsetMinutes(int offsetSeconds);
};
