#include "AnalyticsTestFixture.h"

#include <ZpCore/ZpProducts.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include <QThread>

void AnalyticsTestFixture::SetUp()
{
    AppCenterStoreFixture::SetUp();
    mController = std::make_unique<AnalyticsController>();
    mLog = std::make_unique<LogCapture>();
}

void AnalyticsTestFixture::TearDown()
{
    mController.reset();
    AppCenterStoreFixture::TearDown();
}

void AnalyticsTestFixture::startKnownProduct()
{
    mController->startup(kZpProductDelta, 0, 3, location());
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
