#include "IngestConnectionGate.h"

#include <QSslSocket>
#include <QTcpSocket>

#include <algorithm>
#include <limits>
#include <memory>

struct IngestConnectionGate::Connection
{
    enum class Phase {
        Head,       // waiting for the blank line that ends the head
        DropOnBody, // condemned; aborted once a body byte is there
        Draining,   // answered; reading the rest of the announced bytes away
    };

    Phase phase = Phase::Head;
    qint64 headBytes = 0;
    qint64 bodyBytes = 0;
    qint64 toDiscard = 0; // Draining: announced bytes not read yet (head included)
    QMetaObject::Connection readyRead;
    QMetaObject::Connection disconnected;
    QMetaObject::Connection failed;
};

namespace {

QByteArray reasonPhrase(int status)
{
    switch (status) {
    case 400: return QByteArrayLiteral("Bad Request");
    case 411: return QByteArrayLiteral("Length Required");
    case 413: return QByteArrayLiteral("Payload Too Large");
    case 431: return QByteArrayLiteral("Request Header Fields Too Large");
    default: return QByteArrayLiteral("Error");
    }
}

} // namespace

IngestConnectionGate::IngestConnectionGate(Examiner examiner, InvalidHeadObserver invalidHead, QObject* parent)
    : QTcpServer(parent), mExaminer(std::move(examiner)), mInvalidHead(std::move(invalidHead))
{
}

void IngestConnectionGate::setSslConfiguration(const QSslConfiguration& configuration)
{
    mSslConfiguration = configuration;
    mTls = true;
}

bool IngestConnectionGate::isTls() const
{
    return mTls;
}

QByteArray IngestConnectionGate::plainAnswer(int status, const QByteArray& reason)
{
    // Written by hand because QHttpServerResponder can only be made by
    // QAbstractHttpServer, and these connections never reach it.
    QByteArray answer = "HTTP/1.1 " + QByteArray::number(status) + ' ' + reasonPhrase(status) + "\r\n";
    answer += "Content-Type: text/plain; charset=utf-8\r\n";
    answer += "Content-Length: " + QByteArray::number(reason.size()) + "\r\n";
    answer += "Connection: close\r\n\r\n";
    answer += reason;
    return answer;
}

void IngestConnectionGate::incomingConnection(qintptr descriptor)
{
    QTcpSocket* socket = mTls ? new QSslSocket(this) : new QTcpSocket(this);
    if (!socket->setSocketDescriptor(descriptor)) {
        delete socket;
        return;
    }
    auto connection = std::make_shared<Connection>();
    connection->readyRead = connect(socket, &QTcpSocket::readyRead, this,
                                    [this, socket, connection] { examine(socket, connection.get()); });
    connection->disconnected = connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    // A failed TLS handshake or a reset before the head was complete.
    connection->failed = connect(socket, &QTcpSocket::errorOccurred, socket, [socket] {
        if (socket->state() != QAbstractSocket::ConnectedState)
            socket->deleteLater();
    });
    if (mTls) {
        auto* tlsSocket = static_cast<QSslSocket*>(socket);
        tlsSocket->setSslConfiguration(mSslConfiguration);
        tlsSocket->startServerEncryption();
    }
}

void IngestConnectionGate::examine(QTcpSocket* socket, Connection* connection)
{
    switch (connection->phase) {
    case Connection::Phase::Head: {
        const QByteArray bytes = socket->peek(HttpRequestHead::kMaxHeadBytes + 1);
        const HttpRequestHead head = HttpRequestHead::parse(bytes);
        if (head.state == HttpRequestHead::State::Incomplete)
            return;
        if (head.state != HttpRequestHead::State::Complete) {
            const int status = head.state == HttpRequestHead::State::TooLarge ? 431 : 400;
            if (mInvalidHead)
                mInvalidHead(head, status);
            // Without a trustworthy length nothing can be drained: answer and go.
            refuse(socket, connection, status, head.error.toUtf8());
            return;
        }
        connection->headBytes = head.headBytes;
        connection->bodyBytes = head.contentLength;
        const Decision decision = mExaminer(head);
        if (decision.verdict == Verdict::Pass) {
            handOver(socket, connection);
            return;
        }
        if (decision.verdict == Verdict::Refuse) {
            // The announced length is the client's word; an absurd one must
            // not overflow the count of bytes still to come.
            const qint64 room = std::numeric_limits<qint64>::max() - head.headBytes;
            connection->toDiscard = head.headBytes + std::min(head.contentLength, room);
            refuse(socket, connection, decision.status, decision.reason);
            return;
        }
        connection->phase = Connection::Phase::DropOnBody;
        [[fallthrough]];
    }
    case Connection::Phase::DropOnBody:
        if (connection->bodyBytes == 0 || socket->bytesAvailable() > connection->headBytes) {
            QObject::disconnect(connection->readyRead);
            socket->abort();
            socket->deleteLater();
        }
        return;
    case Connection::Phase::Draining:
        drain(socket, connection);
        return;
    }
}

void IngestConnectionGate::refuse(QTcpSocket* socket, Connection* connection, int status, const QByteArray& reason)
{
    socket->write(plainAnswer(status, reason));
    connection->phase = Connection::Phase::Draining;
    drain(socket, connection);
}

void IngestConnectionGate::drain(QTcpSocket* socket, Connection* connection)
{
    while (connection->toDiscard > 0 && socket->bytesAvailable() > 0) {
        const qint64 skipped = socket->skip(std::min(connection->toDiscard, socket->bytesAvailable()));
        if (skipped <= 0)
            break;
        connection->toDiscard -= skipped;
    }
    if (connection->toDiscard <= 0) {
        QObject::disconnect(connection->readyRead);
        // Sends what was written, then closes; `disconnected` deletes the socket.
        socket->disconnectFromHost();
    }
}

void IngestConnectionGate::handOver(QTcpSocket* socket, Connection* connection)
{
    // From here on the socket and its lifetime belong to QHttpServer.
    QObject::disconnect(connection->readyRead);
    QObject::disconnect(connection->disconnected);
    QObject::disconnect(connection->failed);
    addPendingConnection(socket);
    // Qt 6.4 emits newConnection() only right after incomingConnection()
    // returns, which was long before this point; QHttpServer listens to it.
    emit newConnection();
    // The head (and maybe part of the body) is already buffered, so no new
    // readyRead() would come for it.
    if (socket->bytesAvailable() > 0)
        emit socket->readyRead();
}
