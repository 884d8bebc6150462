#include <ZpQtCoreLite/ZpHttp.h>
#include <ZpQtCoreLite/ZpHttpOp.h>

#include "ZpHttpOpPrivate.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QMutex>
#include <QMutexLocker>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPair>
#include <QSslConfiguration>
#include <QTimer>
#include <QWaitCondition>
#include <QDeadlineTimer>

#include <atomic>
#include <memory>
#include <mutex>

namespace {

// The process-wide extra certificate authorities. The merged list (system CAs
// plus extras) is built lazily because reading the system store costs a few
// milliseconds and most processes never add anything.
class ExtraAuthorities
{
public:
    static ExtraAuthorities& instance()
    {
        static ExtraAuthorities authorities;
        return authorities;
    }

    void add(const QList<QSslCertificate>& certificates)
    {
        QMutexLocker lock(&mMutex);
        for (const QSslCertificate& certificate : certificates) {
            if (!certificate.isNull() && !mExtras.contains(certificate))
                mExtras.append(certificate);
        }
        mMerged.clear();
    }

    // Empty when there are no extras: the exchange then keeps Qt's default
    // configuration, which loads the system store on demand.
    QList<QSslCertificate> mergedWithSystem()
    {
        std::call_once(mEnvironmentOnce, [this] { add(fromEnvironment()); });
        QMutexLocker lock(&mMutex);
        if (mExtras.isEmpty())
            return {};
        if (mMerged.isEmpty())
            mMerged = QSslConfiguration::systemCaCertificates() + mExtras;
        return mMerged;
    }

private:
    static QList<QSslCertificate> fromEnvironment()
    {
        const QString path = qEnvironmentVariable("ZP_HTTP_EXTRA_CA_FILE");
        if (path.isEmpty())
            return {};
        const QList<QSslCertificate> certificates = QSslCertificate::fromPath(path, QSsl::Pem);
        if (certificates.isEmpty())
            qWarning("ZpHttp: no PEM certificate could be read from ZP_HTTP_EXTRA_CA_FILE=%s",
                     qUtf8Printable(path));
        return certificates;
    }

    std::once_flag mEnvironmentOnce;
    QMutex mMutex;
    QList<QSslCertificate> mExtras;
    QList<QSslCertificate> mMerged;
};

// How often a waiting post() checks whether the application is closing down.
constexpr int kClosingWatchIntervalMs = 50;
// The longest the application's destructor waits for posts to give up.
constexpr int kClosingWaitMs = 2000;

// The posts in flight, and the application's closing down. ~QCoreApplication
// waits for the thread pool after it has stopped delivering events to every
// thread, so a post still waiting then could never finish. Its post routines
// run before that point: the one registered here marks the process as
// closing, which every waiting post notices and aborts, and waits for them.
class ActivePosts
{
public:
    static ActivePosts& instance()
    {
        static ActivePosts posts;
        return posts;
    }

    // False once the application is closing down: do not start.
    bool enter()
    {
        QMutexLocker lock(&mMutex);
        if (mClosing)
            return false;
        if (!mRoutineRegistered) {
            qAddPostRoutine(&ActivePosts::closeDown);
            mRoutineRegistered = true;
        }
        ++mCount;
        return true;
    }

    void leave()
    {
        QMutexLocker lock(&mMutex);
        if (--mCount == 0)
            mIdle.wakeAll();
    }

    bool isClosing()
    {
        QMutexLocker lock(&mMutex);
        return mClosing;
    }

private:
    // Runs on the application's thread inside ~QCoreApplication.
    static void closeDown()
    {
        ActivePosts& posts = instance();
        QMutexLocker lock(&posts.mMutex);
        posts.mClosing = true; // for good: the application object is going
        const QDeadlineTimer deadline(kClosingWaitMs);
        while (posts.mCount > 0 && posts.mIdle.wait(&posts.mMutex, deadline)) {
        }
    }

    QMutex mMutex;
    QWaitCondition mIdle;
    int mCount = 0;
    bool mClosing = false;
    bool mRoutineRegistered = false;
};

// Counts a post in flight for as long as it lives.
class ActivePost
{
public:
    ActivePost() : mEntered(ActivePosts::instance().enter()) {}
    ~ActivePost()
    {
        if (mEntered)
            ActivePosts::instance().leave();
    }
    ActivePost(const ActivePost&) = delete;
    ActivePost& operator=(const ActivePost&) = delete;
    bool entered() const { return mEntered; }

private:
    bool mEntered;
};

// The time-out of ZpHttp objects that set none of their own.
std::atomic<int> sDefaultTimeoutMs{ZpHttp::kDefaultTimeoutMs};

} // namespace

struct ZPQTCORELITE_NO_EXPORT ZpHttp::Private
{
    ZpHttpOp* op = nullptr;
    QUrl url;
    QList<QPair<QByteArray, QByteArray>> headers;
    int timeoutMs = sDefaultTimeoutMs.load();

    int resultCode = 0;
    QByteArray responseBody;
    QString errorString;

    QNetworkRequest makeRequest() const;
};

QNetworkRequest ZpHttp::Private::makeRequest() const
{
    QNetworkRequest request(url);
    bool hasContentType = false;
    for (const auto& [name, value] : headers) {
        request.setRawHeader(name, value);
        hasContentType = hasContentType || name.compare("Content-Type", Qt::CaseInsensitive) == 0;
    }
    // Qt would pick a form encoding (and warn); an unlabelled body is just bytes.
    if (!hasContentType)
        request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/octet-stream"));
    // A POST must not land somewhere its sender did not choose; the caller sees
    // the 3xx instead.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);

    const QList<QSslCertificate> authorities = ExtraAuthorities::instance().mergedWithSystem();
    if (!authorities.isEmpty()) {
        QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
        tls.setCaCertificates(authorities);
        request.setSslConfiguration(tls);
    }
    return request;
}

ZpHttp::ZpHttp(ZpHttpOp* op)
    : d(std::make_unique<Private>())
{
    d->op = op;
}

ZpHttp::~ZpHttp() = default;

void ZpHttp::setUrl(const QUrl& url)
{
    d->url = url;
}

QUrl ZpHttp::url() const
{
    return d->url;
}

void ZpHttp::setHeader(const QByteArray& name, const QByteArray& value)
{
    for (auto& header : d->headers) {
        if (header.first.compare(name, Qt::CaseInsensitive) == 0) {
            header.second = value;
            return;
        }
    }
    d->headers.append({name, value});
}

void ZpHttp::setTimeout(int ms)
{
    d->timeoutMs = ms > 0 ? ms : sDefaultTimeoutMs.load();
}

void ZpHttp::setDefaultTimeout(int ms)
{
    sDefaultTimeoutMs.store(ms > 0 ? ms : kDefaultTimeoutMs);
}

int ZpHttp::timeout() const
{
    return d->timeoutMs;
}

bool ZpHttp::post(const QByteArray& body)
{
    d->resultCode = 0;
    d->responseBody.clear();
    d->errorString.clear();

    if (!d->url.isValid() || d->url.isRelative()) {
        d->errorString = QStringLiteral("invalid URL '%1'").arg(d->url.toString());
        return false;
    }
    if (!QCoreApplication::instance()) {
        d->errorString = QStringLiteral("no QCoreApplication: Qt networking needs one");
        return false;
    }
    const ActivePost active;
    if (!active.entered()) {
        d->errorString = QStringLiteral("the application is closing down");
        return false;
    }
    ZpHttpOp::Private* op = d->op ? d->op->d.get() : nullptr;
    if (op && op->canceled.load()) {
        d->errorString = QStringLiteral("canceled");
        return false;
    }

    // Everything below lives on this thread and dies with this call, so post()
    // needs no event loop of the thread's own and leaves nothing behind. The
    // order of declaration is the reverse of the order of destruction: the reply
    // goes before its manager, the loop and timer before the reply.
    bool timedOut = false;
    qint64 sent = 0;
    qint64 received = 0;
    QNetworkAccessManager manager;
    std::unique_ptr<QNetworkReply> reply(manager.post(d->makeRequest(), body));

    QEventLoop loop;
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);

    QTimer deadline;
    deadline.setSingleShot(true);
    QObject::connect(&deadline, &QTimer::timeout, reply.get(), [&timedOut, &reply] {
        timedOut = true;
        reply->abort();
    });

    // Give up when the application closes down rather than hold up its exit
    // until the time-out (see ActivePosts).
    bool closing = false;
    QTimer closingWatch;
    QObject::connect(&closingWatch, &QTimer::timeout, reply.get(), [&closing, &reply] {
        if (!closing && ActivePosts::instance().isClosing()) {
            closing = true;
            reply->abort();
        }
    });

    if (op) {
        QObject::connect(reply.get(), &QNetworkReply::uploadProgress, reply.get(),
                         [op, &sent](qint64 done, qint64) {
                             op->bytesSent.fetch_add(done - sent);
                             sent = done;
                         });
        QObject::connect(reply.get(), &QNetworkReply::downloadProgress, reply.get(),
                         [op, &received](qint64 done, qint64) {
                             op->bytesReceived.fetch_add(done - received);
                             received = done;
                         });
    }

    bool canceled = op && !op->attach(reply.get());
    if (canceled) {
        reply->abort();
    } else {
        deadline.start(d->timeoutMs);
        closingWatch.start(kClosingWatchIntervalMs);
        // User input stays queued: a click must not re-enter the caller while it
        // waits, e.g. on the GUI thread.
        if (!reply->isFinished())
            loop.exec(QEventLoop::ExcludeUserInputEvents);
        deadline.stop();
        closingWatch.stop();
        if (op) {
            op->detach(reply.get());
            canceled = op->canceled.load();
        }
    }

    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    d->resultCode = status.isValid() ? status.toInt() : 0;
    // An aborted reply is closed, and reading a closed device only warns.
    d->responseBody = reply->isOpen() ? reply->readAll() : QByteArray();
    // Qt reports upload progress only for bodies sent in several pieces; an
    // answer means the server has read the whole request.
    if (op && d->resultCode != 0 && sent < body.size())
        op->bytesSent.fetch_add(body.size() - sent);

    const bool success = reply->error() == QNetworkReply::NoError
                         && d->resultCode >= 200 && d->resultCode < 300;
    if (success)
        return true;

    if (timedOut)
        d->errorString = QStringLiteral("timed out after %1 ms").arg(d->timeoutMs);
    else if (closing)
        d->errorString = QStringLiteral("the application is closing down");
    else if (canceled && reply->error() == QNetworkReply::OperationCanceledError)
        d->errorString = QStringLiteral("canceled");
    else if (reply->error() != QNetworkReply::NoError)
        d->errorString = reply->errorString();
    else
        d->errorString = QStringLiteral("HTTP status %1").arg(d->resultCode);
    return false;
}

int ZpHttp::httpResultCode() const
{
    return d->resultCode;
}

QByteArray ZpHttp::responseBody() const
{
    return d->responseBody;
}

QString ZpHttp::errorString() const
{
    return d->errorString;
}

void ZpHttp::addCertificateAuthorities(const QList<QSslCertificate>& authorities)
{
    ExtraAuthorities::instance().add(authorities);
}
