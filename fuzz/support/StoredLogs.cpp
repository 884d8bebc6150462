#include "StoredLogs.h"

#include "FuzzApplication.h"
#include "StoreReader.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>

QString StoredLogs::problemWith(const QByteArray& key, const QByteArray& value)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(value, &error);
    if (error.error != QJsonParseError::NoError)
        return QStringLiteral("not JSON (%1 at %2): %3").arg(error.errorString()).arg(error.offset).arg(QString::fromUtf8(value.toBase64()));
    if (!document.isObject())
        return QStringLiteral("not a JSON object: %1").arg(QString::fromUtf8(value));
    const QJsonObject log = document.object();
    if (log.value(QStringLiteral("id")).toString().toUtf8() != key)
        return QStringLiteral("stored under %1 but its id is %2")
            .arg(QString::fromUtf8(key), log.value(QStringLiteral("id")).toString());
    return {};
}

int StoredLogs::checkAll(const QString& storageDirectory)
{
    const QMap<QByteArray, QByteArray> logs = StoreReader::logs(storageDirectory);
    for (auto it = logs.cbegin(); it != logs.cend(); ++it) {
        const QString problem = problemWith(it.key(), it.value());
        FuzzApplication::require(problem.isEmpty(), "a stored log breaks the queue's promise", problem);
    }
    return int(logs.size());
}
