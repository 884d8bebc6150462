#include <ZpIngest/IngestStore.h>

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QSqlError>
#include <QSqlQuery>
#include <QUuid>
#include <QVariant>

namespace {

const char kCreateLogs[] = "CREATE TABLE IF NOT EXISTS logs("
                           "seq INTEGER PRIMARY KEY, type TEXT NOT NULL, log_id TEXT NOT NULL, name TEXT NULL, "
                           "app_secret_sha256 TEXT NOT NULL, install_id TEXT NOT NULL, received_at TEXT NOT NULL, "
                           "json TEXT NOT NULL)";
const char kCreateRequests[] = "CREATE TABLE IF NOT EXISTS requests("
                               "seq INTEGER PRIMARY KEY, received_at TEXT NOT NULL, status INTEGER NOT NULL, "
                               "body_bytes INTEGER NOT NULL, log_count INTEGER NOT NULL, reason TEXT NULL)";

// How long a writer waits for another connection's lock (a summary reading the
// file while the server writes) before it gives up.
constexpr int kBusyTimeoutMs = 5000;

QVariant nullableText(const QString& text)
{
    return text.isEmpty() ? QVariant(QMetaType::fromType<QString>()) : QVariant(text);
}

} // namespace

IngestStore::IngestStore(QString path)
    : mPath(std::move(path)),
      mConnectionName(QStringLiteral("zp-ingest-") + QUuid::createUuid().toString(QUuid::WithoutBraces))
{
}

IngestStore::~IngestStore()
{
    close();
}

bool IngestStore::open(OpenMode mode)
{
    close();
    if (mode == OpenMode::ExistingReadOnly) {
        if (!QFileInfo(mPath).isFile())
            return fail(QStringLiteral("no database file"), mPath);
    } else if (!QFileInfo::exists(mPath)) {
        // The logs are private data: the file is created user-only before SQLite
        // sees it (SQLite would create it world-readable under a usual umask), and
        // SQLite gives its journal the same permissions.
        QFile file(mPath);
        if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly, QFileDevice::ReadOwner | QFileDevice::WriteOwner))
            return fail(QStringLiteral("cannot create %1").arg(mPath), file.errorString());
    }

    mDatabase = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), mConnectionName);
    mDatabase.setDatabaseName(mPath);
    QString options = QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(kBusyTimeoutMs);
    if (mode == OpenMode::ExistingReadOnly)
        options += QStringLiteral(";QSQLITE_OPEN_READONLY");
    mDatabase.setConnectOptions(options);
    if (!mDatabase.open()) {
        const QString detail = mDatabase.lastError().text();
        close();
        return fail(QStringLiteral("cannot open %1").arg(mPath), detail);
    }
    if (mode == OpenMode::CreateIfMissing
        && (!execute(QString::fromLatin1(kCreateLogs)) || !execute(QString::fromLatin1(kCreateRequests)))) {
        close();
        return false;
    }
    return true;
}

bool IngestStore::isOpen() const
{
    return mDatabase.isOpen();
}

void IngestStore::close()
{
    if (!mDatabase.isValid())
        return;
    mDatabase.close();
    // removeDatabase() wants no QSqlDatabase handle left on the connection.
    mDatabase = QSqlDatabase();
    QSqlDatabase::removeDatabase(mConnectionName);
}

QString IngestStore::path() const
{
    return mPath;
}

QString IngestStore::errorString() const
{
    return mError;
}

bool IngestStore::storeAccepted(const RequestRecord& request, const LogValidator::Result& batch)
{
    Q_ASSERT(batch.ok);
    if (!mDatabase.transaction())
        return fail(QStringLiteral("cannot begin a transaction"), mDatabase.lastError().text());

    QSqlQuery insert(mDatabase);
    bool ok = insert.prepare(QStringLiteral(
        "INSERT INTO logs(type, log_id, name, app_secret_sha256, install_id, received_at, json) "
        "VALUES(?, ?, ?, ?, ?, ?, ?)"));
    for (qsizetype i = 0; ok && i < batch.logs.size(); ++i) {
        const LogValidator::Log& log = batch.logs.at(i);
        insert.bindValue(0, log.type);
        insert.bindValue(1, log.id);
        insert.bindValue(2, nullableText(log.name));
        insert.bindValue(3, batch.appSecretSha256);
        insert.bindValue(4, batch.installId);
        insert.bindValue(5, request.receivedAt);
        insert.bindValue(6, QString::fromUtf8(log.json));
        ok = insert.exec();
    }
    const QString detail = insert.lastError().text();
    insert.finish();
    if (ok && insertRequest(request)) {
        if (mDatabase.commit())
            return true;
        const QString commitError = mDatabase.lastError().text();
        mDatabase.rollback();
        return fail(QStringLiteral("cannot commit"), commitError);
    }
    mDatabase.rollback();
    return ok ? false : fail(QStringLiteral("cannot store a log"), detail);
}

bool IngestStore::recordRequest(const RequestRecord& request)
{
    return insertRequest(request);
}

QList<IngestStore::StoredLog> IngestStore::logs() const
{
    QList<StoredLog> logs;
    QSqlQuery query(mDatabase);
    query.setForwardOnly(true);
    if (!query.exec(QStringLiteral("SELECT seq, type, log_id, name, app_secret_sha256, install_id, received_at, "
                                   "json FROM logs ORDER BY seq"))) {
        fail(QStringLiteral("cannot read the logs"), query.lastError().text());
        return {};
    }
    while (query.next()) {
        StoredLog log;
        log.seq = query.value(0).toLongLong();
        log.type = query.value(1).toString();
        log.logId = query.value(2).toString();
        log.name = query.value(3).toString();
        log.appSecretSha256 = query.value(4).toString();
        log.installId = query.value(5).toString();
        log.receivedAt = query.value(6).toString();
        log.json = query.value(7).toString().toUtf8();
        logs.append(std::move(log));
    }
    return logs;
}

QList<IngestStore::RequestRecord> IngestStore::requests() const
{
    QList<RequestRecord> requests;
    QSqlQuery query(mDatabase);
    query.setForwardOnly(true);
    if (!query.exec(QStringLiteral(
            "SELECT seq, received_at, status, body_bytes, log_count, reason FROM requests ORDER BY seq"))) {
        fail(QStringLiteral("cannot read the requests"), query.lastError().text());
        return {};
    }
    while (query.next()) {
        RequestRecord request;
        request.seq = query.value(0).toLongLong();
        request.receivedAt = query.value(1).toString();
        request.status = query.value(2).toInt();
        request.bodyBytes = query.value(3).toLongLong();
        request.logCount = query.value(4).toInt();
        request.reason = query.value(5).toString();
        requests.append(std::move(request));
    }
    return requests;
}

QString IngestStore::currentTimestamp()
{
    return QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
}

bool IngestStore::execute(const QString& statement)
{
    QSqlQuery query(mDatabase);
    if (!query.exec(statement))
        return fail(QStringLiteral("cannot prepare the tables"), query.lastError().text());
    return true;
}

bool IngestStore::insertRequest(const RequestRecord& request)
{
    QSqlQuery insert(mDatabase);
    insert.prepare(QStringLiteral(
        "INSERT INTO requests(received_at, status, body_bytes, log_count, reason) VALUES(?, ?, ?, ?, ?)"));
    insert.bindValue(0, request.receivedAt);
    insert.bindValue(1, request.status);
    insert.bindValue(2, request.bodyBytes);
    insert.bindValue(3, request.logCount);
    insert.bindValue(4, nullableText(request.reason));
    if (!insert.exec())
        return fail(QStringLiteral("cannot record a request"), insert.lastError().text());
    return true;
}

bool IngestStore::fail(const QString& what, const QString& detail) const
{
    mError = detail.isEmpty() ? what : what + QStringLiteral(": ") + detail;
    return false;
}
