#include "AppCenter/AppCenterLogBuilder.h"

#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include <QDateTime>
#include <QJsonArray>
#include <QUuid>

QJsonObject AppCenterLogBuilder::startServiceLog(const QString& serviceName, const QString& userId)
{
    return QJsonObject{
        {QStringLiteral("type"), QStringLiteral("startService")},
        {QStringLiteral("services"), QJsonArray{serviceName}},
        {QStringLiteral("userId"), userId},
    };
}

QJsonObject AppCenterLogBuilder::startSessionLog(const QString& sessionId, const QString& userId)
{
    return QJsonObject{
        {QStringLiteral("type"), QStringLiteral("startSession")},
        {QStringLiteral("sid"), sessionId},
        {QStringLiteral("userId"), userId},
    };
}

QJsonObject AppCenterLogBuilder::eventLog(const QString& name, const QMap<QString, QString>& properties)
{
    QJsonObject log{
        {QStringLiteral("type"), QStringLiteral("event")},
        {QStringLiteral("name"), name},
    };
    if (properties.isEmpty())
        return log;
    QJsonArray typed;
    for (auto it = properties.cbegin(); it != properties.cend(); ++it) {
        typed.append(QJsonObject{
            {QStringLiteral("type"), QStringLiteral("string")},
            {QStringLiteral("name"), it.key()},
            {QStringLiteral("value"), it.value()},
        });
    }
    log.insert(QStringLiteral("typedProperties"), typed);
    return log;
}

namespace {

void collectStringEntry(const void* key, const void* value, void* context)
{
    const CFTypeID stringType = CFStringGetTypeID();
    if (!key || !value || CFGetTypeID(key) != stringType || CFGetTypeID(value) != stringType)
        return;
    auto* map = static_cast<QMap<QString, QString>*>(context);
    map->insert(ZpQtStringUtils::createQStringFromCFStringRef(static_cast<CFStringRef>(key)),
                ZpQtStringUtils::createQStringFromCFStringRef(static_cast<CFStringRef>(value)));
}

} // namespace

QMap<QString, QString> AppCenterLogBuilder::stringProperties(CFDictionaryRef properties)
{
    QMap<QString, QString> map;
    if (properties)
        CFDictionaryApplyFunction(properties, collectStringEntry, &map);
    return map;
}

QString AppCenterLogBuilder::newUuid()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces);
}

QString AppCenterLogBuilder::utcTimestamp()
{
    return QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
}
