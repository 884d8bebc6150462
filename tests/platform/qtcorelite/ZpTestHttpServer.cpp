#include "ZpTestHttpServer.h"

#include <QDeadlineTimer>
#include <QMutexLocker>
#include <QSslServer>
#include <QSslSocket>
#include <QTcpServer>
#include <QTcpSocket>

QList<QByteArray> ZpTestHttpRequest::values(const QByteArray& name) const
{
    QList<QByteArray> found;
    for (const auto& [headerName, value] : headers) {
        if (headerName.compare(name, Qt::CaseInsensitive) == 0)
            found.append(value);
    }
    return found;
}

// The bytes of one connection until its request is complete. Lives on the
// server thread.
struct ZpTestHttpServer::Connection
{
    QTcpSocket* socket = nullptr;
    QByteArray buffer;
    bool done = false;
};

ZpTestHttpServer::ZpTestHttpServer(std::optional<QSslConfiguration> tls)
    : mTls(tls.has_value())
{
    mContext = new QObject;
    mContext->moveToThread(&mThread);
    mThread.start();

    QMetaObject::invokeMethod(mContext, [this, tls] {
        QTcpServer* server = nullptr;
        if (tls) {
            auto* sslServer = new QSslServer(mContext);
            sslServer->setSslConfiguration(*tls);
            server = sslServer;
        } else {
            server = new QTcpServer(mContext);
        }
        QObject::connect(server, &QTcpServer::pendingConnectionAvailable, server, [this, server] {
            while (QTcpSocket* socket = server->nextPendingConnection())
                onConnection(socket);
        });
        if (server->listen(QHostAddress::LocalHost, 0))
            mPort = server->serverPort();
    }, Qt::BlockingQueuedConnection);
}

ZpTestHttpServer::~ZpTestHttpServer()
{
    // The server and its sockets die on their own thread; the context itself only
    // once that thread has stopped, since an object must not delete itself from
    // inside one of its own events.
    QMetaObject::invokeMethod(mContext, [this] { qDeleteAll(mContext->children()); },
                              Qt::BlockingQueuedConnection);
    mThread.quit();
    mThread.wait();
    delete mContext;
}

QUrl ZpTestHttpServer::url(const QString& path) const
{
    QUrl url;
    url.setScheme(mTls ? QStringLiteral("https") : QStringLiteral("http"));
    url.setHost(QStringLiteral("127.0.0.1"));
    url.setPort(mPort);
    url.setPath(path);
    return url;
}

void ZpTestHttpServer::setAnswer(const ZpTestHttpAnswer& answer)
{
    QMutexLocker lock(&mMutex);
    mAnswer = answer;
}

void ZpTestHttpServer::setSilent(bool silent)
{
    QMutexLocker lock(&mMutex);
    mSilent = silent;
}

QList<ZpTestHttpRequest> ZpTestHttpServer::requests() const
{
    QMutexLocker lock(&mMutex);
    return mRequests;
}

int ZpTestHttpServer::connectionCount() const
{
    QMutexLocker lock(&mMutex);
    return mConnections;
}

bool ZpTestHttpServer::waitForRequests(int count, int timeoutMs) const
{
    const QDeadlineTimer deadline(timeoutMs);
    while (!deadline.hasExpired()) {
        if (requests().size() >= count)
            return true;
        QThread::msleep(10);
    }
    return requests().size() >= count;
}

void ZpTestHttpServer::onConnection(QTcpSocket* socket)
{
    {
        QMutexLocker lock(&mMutex);
        ++mConnections;
    }
    auto* connection = new Connection;
    connection->socket = socket;
    QObject::connect(socket, &QObject::destroyed, [connection] { delete connection; });
    QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, connection] { onReadyRead(connection); });
    QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    if (socket->bytesAvailable() > 0)
        onReadyRead(connection);
}

// Parses by hand on purpose: the tests check the request byte for byte, header
// order and spelling included, which a server library would normalise away.
void ZpTestHttpServer::onReadyRead(Connection* connection)
{
    connection->buffer += connection->socket->readAll();
    if (connection->done)
        return;
    const qsizetype headerEnd = connection->buffer.indexOf("\r\n\r\n");
    if (headerEnd < 0)
        return;

    ZpTestHttpRequest request;
    const QList<QByteArray> lines = connection->buffer.left(headerEnd).split('\n');
    const QList<QByteArray> requestLine = lines.value(0).trimmed().split(' ');
    request.method = requestLine.value(0);
    request.target = requestLine.value(1);
    qsizetype contentLength = 0;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QByteArray line = lines.at(i).chopped(lines.at(i).endsWith('\r') ? 1 : 0);
        const qsizetype colon = line.indexOf(':');
        if (colon <= 0)
            continue;
        const QByteArray name = line.left(colon);
        const QByteArray value = line.mid(colon + 1).trimmed();
        request.headers.append({name, value});
        if (name.compare("Content-Length", Qt::CaseInsensitive) == 0)
            contentLength = value.toLongLong();
    }
    const qsizetype bodyStart = headerEnd + 4;
    if (connection->buffer.size() - bodyStart < contentLength)
        return;
    request.body = connection->buffer.mid(bodyStart, contentLength);
    connection->done = true;

    ZpTestHttpAnswer answer;
    bool silent = false;
    {
        QMutexLocker lock(&mMutex);
        mRequests.append(request);
        answer = mAnswer;
        silent = mSilent;
    }
    if (silent)
        return;

    QByteArray response = "HTTP/1.1 " + QByteArray::number(answer.status) + ' ' + answer.reason + "\r\n";
    for (const auto& [name, value] : answer.headers)
        response += name + ": " + value + "\r\n";
    response += "Content-Length: " + QByteArray::number(answer.body.size()) + "\r\n";
    response += "Connection: close\r\n\r\n";
    response += answer.body;
    connection->socket->write(response);
    connection->socket->disconnectFromHost();
}

quint16 zpTestUnusedPort()
{
    QTcpServer probe;
    if (!probe.listen(QHostAddress::LocalHost, 0))
        return 0;
    const quint16 port = probe.serverPort();
    probe.close();
    return port;
}
