#include "AppCenter/AppCenterAnalytics.h"

#include "AppCenter/AppCenterLogBuilder.h"
#include "AppCenter/AppCenterQueue.h"

#include <ZpQtCoreLite/ZpQtStringUtils.h>

AppCenterAnalytics& AppCenterAnalytics::instance()
{
    static AppCenterAnalytics analytics;
    return analytics;
}

void AppCenterAnalytics::startSession(const QString& sessionId, const QString& userId,
                                      std::shared_ptr<AppCenterQueue> queue)
{
    mQueue = std::move(queue);
    if (!mQueue)
        return;
    QJsonObject log = AppCenterLogBuilder::startSessionLog(sessionId, userId);
    mQueue->enqueue(log, QString());
}

void AppCenterAnalytics::trackEvent(CFStringRef name, CFDictionaryRef properties)
{
    const QString eventName = ZpQtStringUtils::createQStringFromCFStringRef(name);
    const QMap<QString, QString> strings = AppCenterLogBuilder::stringProperties(properties);
    // Read once: the queue may only be replaced during start-up, but a copy
    // keeps this thread's use of it valid whatever happens.
    const std::shared_ptr<AppCenterQueue> queue = mQueue;
    if (!queue)
        return;
    if (mObserver)
        mObserver(AppCenterLogBuilder::eventLog(eventName, strings));
    queue->enqueueEvent(eventName, strings);
}

void AppCenterAnalytics::setEventObserverForTesting(EventObserver observer)
{
    mObserver = std::move(observer);
}
