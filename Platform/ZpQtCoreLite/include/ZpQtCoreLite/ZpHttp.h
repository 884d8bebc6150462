#pragma once

#include <ZpQtCoreLite/ZpQtCoreLiteExport.h>

#include <QByteArray>
#include <QList>
#include <QSslCertificate>
#include <QString>
#include <QUrl>

#include <memory>

class ZpHttpOp;

// One blocking HTTP(S) POST exchange at a time.
//
// post() runs the whole exchange before it returns. It needs a Q(Core)Application
// object and a thread that Qt knows (the GUI thread, any QThread, a QThreadPool
// worker); the thread does not need a running event loop, because post() spins a
// local one that excludes user input (timers and queued calls of the thread still
// run while it waits, which matters on the GUI thread). Redirects are not followed: a 3xx answer is
// reported as it is and post() returns false. TLS peers are verified against the
// system's certificate authorities plus those added through
// addCertificateAuthorities() or the file named by ZP_HTTP_EXTRA_CA_FILE; nothing
// turns verification off.
//
// Thread safety: a ZpHttp object belongs to one thread at a time; different
// objects may post on different threads at once. The static members may be called
// from any thread.
class ZPQTCORELITE_EXPORT ZpHttp
{
public:
    static constexpr int kDefaultTimeoutMs = 30000;

    // `op` is borrowed, may be null, and must outlive every post() of this object.
    explicit ZpHttp(ZpHttpOp* op = nullptr);
    ~ZpHttp();

    ZpHttp(const ZpHttp&) = delete;
    ZpHttp& operator=(const ZpHttp&) = delete;

    void setUrl(const QUrl& url);
    QUrl url() const;

    // Headers go on the wire in the order of the calls that first set them.
    // Setting a name again (compared case-insensitively) replaces its value and
    // keeps its place. Qt adds the transport headers it needs (Host,
    // Content-Length, Connection, ...). Without a Content-Type header the body is
    // sent as application/octet-stream.
    void setHeader(const QByteArray& name, const QByteArray& value);

    // The longest the whole exchange may take (connect, TLS handshake, upload,
    // answer), in milliseconds; when it runs out the exchange is aborted and post()
    // returns false. Values <= 0 restore the process-wide default.
    void setTimeout(int ms);
    int timeout() const;

    // Sends `body` and waits for the complete answer. True only when an HTTP
    // answer with a 2xx status arrived and its body was read to the end. Gives
    // up early (within about 50 ms) once the application object is closing
    // down, so that a post on a pool thread never holds up the host's exit.
    bool post(const QByteArray& body);

    // The HTTP status of the last post(), also for answers that made it return
    // false (404, 500, 3xx). 0 when no HTTP answer arrived: refused or failed
    // connection, TLS failure, time-out, cancellation, invalid URL, and before the
    // first post().
    int httpResultCode() const;

    // The body of the last answer, whatever its status; empty when none arrived.
    QByteArray responseBody() const;

    // Why the last post() failed, for logs; empty after a success.
    QString errorString() const;

    // Trusts `authorities` as additional certificate authorities for every later
    // exchange of every ZpHttp in this process, beside the system's. Meant for
    // tests and self-hosted receivers. Child processes get the same through the
    // environment variable ZP_HTTP_EXTRA_CA_FILE (a PEM file, read once, at the
    // first exchange).
    static void addCertificateAuthorities(const QList<QSslCertificate>& authorities);

    // The time-out of every ZpHttp made afterwards that sets none itself, for
    // callers that cannot reach the object (tests of code that posts).
    // Values <= 0 restore kDefaultTimeoutMs.
    static void setDefaultTimeout(int ms);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
