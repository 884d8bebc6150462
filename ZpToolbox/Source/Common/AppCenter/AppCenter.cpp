#include "AppCenter/AppCenter.h"

#include "AppCenter/AppCenterAnalytics.h"
#include "AppCenter/AppCenterLogBuilder.h"
#include "AppCenter/AppCenterQueue.h"
#include "CrashReport/Crashes.h"

#include <QDir>
#include <QStandardPaths>

AppCenter& AppCenter::instance()
{
    static AppCenter client;
    return client;
}

void AppCenter::start(const QString& appSecret, const QString& storageDirectory)
{
    AppCenter& client = instance();
    client.mStorageDirectory = storageDirectory.isEmpty()
        ? QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation)
        : storageDirectory;
    client.mStorageDirectory += QDir::separator() + QStringLiteral("AppCenter");
    client.mQueue = std::make_shared<AppCenterQueue>(appSecret, client.mStorageDirectory);
    client.mSessionId = QUuid::createUuid();
}

void AppCenter::startService(const QString& serviceName)
{
    if (mQueue) {
        QJsonObject log = AppCenterLogBuilder::startServiceLog(serviceName, mUserId);
        mQueue->enqueue(log, QString());
    }
    if (serviceName == QLatin1String("Crashes"))
        Crashes::instance().start(mSessionId, mUserId, mQueue, mStorageDirectory);
    else if (serviceName == QLatin1String("Analytics"))
        AppCenterAnalytics::instance().startSession(mSessionId.toString(QUuid::WithoutBraces), mUserId, mQueue);
}

QString AppCenter::userId() const
{
    return mUserId;
}

void AppCenter::setUserId(const QString& userId)
{
    mUserId = userId;
}

QString AppCenter::countryCode() const
{
    return mCountryCode;
}

void AppCenter::setCountryCode(const QString& countryCode)
{
    mCountryCode = countryCode;
}

QUuid AppCenter::sessionId() const
{
    return mSessionId;
}

QString AppCenter::storageDirectory() const
{
    return mStorageDirectory;
}

std::shared_ptr<AppCenterQueue> AppCenter::queue() const
{
    return mQueue;
}

void AppCenter::resetForTesting()
{
    AppCenter& client = instance();
    client = AppCenter();
    AppCenterAnalytics::instance().startSession(QString(), QString(), nullptr);
    Crashes::resetForTesting();
}
