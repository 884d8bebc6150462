#pragma once

#include <ZpIngest/IngestFaults.h>

#include <QObject>
#include <QString>
#include <QUrl>

#include <memory>

class IngestStore;

// The HTTP side of zp-ingest: answers POST /logs?api-version=1.0.0 the way the
// App Center ingestion endpoint does, stores what it accepts, records every
// request, and plays the faults it is told to.
//
// Routes, on 127.0.0.1 only:
//   /logs                 the ingestion endpoint
//   /zp-ingest/control    GET: the current faults as JSON; POST a JSON object with
//                         any of "failStatus", "failCount", "delayMs", "closeCount"
//                         to change them (answered with the new state). Exempt
//                         from every fault, never recorded.
//   anything else         404, recorded
//
// Every answer closes its connection, so each request arrives on a fresh one and
// the connection-level faults (dropping, refusing oversized bodies) apply to
// every request, also for clients that would reuse connections.
//
// Thread: everything runs on the thread that made the server; the store must be
// used only there too.
class IngestServer : public QObject
{
    Q_OBJECT

public:
    static constexpr qint64 kDefaultMaxBodyBytes = 64 * 1024 * 1024;

    // `store` is borrowed, must be open read-write and outlive the server.
    explicit IngestServer(IngestStore* store, QObject* parent = nullptr);
    ~IngestServer() override;

    // Makes listen() serve HTTPS with the PEM certificate chain (server
    // certificate first) and the PEM private key (RSA or EC, unencrypted).
    // REQUIRES: not listening yet.
    bool setTlsFiles(const QString& certificateChainPath, const QString& privateKeyPath, QString* error);

    // Listens on 127.0.0.1:`port`; 0 picks a free port. False with *error set
    // when the port cannot be had.
    bool listen(quint16 port, QString* error);
    quint16 port() const;
    bool isTls() const;
    // "http://127.0.0.1:<port>" or "https://..."; empty before listen().
    QUrl baseUrl() const;

    void setFaults(const IngestFaults& faults);
    IngestFaults faults() const;

    // Bodies announced larger than this are refused with 413 before they are read.
    void setMaxBodyBytes(qint64 bytes);
    qint64 maxBodyBytes() const;

signals:
    // After each recorded request has been decided (before a delayed answer
    // leaves). status 0: the connection was dropped on purpose.
    void requestRecorded(int status, const QString& path, int logCount, const QString& reason);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
