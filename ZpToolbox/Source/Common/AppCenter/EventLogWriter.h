#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QMap>
#include <QString>

// Writes the stored text of an event log, envelope included, byte for byte as
// QJsonDocument writes the complete object in the compact format, without
// serialising that whole object for every event: the device object is the
// same for all events of a process and is serialised once, here; per event
// only the name and the typed properties go through Qt's JSON writer. The id
// and the timestamp are ASCII letters, digits and punctuation that JSON
// writes as they are, so they are copied in.
//
// Members come in the order Qt keeps object keys in (sorted): "device",
// "id", "name", "timestamp", "type", "typedProperties".
//
// Thread-safe: const after construction.
class EventLogWriter {
public:
    // `device` is the complete device object of the logs (no wrapper name).
    explicit EventLogWriter(const QJsonObject& device);

    // `id` is a UUID text (AppCenterLogBuilder::newUuidText) and `timestamp`
    // a timestamp text (AppCenterLogBuilder::utcTimestampText).
    QByteArray write(const QByteArray& id, const QString& name, const QMap<QString, QString>& properties,
                     const QByteArray& timestamp) const;

private:
    QByteArray mHead; // {"device":{...},"id":"
};
