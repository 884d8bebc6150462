#include "AppCenter/EventLogWriter.h"

#include "AppCenter/AppCenterLogBuilder.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QPair>

namespace {

QByteArray compact(const QJsonArray& array)
{
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

// The one element of `array` as Qt writes it inside an array.
QByteArray onlyElement(const QJsonArray& array)
{
    const QByteArray text = compact(array);
    return text.mid(1, text.size() - 2); // without the brackets
}

// The JSON text of names and property elements this thread wrote lately. A
// host tracks the same features again and again, and Qt's writer costs more
// than the store's Put, so each text is written once and then copied. Each
// table is emptied when it is full, which bounds the memory of a host whose
// events carry ever new values.
class RecentTexts {
public:
    static RecentTexts& ofThisThread()
    {
        thread_local RecentTexts texts;
        return texts;
    }

    // `"<name>"`, escapes included.
    const QByteArray& quoted(const QString& name)
    {
        auto found = mQuoted.constFind(name);
        if (found != mQuoted.constEnd())
            return *found;
        makeRoom(mQuoted);
        return *mQuoted.insert(name, onlyElement(QJsonArray{name}));
    }

    // AppCenterLogBuilder::typedProperty(key, value) as Qt writes it.
    const QByteArray& property(const QString& key, const QString& value)
    {
        const QPair<QString, QString> pair(key, value);
        auto found = mProperties.constFind(pair);
        if (found != mProperties.constEnd())
            return *found;
        makeRoom(mProperties);
        return *mProperties.insert(pair, onlyElement(QJsonArray{AppCenterLogBuilder::typedProperty(key, value)}));
    }

private:
    static constexpr qsizetype kMaxEntries = 1024;

    template <typename Table>
    static void makeRoom(Table& table)
    {
        if (table.size() >= kMaxEntries)
            table.clear();
    }

    QHash<QString, QByteArray> mQuoted;
    QHash<QPair<QString, QString>, QByteArray> mProperties;
};

} // namespace

EventLogWriter::EventLogWriter(const QJsonObject& device)
    : mHead("{\"device\":" + QJsonDocument(device).toJson(QJsonDocument::Compact) + ",\"id\":\"")
{
}

QByteArray EventLogWriter::write(const QByteArray& id, const QString& name, const QMap<QString, QString>& properties,
                                 const QByteArray& timestamp) const
{
    static const char kNameKey[] = "\",\"name\":";
    static const char kTimestampKey[] = ",\"timestamp\":\"";
    static const char kTypeMember[] = "\",\"type\":\"event\"";
    static const char kTypedPropertiesKey[] = ",\"typedProperties\":[";

    RecentTexts& texts = RecentTexts::ofThisThread();
    QByteArray log;
    log.reserve(mHead.size() + 512);
    log.append(mHead).append(id).append(kNameKey).append(texts.quoted(name));
    log.append(kTimestampKey).append(timestamp).append(kTypeMember);
    if (!properties.isEmpty()) {
        log.append(kTypedPropertiesKey);
        for (auto it = properties.cbegin(); it != properties.cend(); ++it) {
            if (it != properties.cbegin())
                log.append(',');
            log.append(texts.property(it.key(), it.value()));
        }
        log.append(']');
    }
    log.append('}');
    return log;
}
