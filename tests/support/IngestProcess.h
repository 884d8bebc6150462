#pragma once

#include <QJsonObject>
#include <QList>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

// A zp-ingest receiver running as a child process on 127.0.0.1, with a fresh
// database of its own, for tests that deliver logs. Stopped when destroyed.
class IngestProcess {
public:
    struct Request {
        int status = 0;
        qint64 bodyBytes = 0;
        int logCount = 0;
        QString reason;
    };

    // Starts `zp-ingest serve --port 0` with the extra arguments (fault modes,
    // TLS files) and waits for its address. Check ok().
    explicit IngestProcess(const QStringList& extraArguments = {});
    ~IngestProcess();
    IngestProcess(const IngestProcess&) = delete;
    IngestProcess& operator=(const IngestProcess&) = delete;

    bool ok() const;
    QString error() const;
    // "http://127.0.0.1:<port>" (https with TLS): what ZP_INGESTION_BASE_URL takes.
    QString baseUrl() const;

    // Stored logs and answered requests, in arrival order.
    QList<QJsonObject> logs() const;
    // The Install-ID header and the hex SHA-256 of the App-Secret header that
    // came with each stored log.
    QList<QPair<QString, QString>> logCredentials() const;
    QList<Request> requests() const;

    // Changes the fault modes while running, e.g. {"failStatus":500,"failCount":1}.
    bool control(const QJsonObject& faults);

private:
    QTemporaryDir mDir;
    QProcess mProcess;
    QString mBaseUrl;
    QString mError;
};
