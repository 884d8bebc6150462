#include "AppCenter/AppCenterLogBuilder.h"

#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include <QDateTime>
#include <QJsonArray>
#include <QRandomGenerator>
#include <QUuid>
#include <array>
#include <limits>

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
    if (!properties.isEmpty())
        log.insert(QStringLiteral("typedProperties"), typedProperties(properties));
    return log;
}

QJsonArray AppCenterLogBuilder::typedProperties(const QMap<QString, QString>& properties)
{
    QJsonArray typed;
    for (auto it = properties.cbegin(); it != properties.cend(); ++it)
        typed.append(typedProperty(it.key(), it.value()));
    return typed;
}

QJsonObject AppCenterLogBuilder::typedProperty(const QString& key, const QString& value)
{
    return QJsonObject{
        {QStringLiteral("type"), QStringLiteral("string")},
        {QStringLiteral("name"), key},
        {QStringLiteral("value"), value},
    };
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
    return QString::fromLatin1(newUuidText());
}

namespace {

QRandomGenerator64 seededFromSystem()
{
    std::array<quint32, 16> seed;
    QRandomGenerator::system()->fillRange(seed.data(), qsizetype(seed.size()));
    return QRandomGenerator64(seed.data(), qsizetype(seed.size()));
}

} // namespace

QByteArray AppCenterLogBuilder::newUuidText()
{
    // QUuid::createUuid asks the system's source for every id, which costs as
    // much as storing the log; a generator seeded once per thread from that
    // source makes ids as unique for a fraction of the cost.
    thread_local QRandomGenerator64 generator = seededFromSystem();
    const quint64 halves[2] = {generator.generate(), generator.generate()};
    QByteArray bytes(reinterpret_cast<const char*>(halves), sizeof halves);
    bytes[6] = char((bytes[6] & 0x0F) | 0x40); // version 4: random
    bytes[8] = char((bytes[8] & 0x3F) | 0x80); // the RFC 4122 variant
    return QUuid::fromRfc4122(bytes).toByteArray(QUuid::WithoutBraces);
}

QString AppCenterLogBuilder::utcTimestamp()
{
    return QString::fromLatin1(utcTimestampText());
}

QByteArray AppCenterLogBuilder::utcTimestampText()
{
    return utcTimestampText(QDateTime::currentMSecsSinceEpoch());
}

QByteArray AppCenterLogBuilder::utcTimestampText(qint64 msecsSinceEpoch)
{
    // Floor division, so that times before 1970 keep a positive millisecond part.
    qint64 second = msecsSinceEpoch / 1000;
    int milliseconds = int(msecsSinceEpoch % 1000);
    if (milliseconds < 0) {
        --second;
        milliseconds += 1000;
    }
    struct SecondText {
        qint64 second = std::numeric_limits<qint64>::min();
        QByteArray text; // "yyyy-MM-ddTHH:mm:ss"
    };
    thread_local SecondText cached;
    if (cached.second != second) {
        cached.text = QDateTime::fromSecsSinceEpoch(second, Qt::UTC).toString(Qt::ISODate).toLatin1();
        cached.text.chop(1); // the "Z", which goes after the milliseconds
        cached.second = second;
    }
    const char fraction[] = {'.', char('0' + milliseconds / 100), char('0' + milliseconds / 10 % 10),
                             char('0' + milliseconds % 10), 'Z'};
    QByteArray stamp;
    stamp.reserve(cached.text.size() + qsizetype(sizeof fraction));
    stamp.append(cached.text).append(fraction, qsizetype(sizeof fraction));
    return stamp;
}
