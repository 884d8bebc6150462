#pragma once

// A small HTTP/1.1 server for the ZpHttp tests: it listens on 127.0.0.1 on a port
// of its own choosing, runs on a thread of its own (so it answers while the test
// thread sits in a blocking post()), keeps every request exactly as it arrived,
// and answers each one with the configured answer, or never when silent. With a
// TLS configuration it serves HTTPS through QSslServer.
//
// Thread safety: every member may be called from any thread.

#include <QByteArray>
#include <QList>
#include <QMutex>
#include <QPair>
#include <QSslConfiguration>
#include <QThread>
#include <QUrl>

#include <atomic>
#include <optional>

using ZpTestHeaderList = QList<QPair<QByteArray, QByteArray>>;

struct ZpTestHttpRequest
{
    QByteArray method;
    QByteArray target;
    ZpTestHeaderList headers; // in arrival order, names as sent
    QByteArray body;

    // The values of the headers named `name` (case-insensitive), in order.
    QList<QByteArray> values(const QByteArray& name) const;
};

struct ZpTestHttpAnswer
{
    int status = 200;
    QByteArray reason = "OK";
    ZpTestHeaderList headers;
    QByteArray body;
};

class ZpTestHttpServer
{
public:
    explicit ZpTestHttpServer(std::optional<QSslConfiguration> tls = std::nullopt);
    ~ZpTestHttpServer();

    ZpTestHttpServer(const ZpTestHttpServer&) = delete;
    ZpTestHttpServer& operator=(const ZpTestHttpServer&) = delete;

    bool isListening() const { return mPort != 0; }
    quint16 port() const { return mPort; }
    QUrl url(const QString& path = QStringLiteral("/")) const;

    void setAnswer(const ZpTestHttpAnswer& answer);
    // Silent: accept and read, but never answer and never close.
    void setSilent(bool silent);

    QList<ZpTestHttpRequest> requests() const;
    int connectionCount() const;
    // Waits (bounded) until at least `count` requests have arrived completely.
    bool waitForRequests(int count, int timeoutMs = 20000) const;

private:
    struct Connection;
    void onConnection(class QTcpSocket* socket);
    void onReadyRead(Connection* connection);

    bool mTls = false;
    // Set on the server thread while the constructor waits for it.
    std::atomic<quint16> mPort{0};
    QThread mThread;
    QObject* mContext = nullptr; // lives on mThread; parent of the server and sockets

    mutable QMutex mMutex;
    ZpTestHttpAnswer mAnswer;
    bool mSilent = false;
    QList<ZpTestHttpRequest> mRequests;
    int mConnections = 0;
};

// A TCP port on 127.0.0.1 that nothing listens on (bound and released again).
quint16 zpTestUnusedPort();
