#include <ZpIngest/IngestServer.h>

#include <ZpIngest/HttpRequestHead.h>
#include <ZpIngest/IngestStore.h>
#include <ZpIngest/LogValidator.h>

#include "IngestConnectionGate.h"

#include <QFile>
#include <QHttpServer>
#include <QHttpServerRequest>
#include <QHttpServerResponder>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslSocket>
#include <QTcpSocket>
#include <QTimer>
#include <QUrlQuery>

#include <memory>

namespace {

const char kLogsPath[] = "/logs";
const char kControlPath[] = "/zp-ingest/control";
const char kAdminPrefix[] = "/zp-ingest/";
const char kApiVersion[] = "1.0.0";

// Paths echoed into reasons are cut: they come from the client.
constexpr qsizetype kMaxEchoedPathChars = 80;

QString shownPath(const QString& path)
{
    return path.size() > kMaxEchoedPathChars ? path.left(kMaxEchoedPathChars) + QStringLiteral("...") : path;
}

QSslKey readPrivateKey(const QByteArray& pem)
{
    for (QSsl::KeyAlgorithm algorithm : {QSsl::Rsa, QSsl::Ec}) {
        QSslKey key(pem, algorithm, QSsl::Pem, QSsl::PrivateKey);
        if (!key.isNull())
            return key;
    }
    return {};
}

} // namespace

struct IngestServer::Private
{
    Private(IngestServer* owner, IngestStore* store) : q(owner), store(store) {}

    IngestConnectionGate::Decision examine(const HttpRequestHead& head);
    void invalidHead(const HttpRequestHead& head, int status);
    void handleLogs(const QHttpServerRequest& request, QHttpServerResponder&& responder);
    void handleControl(const QHttpServerRequest& request, QHttpServerResponder&& responder);
    void handleMissing(const QHttpServerRequest& request, QHttpServerResponder&& responder);
    void record(const QString& path, int status, qint64 bodyBytes, const QString& reason);
    void answer(QHttpServerResponder&& responder, int status, const QByteArray& body, const QByteArray& contentType,
                bool delayed);
    void refuseLogs(QHttpServerResponder&& responder, const QHttpServerRequest& request, int status,
                    const QString& reason);

    IngestServer* const q;
    IngestStore* const store;
    QHttpServer http;
    IngestConnectionGate* gate = nullptr; // owned by `http` once bound
    IngestFaults faults;
    qint64 maxBodyBytes = kDefaultMaxBodyBytes;
    QSslConfiguration tlsConfiguration;
    bool tls = false;
    quint16 port = 0;
};

IngestConnectionGate::Decision IngestServer::Private::examine(const HttpRequestHead& head)
{
    using Decision = IngestConnectionGate::Decision;
    using Verdict = IngestConnectionGate::Verdict;
    if (head.path.startsWith(kAdminPrefix))
        return Decision{};
    const QString path = QString::fromUtf8(head.path);
    if (head.chunked) {
        const QString reason = QStringLiteral("a Content-Length is required; chunked bodies are not accepted");
        record(path, 411, 0, reason);
        return Decision{Verdict::Refuse, 411, reason.toUtf8()};
    }
    if (head.contentLength > maxBodyBytes) {
        const QString reason =
            QStringLiteral("body of %1 bytes is larger than %2 bytes").arg(head.contentLength).arg(maxBodyBytes);
        record(path, 413, head.contentLength, reason);
        return Decision{Verdict::Refuse, 413, reason.toUtf8()};
    }
    if (faults.takeClose()) {
        record(path, 0, head.contentLength, QStringLiteral("connection dropped on purpose (closeCount)"));
        return Decision{Verdict::Drop, 0, {}};
    }
    return Decision{};
}

void IngestServer::Private::invalidHead(const HttpRequestHead& head, int status)
{
    record(QString(), status, 0, head.error);
}

void IngestServer::Private::handleLogs(const QHttpServerRequest& request, QHttpServerResponder&& responder)
{
    const QString receivedAt = IngestStore::currentTimestamp();
    const QByteArray body = request.body();
    if (faults.takeFailure()) {
        const int status = faults.failStatus;
        const QString reason = QStringLiteral("failed on purpose (failStatus %1)").arg(status);
        record(request.url().path(), status, body.size(), reason);
        answer(std::move(responder), status, reason.toUtf8(), "text/plain; charset=utf-8", true);
        return;
    }
    if (request.method() != QHttpServerRequest::Method::Post) {
        refuseLogs(std::move(responder), request, 400, QStringLiteral("method must be POST"));
        return;
    }
    if (request.query().queryItemValue(QStringLiteral("api-version")) != QLatin1String(kApiVersion)) {
        refuseLogs(std::move(responder), request, 400, QStringLiteral("query must carry api-version=1.0.0"));
        return;
    }
    // The gate has refused every announced oversize already; checked again so
    // that the limit holds whatever way a body reaches this route.
    if (body.size() > maxBodyBytes) {
        refuseLogs(std::move(responder), request, 413, QStringLiteral("body is larger than %1 bytes").arg(maxBodyBytes));
        return;
    }
    const LogValidator::Result result = LogValidator::validate(request.headers(), body);
    if (!result.ok) {
        refuseLogs(std::move(responder), request, 400, result.reason);
        return;
    }
    IngestStore::RequestRecord accepted;
    accepted.receivedAt = receivedAt;
    accepted.status = 200;
    accepted.bodyBytes = body.size();
    accepted.logCount = int(result.logs.size());
    if (!store->storeAccepted(accepted, result)) {
        const QString reason = QStringLiteral("cannot store the logs: ") + store->errorString();
        record(request.url().path(), 500, body.size(), reason);
        answer(std::move(responder), 500, reason.toUtf8(), "text/plain; charset=utf-8", true);
        return;
    }
    emit q->requestRecorded(200, request.url().path(), accepted.logCount, QString());
    answer(std::move(responder), 200, "{}", "application/json", true);
}

void IngestServer::Private::refuseLogs(QHttpServerResponder&& responder, const QHttpServerRequest& request,
                                       int status, const QString& reason)
{
    record(request.url().path(), status, request.body().size(), reason);
    answer(std::move(responder), status, reason.toUtf8(), "text/plain; charset=utf-8", true);
}

void IngestServer::Private::handleControl(const QHttpServerRequest& request, QHttpServerResponder&& responder)
{
    if (request.method() == QHttpServerRequest::Method::Post) {
        QJsonParseError parseError;
        const QJsonDocument document = QJsonDocument::fromJson(request.body(), &parseError);
        QString reason;
        IngestFaults changed;
        if (parseError.error != QJsonParseError::NoError || !document.isObject())
            reason = QStringLiteral("body must be a JSON object");
        else if (IngestFaults::fromJson(document.object(), faults, &changed, &reason))
            faults = changed;
        if (!reason.isEmpty()) {
            answer(std::move(responder), 400, reason.toUtf8(), "text/plain; charset=utf-8", false);
            return;
        }
    } else if (request.method() != QHttpServerRequest::Method::Get) {
        answer(std::move(responder), 400, "method must be GET or POST", "text/plain; charset=utf-8", false);
        return;
    }
    answer(std::move(responder), 200, QJsonDocument(faults.toJson()).toJson(QJsonDocument::Compact),
           "application/json", false);
}

void IngestServer::Private::handleMissing(const QHttpServerRequest& request, QHttpServerResponder&& responder)
{
    const QString reason = QStringLiteral("no such route: ") + shownPath(request.url().path());
    record(request.url().path(), 404, request.body().size(), reason);
    answer(std::move(responder), 404, reason.toUtf8(), "text/plain; charset=utf-8", true);
}

void IngestServer::Private::record(const QString& path, int status, qint64 bodyBytes, const QString& reason)
{
    IngestStore::RequestRecord request;
    request.receivedAt = IngestStore::currentTimestamp();
    request.status = status;
    request.bodyBytes = bodyBytes;
    request.reason = reason;
    // A failure here cannot change the answer; it shows in the summary's counts.
    store->recordRequest(request);
    emit q->requestRecorded(status, path, 0, reason);
}

void IngestServer::Private::answer(QHttpServerResponder&& responder, int status, const QByteArray& body,
                                   const QByteArray& contentType, bool delayed)
{
    auto send = [status, body, contentType](QHttpServerResponder& target) {
        target.write(body, {{"Content-Type", contentType}, {"Connection", "close"}},
                     QHttpServerResponder::StatusCode(status));
        // Written data goes out before the close.
        target.socket()->disconnectFromHost();
    };
    if (!delayed || faults.delayMs <= 0) {
        send(responder);
        return;
    }
    // The socket is the timer's context: when the client gives up first,
    // QHttpServer deletes the socket, the answer is never sent, and the
    // responder goes with the timer's functor.
    auto held = std::make_shared<QHttpServerResponder>(std::move(responder));
    QTimer::singleShot(faults.delayMs, held->socket(), [held, send] { send(*held); });
}

IngestServer::IngestServer(IngestStore* store, QObject* parent)
    : QObject(parent), d(std::make_unique<Private>(this, store))
{
    d->http.route(kLogsPath, [this](const QHttpServerRequest& request, QHttpServerResponder&& responder) {
        d->handleLogs(request, std::move(responder));
    });
    d->http.route(kControlPath, [this](const QHttpServerRequest& request, QHttpServerResponder&& responder) {
        d->handleControl(request, std::move(responder));
    });
    d->http.setMissingHandler([this](const QHttpServerRequest& request, QHttpServerResponder&& responder) {
        d->handleMissing(request, std::move(responder));
    });
}

IngestServer::~IngestServer() = default;

bool IngestServer::setTlsFiles(const QString& certificateChainPath, const QString& privateKeyPath, QString* error)
{
    Q_ASSERT(!d->gate);
    if (!QSslSocket::supportsSsl()) {
        *error = QStringLiteral("this Qt has no TLS backend");
        return false;
    }
    const QList<QSslCertificate> chain = QSslCertificate::fromPath(certificateChainPath, QSsl::Pem);
    if (chain.isEmpty()) {
        *error = QStringLiteral("no PEM certificate in %1").arg(certificateChainPath);
        return false;
    }
    QFile keyFile(privateKeyPath);
    if (!keyFile.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("cannot read %1: %2").arg(privateKeyPath, keyFile.errorString());
        return false;
    }
    const QSslKey key = readPrivateKey(keyFile.readAll());
    if (key.isNull()) {
        *error = QStringLiteral("no unencrypted PEM RSA or EC private key in %1").arg(privateKeyPath);
        return false;
    }
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificateChain(chain);
    configuration.setPrivateKey(key);
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
    d->tlsConfiguration = configuration;
    d->tls = true;
    return true;
}

bool IngestServer::listen(quint16 port, QString* error)
{
    Q_ASSERT(!d->gate);
    auto gate = std::make_unique<IngestConnectionGate>(
        [this](const HttpRequestHead& head) { return d->examine(head); },
        [this](const HttpRequestHead& head, int status) { d->invalidHead(head, status); });
    if (d->tls)
        gate->setSslConfiguration(d->tlsConfiguration);
    if (!gate->listen(QHostAddress::LocalHost, port)) {
        *error = QStringLiteral("cannot listen on 127.0.0.1:%1: %2").arg(port).arg(gate->errorString());
        return false;
    }
    d->port = gate->serverPort();
    d->gate = gate.release();
    d->http.bind(d->gate);
    return true;
}

quint16 IngestServer::port() const
{
    return d->port;
}

bool IngestServer::isTls() const
{
    return d->tls;
}

QUrl IngestServer::baseUrl() const
{
    if (!d->gate)
        return {};
    return QUrl(QStringLiteral("%1://127.0.0.1:%2").arg(d->tls ? QStringLiteral("https") : QStringLiteral("http")).arg(d->port));
}

void IngestServer::setFaults(const IngestFaults& faults)
{
    d->faults = faults;
}

IngestFaults IngestServer::faults() const
{
    return d->faults;
}

void IngestServer::setMaxBodyBytes(qint64 bytes)
{
    d->maxBodyBytes = bytes;
}

qint64 IngestServer::maxBodyBytes() const
{
    return d->maxBodyBytes;
}
