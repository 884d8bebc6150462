#pragma once

#include <ZpIngest/LogValidator.h>

#include <QList>
#include <QSqlDatabase>
#include <QString>

// The SQLite file that zp-ingest keeps: every accepted log (table logs) and every
// request with what it was answered (table requests).
//
// The App-Secret is never stored, only its SHA-256, so that the file can be
// handed around with test results.
//
// Thread safety: an IngestStore belongs to the thread that opened it (a Qt SQL
// connection may only be used there). Several IngestStore objects, also on the
// same file and in different processes, may be open at once; SQLite serialises
// their writes.
class IngestStore
{
public:
    struct StoredLog
    {
        qint64 seq = 0;
        QString type;
        QString logId;
        QString name; // null for logs other than events
        QString appSecretSha256;
        QString installId;
        QString receivedAt;
        QByteArray json;
    };

    struct RequestRecord
    {
        qint64 seq = 0; // assigned by the store
        QString receivedAt;
        int status = 0; // 0: the connection was dropped without an answer
        qint64 bodyBytes = 0;
        int logCount = 0;
        QString reason; // empty for accepted requests
    };

    enum class OpenMode {
        CreateIfMissing, // read-write; the file (user-only) and the tables are created
        ExistingReadOnly, // the file must exist; nothing is ever written
    };

    explicit IngestStore(QString path);
    ~IngestStore();

    IngestStore(const IngestStore&) = delete;
    IngestStore& operator=(const IngestStore&) = delete;

    // False with errorString() set when the file cannot be opened or prepared.
    bool open(OpenMode mode = OpenMode::CreateIfMissing);
    bool isOpen() const;
    // Idempotent; the destructor calls it.
    void close();

    QString path() const;
    // Why the last failing call failed; successful calls leave it as it was.
    QString errorString() const;

    // Stores every log of an accepted batch together with its request row, all in
    // one transaction: afterwards either all of them are in the file or none is.
    // REQUIRES: batch.ok and the store is open read-write.
    bool storeAccepted(const RequestRecord& request, const LogValidator::Result& batch);

    // Records a request that stored nothing (refused, failed on purpose, dropped).
    bool recordRequest(const RequestRecord& request);

    // Everything stored so far, in arrival order. Empty with errorString() set
    // when the file cannot be read.
    QList<StoredLog> logs() const;
    QList<RequestRecord> requests() const;

    // The current UTC time as the store writes it: 2024-05-01T10:20:30.123Z.
    static QString currentTimestamp();

private:
    bool execute(const QString& statement);
    bool insertRequest(const RequestRecord& request);
    bool fail(const QString& what, const QString& detail) const;

    const QString mPath;
    const QString mConnectionName;
    QSqlDatabase mDatabase;
    mutable QString mError;
};
