#pragma once

#include <ZpIngest/HttpRequestHead.h>

#include <QByteArray>
#include <QSslConfiguration>
#include <QTcpServer>

#include <functional>

class QTcpSocket;

// The listening socket of zp-ingest. It accepts each connection (with TLS when
// configured), reads the request head without consuming it, and asks its
// examiner what to do before QHttpServer, which is bound to this server, gets to
// see the connection:
//
//   Pass    the connection goes to QHttpServer untouched (nothing was consumed)
//   Refuse  answered here with the given status and reason; the body is read and
//           discarded so that the client sees the answer rather than a reset
//   Drop    aborted without an answer as soon as the first body byte has arrived
//           (at once when there is no body), i.e. in the middle of the body
//
// QHttpServer 6.4 reads a whole body into memory before anyone may look at it and
// offers no hook per connection, so this is the place where oversized bodies are
// refused and where connections are dropped on purpose.
//
// Thread: the one that owns the server; the examiner is called there.
class IngestConnectionGate : public QTcpServer
{
    Q_OBJECT

public:
    enum class Verdict { Pass, Refuse, Drop };

    struct Decision
    {
        Verdict verdict = Verdict::Pass;
        int status = 0;    // for Refuse
        QByteArray reason; // for Refuse, plain text
    };

    // Called once per connection with its complete, valid head. A connection
    // whose head is invalid is refused with 400 (431 when too long) without
    // asking, and reported through `invalidHead` with that status.
    using Examiner = std::function<Decision(const HttpRequestHead& head)>;
    using InvalidHeadObserver = std::function<void(const HttpRequestHead& head, int status)>;

    IngestConnectionGate(Examiner examiner, InvalidHeadObserver invalidHead, QObject* parent = nullptr);

    // Every later connection is TLS with this configuration (local certificate
    // and private key set).
    void setSslConfiguration(const QSslConfiguration& configuration);
    bool isTls() const;

    // A complete HTTP/1.1 answer with a plain-text body that announces the
    // connection's end.
    static QByteArray plainAnswer(int status, const QByteArray& reason);

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    struct Connection;

    void examine(QTcpSocket* socket, Connection* connection);
    void refuse(QTcpSocket* socket, Connection* connection, int status, const QByteArray& reason);
    void drain(QTcpSocket* socket, Connection* connection);
    void handOver(QTcpSocket* socket, Connection* connection);

    Examiner mExaminer;
    InvalidHeadObserver mInvalidHead;
    QSslConfiguration mSslConfiguration;
    bool mTls = false;
};
