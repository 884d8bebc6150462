// The "System" event: the formatting of each measurement, the dictionary in
// its fixed order, and the event log that reaches the queue's store.
#include "Analytics/SystemProperties.h"

#include "AppCenter/AppCenter.h"
#include "AppCenterStoreFixture.h"

#include <ZpCore/ZpCore.h>
#include <ZpQtCoreLite/ZpCoreImageHardwareInfo.h>
#include <ZpQtCoreLite/ZpQtLocale.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>
#include <ZpQtCoreLite/ZpQtSysInfo.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThreadPool>
#include <gtest/gtest.h>

namespace {

constexpr uint64_t kGiB = uint64_t(1) << 30;

const QStringList kKeysInOrder = {
    QStringLiteral("OperatingSystemVersion"),
    QStringLiteral("PrimaryScreenResolution"),
    QStringLiteral("PrimaryScreenRefreshRate"),
    QStringLiteral("Memory"),
    QStringLiteral("VRAM"),
    QStringLiteral("VRAMDedicated"),
    QStringLiteral("VRAMDedicatedSystemMemory"),
    QStringLiteral("VRAMSharedSystemMemory"),
    QStringLiteral("OpenGLVendor"),
    QStringLiteral("OpenGLRenderer"),
    QStringLiteral("OpenGLVersion"),
    QStringLiteral("OpenGLVersionEx"),
    QStringLiteral("OpenGLShadingLanguageVersion"),
    QStringLiteral("OpenGLMaxTextureSize"),
    QStringLiteral("KeyboardLocale"),
};

QString text(CFTypeRef string)
{
    return ZpQtStringUtils::createQStringFromCFStringRef(static_cast<CFStringRef>(string));
}

struct Entry {
    QString key;
    CFTypeRef value;
};

void collect(const void* key, const void* value, void* context)
{
    static_cast<QList<Entry>*>(context)->append({text(key), value});
}

// The dictionary's entries in iteration (insertion) order; values borrowed.
QList<Entry> entries(CFDictionaryRef dictionary)
{
    QList<Entry> result;
    CFDictionaryApplyFunction(dictionary, collect, &result);
    return result;
}

QString stringValue(CFDictionaryRef dictionary, const char* key)
{
    const CFStringRef cfKey = __CFStringMakeConstantString(key);
    const CFTypeRef value = CFDictionaryGetValue(dictionary, cfKey);
    if (!value || CFGetTypeID(value) != CFStringGetTypeID())
        return QStringLiteral("<not a string>");
    return text(value);
}

} // namespace

TEST(SystemPropertiesMemory, SixteenGibibytesIsSixteen)
{
    EXPECT_EQ(SystemProperties::memoryText(16 * kGiB), QStringLiteral("16GB"));
}

TEST(SystemPropertiesMemory, HalfRoundsUp)
{
    EXPECT_EQ(SystemProperties::memoryText(7 * kGiB + kGiB / 2), QStringLiteral("8GB"));
    EXPECT_EQ(SystemProperties::memoryText(kGiB / 2), QStringLiteral("1GB"));
}

TEST(SystemPropertiesMemory, JustUnderRoundsDown)
{
    EXPECT_EQ(SystemProperties::memoryText(7 * kGiB - 1), QStringLiteral("7GB"));
    EXPECT_EQ(SystemProperties::memoryText(7 * kGiB + kGiB / 2 - 1), QStringLiteral("7GB"));
    EXPECT_EQ(SystemProperties::memoryText(0), QStringLiteral("0GB"));
}

TEST(SystemPropertiesRefreshRate, FractionalRateKeepsItsDigits)
{
    EXPECT_EQ(SystemProperties::refreshRateText(59.94), QStringLiteral("59.94"));
    EXPECT_EQ(SystemProperties::refreshRateText(143.856), QStringLiteral("143.856"));
}

TEST(SystemPropertiesRefreshRate, WholeRateHasNoDecimals)
{
    EXPECT_EQ(SystemProperties::refreshRateText(60.0), QStringLiteral("60"));
    EXPECT_EQ(SystemProperties::refreshRateText(0.0), QStringLiteral("0"));
}

TEST(SystemPropertiesVideoMemory, MegabytesInDecimal)
{
    EXPECT_EQ(SystemProperties::videoMemoryText(8192), QStringLiteral("8192MB"));
    EXPECT_EQ(SystemProperties::videoMemoryText(0), QStringLiteral("0MB"));
}

TEST(SystemPropertiesPlaceholders, SystemTextsBecomeUnknownWhenEmpty)
{
    EXPECT_EQ(SystemProperties::systemText(QString()), QStringLiteral("Unknown"));
    EXPECT_EQ(SystemProperties::systemText(QStringLiteral("")), QStringLiteral("Unknown"));
    EXPECT_EQ(SystemProperties::systemText(QStringLiteral("1920x1080")), QStringLiteral("1920x1080"));
}

TEST(SystemPropertiesPlaceholders, OpenGLTextsBecomeInvalidWhenEmpty)
{
    EXPECT_EQ(SystemProperties::openGLText(QString()), QStringLiteral("Invalid"));
    EXPECT_EQ(SystemProperties::openGLText(QStringLiteral("Mesa")), QStringLiteral("Mesa"));
}

TEST(SystemPropertiesDictionary, HasTheFifteenKeysInTableOrder)
{
    const CFMutableDictionaryRef properties = SystemProperties::create();
    ASSERT_NE(properties, nullptr);
    QStringList keys;
    for (const Entry& entry : entries(properties))
        keys << entry.key;
    EXPECT_EQ(keys, kKeysInOrder);
    CFRelease(properties);
}

TEST(SystemPropertiesDictionary, MaxTextureSizeIsTheOnlyNumber)
{
    const CFMutableDictionaryRef properties = SystemProperties::create();
    for (const Entry& entry : entries(properties)) {
        if (entry.key == QLatin1String("OpenGLMaxTextureSize")) {
            ASSERT_EQ(CFGetTypeID(entry.value), CFNumberGetTypeID());
            int32_t size = -1;
            EXPECT_TRUE(CFNumberGetValue(static_cast<CFNumberRef>(entry.value), kCFNumberSInt32Type, &size));
            EXPECT_EQ(size, ZpCoreImageHardwareInfo::openGLMaxTextureSize());
        } else {
            EXPECT_EQ(CFGetTypeID(entry.value), CFStringGetTypeID()) << entry.key.toStdString();
        }
    }
    CFRelease(properties);
}

TEST(SystemPropertiesDictionary, WithoutOpenGLTheTextsAreInvalid)
{
    // The offscreen platform offers no OpenGL context.
    ASSERT_TRUE(ZpCoreImageHardwareInfo::openGLVendor().isEmpty());
    const CFMutableDictionaryRef properties = SystemProperties::create();
    for (const char* key : {"OpenGLVendor", "OpenGLRenderer", "OpenGLVersion", "OpenGLVersionEx",
                            "OpenGLShadingLanguageVersion"})
        EXPECT_EQ(stringValue(properties, key), QStringLiteral("Invalid")) << key;
    const auto size = static_cast<CFNumberRef>(CFDictionaryGetValue(properties, CFSTR("OpenGLMaxTextureSize")));
    ASSERT_NE(size, nullptr);
    ASSERT_EQ(CFGetTypeID(size), CFNumberGetTypeID());
    int32_t value = -1;
    CFNumberGetValue(size, kCFNumberSInt32Type, &value);
    EXPECT_EQ(value, 0);
    CFRelease(properties);
}

TEST(SystemPropertiesDictionary, TextsAreThePlatformAnswers)
{
    const CFMutableDictionaryRef properties = SystemProperties::create();
    EXPECT_EQ(stringValue(properties, "OperatingSystemVersion"),
              SystemProperties::systemText(ZpQtSysInfo::osVersion()));
    EXPECT_EQ(stringValue(properties, "PrimaryScreenResolution"),
              SystemProperties::systemText(ZpQtSysInfo::resolution()));
    EXPECT_EQ(stringValue(properties, "PrimaryScreenRefreshRate"),
              SystemProperties::refreshRateText(ZpQtSysInfo::refreshRate()));
    EXPECT_EQ(stringValue(properties, "Memory"), SystemProperties::memoryText(ZpProcessGetActualPhysicalMem()));
    // Free video memory changes from one moment to the next; only its form is fixed.
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^-?\\d+MB$")).match(stringValue(properties, "VRAM")).hasMatch())
        << stringValue(properties, "VRAM").toStdString();
    EXPECT_EQ(stringValue(properties, "VRAMDedicated"),
              SystemProperties::videoMemoryText(ZpUtilsGetVRAMDedicatedVideoMemoryInMB()));
    EXPECT_EQ(stringValue(properties, "VRAMDedicatedSystemMemory"),
              SystemProperties::videoMemoryText(ZpUtilsGetVRAMDedicatedSystemMemoryInMB()));
    EXPECT_EQ(stringValue(properties, "VRAMSharedSystemMemory"),
              SystemProperties::videoMemoryText(ZpUtilsGetVRAMSharedSystemMemoryInMB()));
    EXPECT_EQ(stringValue(properties, "KeyboardLocale"), ZpQtLocale::standardizeName(QLocale()));
    CFRelease(properties);
}

TEST(SystemPropertiesDictionary, KeyboardLocaleFollowsTheDefaultLocale)
{
    const QLocale previous;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    const CFMutableDictionaryRef german = SystemProperties::create();
    QLocale::setDefault(QLocale(QLocale::Portuguese, QLocale::Brazil));
    const CFMutableDictionaryRef brazilian = SystemProperties::create();
    QLocale::setDefault(previous);
    EXPECT_EQ(stringValue(german, "KeyboardLocale"), QStringLiteral("de-DE"));
    EXPECT_EQ(stringValue(brazilian, "KeyboardLocale"), QStringLiteral("pt-BR"));
    CFRelease(german);
    CFRelease(brazilian);
}

TEST(SystemPropertiesDictionary, CallerOwnsTheOnlyReference)
{
    const CFMutableDictionaryRef properties = SystemProperties::create();
    EXPECT_EQ(CFGetRetainCount(properties), 1);
    CFRelease(properties);
}

class SystemPropertiesEvent : public AppCenterStoreFixture {
protected:
    QList<QJsonObject> storedSystemEvents() const
    {
        return select(storedLogs(), QStringLiteral("event"), QStringLiteral("System"));
    }
};

TEST_F(SystemPropertiesEvent, StoredEventCarriesTheFourteenTexts)
{
    AppCenter::start(QStringLiteral("00000000-0000-4000-8000-000000000099"), mDir.path());
    AppCenter::instance().startService(QStringLiteral("Analytics"));
    SystemProperties::send(nullptr);

    const QList<QJsonObject> events = storedSystemEvents();
    ASSERT_EQ(events.size(), 1);
    const QJsonArray typed = events.first().value(QStringLiteral("typedProperties")).toArray();
    EXPECT_EQ(typed.size(), 14);
    QStringList names;
    QMap<QString, QString> values;
    for (const QJsonValue& property : typed) {
        const QJsonObject object = property.toObject();
        EXPECT_EQ(object.value(QStringLiteral("type")).toString(), QStringLiteral("string"));
        names << object.value(QStringLiteral("name")).toString();
        values.insert(names.last(), object.value(QStringLiteral("value")).toString());
    }
    QStringList expected = kKeysInOrder;
    expected.removeOne(QStringLiteral("OpenGLMaxTextureSize"));
    expected.sort();
    names.sort();
    EXPECT_EQ(names, expected);
    EXPECT_FALSE(names.contains(QStringLiteral("OpenGLMaxTextureSize")));
    EXPECT_EQ(values.value(QStringLiteral("Memory")), SystemProperties::memoryText(ZpProcessGetActualPhysicalMem()));
    EXPECT_EQ(values.value(QStringLiteral("OpenGLRenderer")), QStringLiteral("Invalid"));
}

TEST_F(SystemPropertiesEvent, EveryCallSendsANewEvent)
{
    AppCenter::start(QStringLiteral("00000000-0000-4000-8000-000000000099"), mDir.path());
    AppCenter::instance().startService(QStringLiteral("Analytics"));
    SystemProperties::send(nullptr);
    SystemProperties::send(nullptr);
    SystemProperties::send(nullptr);

    const QList<QJsonObject> events = storedSystemEvents();
    ASSERT_EQ(events.size(), 3);
    QSet<QString> ids;
    for (const QJsonObject& event : events)
        ids.insert(event.value(QStringLiteral("id")).toString());
    EXPECT_EQ(ids.size(), 3);
}
