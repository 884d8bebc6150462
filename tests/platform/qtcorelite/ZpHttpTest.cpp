#include <ZpQtCoreLite/ZpHttp.h>
#include <ZpQtCoreLite/ZpHttpOp.h>

#include "TestCertificates.h"
#include "ZpTestHttpServer.h"

#include <QDeadlineTimer>
#include <QFuture>
#include <QMutex>
#include <QProcess>
#include <QProcessEnvironment>
#include <QThread>
#include <QtConcurrent/QtConcurrentRun>

#include <gtest/gtest.h>

namespace {

struct PostResult
{
    bool ok = false;
    int code = -1;
    QByteArray body;
    QString error;
};

PostResult postOnce(ZpHttp& http, const QByteArray& body)
{
    PostResult result;
    result.ok = http.post(body);
    result.code = http.httpResultCode();
    result.body = http.responseBody();
    result.error = http.errorString();
    return result;
}

PostResult postTo(const QUrl& url, const QByteArray& body, int timeoutMs = 0, ZpHttpOp* op = nullptr)
{
    ZpHttp http(op);
    http.setUrl(url);
    if (timeoutMs > 0)
        http.setTimeout(timeoutMs);
    return postOnce(http, body);
}

// Liveness only: a post() that never returns fails the test instead of hanging it.
template <typename T>
bool finishes(const QFuture<T>& future, int timeoutMs = 30000)
{
    const QDeadlineTimer deadline(timeoutMs);
    while (!future.isFinished() && !deadline.hasExpired())
        QThread::msleep(10);
    return future.isFinished();
}

} // namespace

TEST(ZpHttp, DefaultsAndSetters)
{
    ZpHttp http;
    EXPECT_EQ(http.timeout(), ZpHttp::kDefaultTimeoutMs);
    EXPECT_EQ(ZpHttp::kDefaultTimeoutMs, 30000);
    http.setTimeout(1234);
    EXPECT_EQ(http.timeout(), 1234);
    http.setTimeout(0);
    EXPECT_EQ(http.timeout(), ZpHttp::kDefaultTimeoutMs);
    http.setTimeout(-5);
    EXPECT_EQ(http.timeout(), ZpHttp::kDefaultTimeoutMs);

    EXPECT_TRUE(http.url().isEmpty());
    http.setUrl(QUrl(QStringLiteral("https://example.invalid/logs?api-version=1.0.0")));
    EXPECT_EQ(http.url(), QUrl(QStringLiteral("https://example.invalid/logs?api-version=1.0.0")));
    EXPECT_EQ(http.httpResultCode(), 0);
    EXPECT_TRUE(http.responseBody().isEmpty());
}

TEST(ZpHttp, PostDeliversBodyAndHeadersExactlyInOrder)
{
    ZpTestHttpServer server;
    ASSERT_TRUE(server.isListening());
    ZpTestHttpAnswer answer;
    answer.status = 200;
    answer.body = QByteArray("answer \xC3\xA9 with a \0 byte", 24);
    answer.headers = {{"X-Answer", "yes"}};
    server.setAnswer(answer);

    ZpHttp http;
    http.setUrl(server.url(QStringLiteral("/logs")));
    http.setHeader("X-First", "1");
    http.setHeader("Content-Type", "application/json; charset=utf-8");
    http.setHeader("App-Secret", "0123-abcd");
    http.setHeader("x-first", "uno"); // replaces the value, keeps the place
    http.setHeader("Install-ID", "{5b1c3f0e-0000-4000-8000-000000000001}");
    static const char kBody[] = "{\"logs\":[{\"text\":\"\xE2\x82\xAC \xF0\x9F\x98\x80\"}]}\n\0tail";
    const QByteArray body(kBody, sizeof(kBody) - 1); // the NUL inside is part of the body

    const PostResult result = postOnce(http, body);
    EXPECT_TRUE(result.ok) << result.error.toStdString();
    EXPECT_EQ(result.code, 200);
    EXPECT_EQ(result.body, answer.body);
    EXPECT_TRUE(result.error.isEmpty());

    ASSERT_EQ(server.requests().size(), 1);
    const ZpTestHttpRequest request = server.requests().first();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.target, "/logs");
    EXPECT_EQ(request.body, body);

    const QList<QByteArray> ours = {"X-First", "Content-Type", "App-Secret", "Install-ID"};
    ZpTestHeaderList received;
    for (const auto& header : request.headers) {
        for (const QByteArray& name : ours) {
            if (header.first.compare(name, Qt::CaseInsensitive) == 0)
                received.append(header);
        }
    }
    const ZpTestHeaderList expected = {{"X-First", "uno"},
                                       {"Content-Type", "application/json; charset=utf-8"},
                                       {"App-Secret", "0123-abcd"},
                                       {"Install-ID", "{5b1c3f0e-0000-4000-8000-000000000001}"}};
    EXPECT_EQ(received, expected);
}

TEST(ZpHttp, ServerErrorIsReportedWithItsStatusAndBody)
{
    ZpTestHttpServer server;
    ASSERT_TRUE(server.isListening());
    server.setAnswer({500, "Internal Server Error", {}, "oops"});

    const PostResult result = postTo(server.url(), "x");
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.code, 500);
    EXPECT_EQ(result.body, "oops");
    EXPECT_FALSE(result.error.isEmpty());
}

TEST(ZpHttp, NotFoundIsReportedWithItsStatus)
{
    ZpTestHttpServer server;
    ASSERT_TRUE(server.isListening());
    server.setAnswer({404, "Not Found", {}, "no such thing"});

    const PostResult result = postTo(server.url(QStringLiteral("/missing")), "x");
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.code, 404);
    EXPECT_EQ(result.body, "no such thing");
}

TEST(ZpHttp, RedirectIsNotFollowed)
{
    ZpTestHttpServer server;
    ASSERT_TRUE(server.isListening());
    server.setAnswer({307, "Temporary Redirect", {{"Location", server.url(QStringLiteral("/elsewhere")).toEncoded()}}, {}});

    const PostResult result = postTo(server.url(QStringLiteral("/logs")), "x");
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.code, 307);
    ASSERT_EQ(server.requests().size(), 1);
    EXPECT_EQ(server.requests().first().target, "/logs");
}

TEST(ZpHttp, RefusedConnectionGivesResultCodeZero)
{
    const quint16 port = zpTestUnusedPort();
    ASSERT_NE(port, 0);
    const PostResult result =
        postTo(QUrl(QStringLiteral("http://127.0.0.1:%1/logs").arg(port)), "x");
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.code, 0);
    EXPECT_TRUE(result.body.isEmpty());
    EXPECT_FALSE(result.error.isEmpty());
}

TEST(ZpHttp, InvalidUrlFailsWithoutConnecting)
{
    ZpHttp http;
    EXPECT_FALSE(http.post("x"));
    EXPECT_EQ(http.httpResultCode(), 0);
    EXPECT_FALSE(http.errorString().isEmpty());

    http.setUrl(QUrl(QStringLiteral("relative/path")));
    EXPECT_FALSE(http.post("x"));
    EXPECT_EQ(http.httpResultCode(), 0);
}

TEST(ZpHttp, SilentServerRunsIntoTheTimeout)
{
    ZpTestHttpServer server;
    ASSERT_TRUE(server.isListening());
    server.setSilent(true);

    const QUrl url = server.url();
    QFuture<PostResult> future = QtConcurrent::run([url] { return postTo(url, "x", 300); });
    ASSERT_TRUE(finishes(future)) << "post() did not return after its time-out";
    const PostResult result = future.result();
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.code, 0);
    EXPECT_TRUE(result.error.contains(QStringLiteral("timed out"))) << result.error.toStdString();
    EXPECT_EQ(server.requests().size(), 1); // it did arrive; the answer never came
}

namespace {

QStringList sWarnings;
QMutex sWarningsLock;

void collectWarning(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (type == QtDebugMsg || type == QtInfoMsg)
        return;
    QMutexLocker lock(&sWarningsLock);
    sWarnings << message;
}

} // namespace

TEST(ZpHttp, ATimedOutPostWarnsNothing)
{
    ZpTestHttpServer server;
    ASSERT_TRUE(server.isListening());
    server.setSilent(true);
    sWarnings.clear();
    const QtMessageHandler previous = qInstallMessageHandler(collectWarning);

    const QUrl url = server.url();
    QFuture<PostResult> future = QtConcurrent::run([url] { return postTo(url, "x", 200); });
    const bool finished = finishes(future);
    qInstallMessageHandler(previous);
    ASSERT_TRUE(finished);
    EXPECT_EQ(future.result().code, 0);
    QMutexLocker lock(&sWarningsLock);
    EXPECT_TRUE(sWarnings.isEmpty()) << sWarnings.join(QLatin1Char('\n')).toStdString();
}

TEST(ZpHttp, ProcessWideDefaultTimeoutAppliesToObjectsMadeAfterwards)
{
    ZpTestHttpServer server;
    ASSERT_TRUE(server.isListening());
    server.setSilent(true);

    ZpHttp before;
    ZpHttp::setDefaultTimeout(250);
    ZpHttp after;
    EXPECT_EQ(before.timeout(), ZpHttp::kDefaultTimeoutMs);
    EXPECT_EQ(after.timeout(), 250);
    after.setTimeout(900);
    after.setTimeout(0); // back to the process default, not the built-in one
    EXPECT_EQ(after.timeout(), 250);

    const QUrl url = server.url();
    QFuture<PostResult> future = QtConcurrent::run([url] { return postTo(url, "x", 0); });
    // Well below the built-in 30 s: only the new default can end it in time.
    ASSERT_TRUE(finishes(future, 10000)) << "post() did not return after the default time-out";
    EXPECT_TRUE(future.result().error.contains(QStringLiteral("timed out")));

    ZpHttp::setDefaultTimeout(-1);
    EXPECT_EQ(ZpHttp().timeout(), ZpHttp::kDefaultTimeoutMs);
}

TEST(ZpHttp, APostOnAPoolThreadDoesNotHoldUpTheApplicationsExit)
{
    ZpTestHttpServer server;
    ASSERT_TRUE(server.isListening());
    server.setSilent(true);

    QProcess child;
    child.start(QStringLiteral(ZPQT_HTTP_CHILD), {QStringLiteral("--leave-while-posting"), server.url().toString()});
    // Liveness only: the child's post would otherwise wait ten minutes.
    ASSERT_TRUE(child.waitForFinished(60000)) << "the child's exit waited for its post";
    EXPECT_EQ(child.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(child.readAllStandardOutput().trimmed(), QByteArray("the application is closing down"));
}

TEST(ZpHttp, PostsFromPoolThreadsWithoutEventLoops)
{
    ZpTestHttpServer server;
    ASSERT_TRUE(server.isListening());
    server.setAnswer({200, "OK", {}, "fine"});

    const QUrl url = server.url();
    QList<QFuture<PostResult>> futures;
    for (int i = 0; i < 4; ++i) {
        futures.append(QtConcurrent::run([url, i] {
            PostResult result;
            // A pool thread sits in QThreadPool's own loop, never in an event loop.
            if (QThread::currentThread()->loopLevel() != 0)
                return result;
            return postTo(url, QByteArray("request ") + QByteArray::number(i));
        }));
    }
    for (const QFuture<PostResult>& future : futures) {
        ASSERT_TRUE(finishes(future));
        const PostResult result = future.result();
        EXPECT_TRUE(result.ok) << result.error.toStdString();
        EXPECT_EQ(result.code, 200);
        EXPECT_EQ(result.body, "fine");
    }
    QList<QByteArray> bodies;
    for (const ZpTestHttpRequest& request : server.requests())
        bodies.append(request.body);
    std::sort(bodies.begin(), bodies.end());
    EXPECT_EQ(bodies, (QList<QByteArray>{"request 0", "request 1", "request 2", "request 3"}));
}

TEST(ZpHttpOp, CountsBodyBytesBothWays)
{
    ZpTestHttpServer server;
    ASSERT_TRUE(server.isListening());
    server.setAnswer({200, "OK", {}, "12345"});

    ZpHttpOp op;
    EXPECT_EQ(op.bytesSent(), 0);
    EXPECT_EQ(op.bytesReceived(), 0);
    EXPECT_TRUE(postTo(server.url(), QByteArray(1000, 'a'), 0, &op).ok);
    EXPECT_EQ(op.bytesSent(), 1000);
    EXPECT_EQ(op.bytesReceived(), 5);
    EXPECT_TRUE(postTo(server.url(), QByteArray(24, 'b'), 0, &op).ok);
    EXPECT_EQ(op.bytesSent(), 1024);
    EXPECT_EQ(op.bytesReceived(), 10);
    EXPECT_FALSE(op.isCanceled());
}

TEST(ZpHttpOp, CancelStopsARunningPost)
{
    ZpTestHttpServer server;
    ASSERT_TRUE(server.isListening());
    server.setSilent(true);

    ZpHttpOp op;
    const QUrl url = server.url();
    QFuture<PostResult> future = QtConcurrent::run([url, &op] { return postTo(url, "x", 600000, &op); });
    ASSERT_TRUE(server.waitForRequests(1));
    EXPECT_FALSE(future.isFinished());
    op.cancel();
    EXPECT_TRUE(op.isCanceled());
    ASSERT_TRUE(finishes(future)) << "cancel() did not stop post()";
    const PostResult result = future.result();
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.error, QStringLiteral("canceled"));
}

TEST(ZpHttpOp, CanceledOpFailsLaterPostsWithoutConnecting)
{
    ZpTestHttpServer server;
    ASSERT_TRUE(server.isListening());

    ZpHttpOp op;
    op.cancel();
    const PostResult result = postTo(server.url(), "x", 0, &op);
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.code, 0);
    QThread::msleep(100); // a connection, had one been opened, would show by now
    EXPECT_EQ(server.connectionCount(), 0);
    EXPECT_EQ(op.bytesSent(), 0);
}

TEST(ZpHttpTls, UnknownAuthorityIsRejected)
{
    const TestCertificates certificates;
    ASSERT_TRUE(certificates.ok()) << certificates.error().toStdString();
    ZpTestHttpServer server(certificates.serverConfiguration());
    ASSERT_TRUE(server.isListening());

    const PostResult result = postTo(server.url(), "secret");
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.code, 0);
    EXPECT_FALSE(result.error.isEmpty());
    EXPECT_TRUE(server.requests().isEmpty());
}

TEST(ZpHttpTls, AddedAuthorityIsTrusted)
{
    const TestCertificates certificates;
    ASSERT_TRUE(certificates.ok()) << certificates.error().toStdString();
    ZpTestHttpServer server(certificates.serverConfiguration());
    ASSERT_TRUE(server.isListening());
    server.setAnswer({200, "OK", {}, "over tls"});

    ZpHttp::addCertificateAuthorities(certificates.authority());
    const PostResult result = postTo(server.url(QStringLiteral("/logs")), "secret");
    EXPECT_TRUE(result.ok) << result.error.toStdString();
    EXPECT_EQ(result.code, 200);
    EXPECT_EQ(result.body, "over tls");
    ASSERT_EQ(server.requests().size(), 1);
    EXPECT_EQ(server.requests().first().body, "secret");
}

// The child process trusts the test authority only through ZP_HTTP_EXTRA_CA_FILE.
TEST(ZpHttpTls, ChildProcessTrustsAuthorityFromEnvironment)
{
    const TestCertificates certificates;
    ASSERT_TRUE(certificates.ok()) << certificates.error().toStdString();
    ZpTestHttpServer server(certificates.serverConfiguration());
    ASSERT_TRUE(server.isListening());
    server.setAnswer({200, "OK", {}, "child ok"});

    const auto runChild = [&](bool withAuthority) {
        QProcess child;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(QStringLiteral("ZP_HTTP_EXTRA_CA_FILE"));
        if (withAuthority)
            environment.insert(QStringLiteral("ZP_HTTP_EXTRA_CA_FILE"), certificates.authorityPemPath());
        child.setProcessEnvironment(environment);
        child.start(QStringLiteral(ZPQT_HTTP_CHILD), {server.url().toString()});
        if (!child.waitForFinished(60000) || child.exitStatus() != QProcess::NormalExit)
            return QByteArray("did not finish");
        return child.readAllStandardOutput().trimmed();
    };

    EXPECT_EQ(runChild(false), "0");
    EXPECT_EQ(runChild(true), "200 child ok");
}
