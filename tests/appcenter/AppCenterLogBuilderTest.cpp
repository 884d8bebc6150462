#include "AppCenter/AppCenterLogBuilder.h"

#include <ZpCore/ZpUtils.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <gtest/gtest.h>

namespace {

QByteArray compact(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

} // namespace

TEST(AppCenterLogBuilder, StartServiceLogNamesOneServiceAndAlwaysCarriesUserId)
{
    EXPECT_EQ(compact(AppCenterLogBuilder::startServiceLog(QStringLiteral("Analytics"), QString())),
              QByteArray(R"({"services":["Analytics"],"type":"startService","userId":""})"));
    EXPECT_EQ(compact(AppCenterLogBuilder::startServiceLog(QStringLiteral("Crashes"), QStringLiteral("u1"))),
              QByteArray(R"({"services":["Crashes"],"type":"startService","userId":"u1"})"));
}

TEST(AppCenterLogBuilder, StartSessionLogCarriesSidAndEmptyUserId)
{
    const QJsonObject log = AppCenterLogBuilder::startSessionLog(QStringLiteral("3f2c9a1e-8d41-4b7a-9c0e-5a6b7c8d9e0f"), QString());
    EXPECT_EQ(compact(log),
              QByteArray(R"({"sid":"3f2c9a1e-8d41-4b7a-9c0e-5a6b7c8d9e0f","type":"startSession","userId":""})"));
    ASSERT_TRUE(log.value(QStringLiteral("userId")).isString());
}

TEST(AppCenterLogBuilder, EventWithoutPropertiesHasNoTypedPropertiesKey)
{
    const QJsonObject log = AppCenterLogBuilder::eventLog(QStringLiteral("Crop"), {});
    EXPECT_EQ(compact(log), QByteArray(R"({"name":"Crop","type":"event"})"));
    EXPECT_FALSE(log.contains(QStringLiteral("sid")));
    EXPECT_FALSE(log.contains(QStringLiteral("userId")));
}

TEST(AppCenterLogBuilder, NullDictionaryGivesNoProperties)
{
    EXPECT_TRUE(AppCenterLogBuilder::stringProperties(nullptr).isEmpty());
    EXPECT_FALSE(AppCenterLogBuilder::eventLog(QStringLiteral("E"), AppCenterLogBuilder::stringProperties(nullptr))
                     .contains(QStringLiteral("typedProperties")));
}

TEST(AppCenterLogBuilder, AllNonStringEntriesGiveNoTypedProperties)
{
    CFMutableDictionaryRef dict = ZpUtilsCFDictionaryCreateMutable();
    ZpUtilsCFDictionarySetValueInt(dict, CFSTR("count"), 3);
    CFDictionarySetValue(dict, CFSTR("flag"), kCFBooleanTrue);
    int32_t one = 1;
    CFNumberRef numberKey = CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt32Type, &one);
    CFDictionarySetValue(dict, numberKey, CFSTR("value of a number key"));
    CFRelease(numberKey);

    const QJsonObject log = AppCenterLogBuilder::eventLog(QStringLiteral("E"), AppCenterLogBuilder::stringProperties(dict));
    EXPECT_EQ(compact(log), QByteArray(R"({"name":"E","type":"event"})"));
    EXPECT_EQ(CFDictionaryGetCount(dict), 3); // only read
    CFRelease(dict);
}

TEST(AppCenterLogBuilder, KeepsOnlyStringPairsSortedByKey)
{
    CFMutableDictionaryRef dict = ZpUtilsCFDictionaryCreateMutable();
    ZpUtilsCFDictionarySetValueString(dict, CFSTR("zeta"), CFSTR("last"));
    ZpUtilsCFDictionarySetValueInt(dict, CFSTR("number"), 7);
    ZpUtilsCFDictionarySetValueString(dict, CFSTR("Alpha"), CFSTR("upper case sorts first"));
    ZpUtilsCFDictionarySetValueString(dict, CFSTR("beta"), CFSTR("Zoë"));

    const QJsonObject log = AppCenterLogBuilder::eventLog(QStringLiteral("E"), AppCenterLogBuilder::stringProperties(dict));
    CFRelease(dict);
    EXPECT_EQ(compact(log),
              QByteArray(R"({"name":"E","type":"event","typedProperties":[)"
                         R"({"name":"Alpha","type":"string","value":"upper case sorts first"},)"
                         R"({"name":"beta","type":"string","value":"Zoë"},)"
                         R"({"name":"zeta","type":"string","value":"last"}]})"));
    for (const QJsonValue& property : log.value(QStringLiteral("typedProperties")).toArray())
        EXPECT_EQ(property.toObject().keys().size(), 3);
}

TEST(AppCenterLogBuilder, UuidsAreLowerCaseWithoutBracesAndDistinct)
{
    const QRegularExpression form(QStringLiteral("^[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}$"));
    const QString first = AppCenterLogBuilder::newUuid();
    EXPECT_TRUE(form.match(first).hasMatch()) << first.toStdString();
    EXPECT_NE(first, AppCenterLogBuilder::newUuid());
}

TEST(AppCenterLogBuilder, TimestampIsUtcIsoWithMilliseconds)
{
    const QRegularExpression form(QStringLiteral("^\\d{4}-\\d{2}-\\d{2}T\\d{2}:\\d{2}:\\d{2}\\.\\d{3}Z$"));
    const QString stamp = AppCenterLogBuilder::utcTimestamp();
    EXPECT_TRUE(form.match(stamp).hasMatch()) << stamp.toStdString();
}
