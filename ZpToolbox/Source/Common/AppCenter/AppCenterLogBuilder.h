#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QMap>
#include <QString>

// Builds the JSON of the App Center logs that the client writes itself, and
// the text forms that every log uses. The envelope ("id", "device",
// "timestamp") is added later, by AppCenterQueue::enqueue.
//
// Thread-safe: no state.
class AppCenterLogBuilder {
public:
    // {"type":"startService","services":[serviceName],"userId":userId}
    static QJsonObject startServiceLog(const QString& serviceName, const QString& userId);
    // {"type":"startSession","sid":sessionId,"userId":userId}
    static QJsonObject startSessionLog(const QString& sessionId, const QString& userId);
    // {"type":"event","name":name,"typedProperties":[...]}; "typedProperties"
    // only when there are properties, one {"type":"string","name","value"}
    // object per entry in ascending key order. No "sid" or "userId".
    static QJsonObject eventLog(const QString& name, const QMap<QString, QString>& properties);
    // The "typedProperties" array of an event log: one
    // {"type":"string","name":key,"value":value} object per entry, in
    // ascending key order. Empty for an empty map.
    static QJsonArray typedProperties(const QMap<QString, QString>& properties);
    // One element of that array: {"type":"string","name":key,"value":value}.
    static QJsonObject typedProperty(const QString& key, const QString& value);

    // The entries of a CFDictionary whose key and value are both CFStrings;
    // every other entry is dropped. Null gives an empty map. The dictionary is
    // only read.
    static QMap<QString, QString> stringProperties(CFDictionaryRef properties);

    // A random UUID as 36 lower-case hexadecimal characters without braces.
    static QString newUuid();
    // The same as Latin-1 bytes, for keys and stored text.
    static QByteArray newUuidText();
    // The current UTC time as ISO 8601 with milliseconds and "Z".
    static QString utcTimestamp();
    // The same as Latin-1 bytes.
    static QByteArray utcTimestampText();
    // The UTC time `msecsSinceEpoch` in the same form, as
    // QDateTime::toString(Qt::ISODateWithMs) writes it for UTC. Qt formats
    // the date and the time of day once per second and thread; within that
    // second only the milliseconds change.
    static QByteArray utcTimestampText(qint64 msecsSinceEpoch);
};
