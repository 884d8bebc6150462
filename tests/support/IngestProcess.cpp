#include "IngestProcess.h"

#include <ZpQtCoreLite/ZpHttp.h>

#include <QDeadlineTimer>
#include <QJsonDocument>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QUuid>

namespace {

const char kListening[] = "zp-ingest: listening on ";

// Runs `fn` with a read-only connection to the receiver's database.
template <typename Fn>
void withDatabase(const QString& path, Fn fn)
{
    const QString name = QUuid::createUuid().toString();
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        db.setDatabaseName(path);
        db.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY;QSQLITE_BUSY_TIMEOUT=5000"));
        if (db.open())
            fn(db);
    }
    QSqlDatabase::removeDatabase(name);
}

} // namespace

IngestProcess::IngestProcess(const QStringList& extraArguments)
{
    if (!mDir.isValid()) {
        mError = QStringLiteral("no temporary folder");
        return;
    }
    mProcess.setProcessChannelMode(QProcess::SeparateChannels);
    mProcess.start(QStringLiteral(ZP_INGEST_PROGRAM),
                   QStringList{QStringLiteral("serve"), QStringLiteral("--port"), QStringLiteral("0"),
                               QStringLiteral("--db"), mDir.filePath(QStringLiteral("ingest.sqlite"))}
                       + extraArguments);
    const QDeadlineTimer deadline(30000);
    while (mBaseUrl.isEmpty() && !deadline.hasExpired() && mProcess.state() != QProcess::NotRunning) {
        if (!mProcess.canReadLine() && !mProcess.waitForReadyRead(100))
            continue;
        const QByteArray line = mProcess.readLine().trimmed();
        if (line.startsWith(kListening))
            mBaseUrl = QString::fromUtf8(line.mid(int(sizeof(kListening)) - 1));
    }
    if (mBaseUrl.isEmpty())
        mError = QStringLiteral("zp-ingest did not start: %1").arg(QString::fromLocal8Bit(mProcess.readAllStandardError()));
}

IngestProcess::~IngestProcess()
{
    if (mProcess.state() == QProcess::NotRunning)
        return;
    mProcess.terminate();
    if (!mProcess.waitForFinished(10000))
        mProcess.kill();
    mProcess.waitForFinished(5000);
}

bool IngestProcess::ok() const
{
    return mError.isEmpty();
}

QString IngestProcess::error() const
{
    return mError;
}

QString IngestProcess::baseUrl() const
{
    return mBaseUrl;
}

QList<QJsonObject> IngestProcess::logs() const
{
    QList<QJsonObject> result;
    withDatabase(mDir.filePath(QStringLiteral("ingest.sqlite")), [&](QSqlDatabase& db) {
        QSqlQuery query(QStringLiteral("SELECT json FROM logs ORDER BY seq"), db);
        while (query.next())
            result << QJsonDocument::fromJson(query.value(0).toByteArray()).object();
    });
    return result;
}

QList<QPair<QString, QString>> IngestProcess::logCredentials() const
{
    QList<QPair<QString, QString>> result;
    withDatabase(mDir.filePath(QStringLiteral("ingest.sqlite")), [&](QSqlDatabase& db) {
        QSqlQuery query(QStringLiteral("SELECT install_id, app_secret_sha256 FROM logs ORDER BY seq"), db);
        while (query.next())
            result << qMakePair(query.value(0).toString(), query.value(1).toString());
    });
    return result;
}

QList<IngestProcess::Request> IngestProcess::requests() const
{
    QList<Request> result;
    withDatabase(mDir.filePath(QStringLiteral("ingest.sqlite")), [&](QSqlDatabase& db) {
        QSqlQuery query(QStringLiteral("SELECT status, body_bytes, log_count, reason FROM requests ORDER BY seq"), db);
        while (query.next())
            result << Request{query.value(0).toInt(), query.value(1).toLongLong(), query.value(2).toInt(),
                              query.value(3).toString()};
    });
    return result;
}

bool IngestProcess::control(const QJsonObject& faults)
{
    ZpHttp http;
    http.setUrl(QUrl(mBaseUrl + QStringLiteral("/zp-ingest/control")));
    http.setHeader(QByteArrayLiteral("Content-Type"), QByteArrayLiteral("application/json"));
    return http.post(QJsonDocument(faults).toJson(QJsonDocument::Compact));
}
