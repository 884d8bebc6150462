#include "AnalyticsTestFixture.h"



#include <ZpCore/ZpProducts.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include <QJsonArray>
#include <QThread>

void AnalyticsTestFixture::SetUp()
{
    AppCenterStoreFixture::SetUp();
    CFStringRef path = ZpQtStringUtils::createCFStringRefFromQString(mDir.path());
    mLocation = CFURLCreateWithFileSystemPath(kCFAllocatorDefault, path, kCFURLPOSIXPathStyle, true);
    CFRelease(path);
    mController = std::make_unique<AnalyticsController>();
    mLog = std::make_unique<LogCapture>();
}

void AnalyticsTestFixture::TearDown()
{
    mController.reset();
    AppCenterStoreFixture::TearDown();
    if (mLocation)
        CFRelease(mLocation);
}

void AnalyticsTestFixture::startKnownProduct()
{
    mController->startup(kZpProductDelta, 0, 3, mLocation);
}

QList<QJsonObject> AnalyticsTestFixture::trackedEvents()
{
    QList<QJsonObject> events;
    for (const QJsonObject& log : storedLogs()) {
        if (log.value(QStringLiteral("type")).toString() == QLatin1String("event")
            && log.value(QStringLiteral("name")).toString() != QLatin1String("System"))
            events << log;
    }
    return events;
}

QMap<QString, QString> AnalyticsTestFixture::propertiesOf(const QJsonObject& event)
{
    QMap<QString, QString> properties;
    for (const QJsonValue& value : event.value(QStringLiteral("typedProperties")).toArray()) {
        const QJsonObject property = value.toObject();
        properties.insert(property.value(QStringLiteral("name")).toString(),
                          property.value(QStringLiteral("value")).toString());
    }
    return properties;
}

CFMutableDictionaryRef AnalyticsTestFixture::hostDictionary(const QMap<QString, QString>& pairs)
{
    CFMutableDictionaryRef dict = CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                            &kCFTypeDictionaryValueCallBacks);
    for (auto it = pairs.cbegin(); it != pairs.cend(); ++it) {
        CFStringRef key = ZpQtStringUtils::createCFStringRefFromQString(it.key());
        CFStringRef value = ZpQtStringUtils::createCFStringRefFromQString(it.value());
        CFDictionarySetValue(dict, key, value);
        CFRelease(key);
        CFRelease(value);
    }
    return dict;
}

void AnalyticsTestFixture::tick()
{
    QThread::msleep(3);
}
