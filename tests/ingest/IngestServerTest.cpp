#include "IngestTestSupport.h"
#include "TestCertificates.h"

#include <ZpIngest/IngestServer.h>
#include <ZpIngest/IngestStore.h>

#include <QCryptographicHash>
#include <QEventLoop>
#include <QFile>
#include <QJsonDocument>
#include <QSignalSpy>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QSslCertificate>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

#include <memory>

using namespace ingest_test;

namespace {

constexpr int kLivenessMs = 20000;

class ZpIngestServer : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(mDirectory.isValid());
        mStore = std::make_unique<IngestStore>(mDirectory.filePath(QStringLiteral("ingest.db")));
        ASSERT_TRUE(mStore->open()) << mStore->errorString().toStdString();
        mServer = std::make_unique<IngestServer>(mStore.get());
    }

    void listen()
    {
        QString error;
        ASSERT_TRUE(mServer->listen(0, &error)) << error.toStdString();
        ASSERT_NE(mServer->port(), 0);
    }

    QUrl logsUrl(const QString& query = QStringLiteral("api-version=1.0.0")) const
    {
        QUrl url = mServer->baseUrl().resolved(QUrl(QStringLiteral("/logs")));
        url.setQuery(query);
        return url;
    }

    // Waits until the server has recorded `count` requests in all (for answers
    // the client never sees).
    void waitForRecorded(QSignalSpy& spy, int count)
    {
        while (spy.count() < count && spy.wait(kLivenessMs)) {
        }
        ASSERT_GE(spy.count(), count);
    }

    // Sends raw bytes on a plain connection and returns everything the server
    // wrote back before it closed. The server runs on this thread, so the wait
    // spins the event loop instead of blocking.
    QByteArray exchangeRaw(const QByteArray& bytes)
    {
        QTcpSocket socket;
        QByteArray answer;
        QEventLoop loop;
        QObject::connect(&socket, &QTcpSocket::connected, [&] { socket.write(bytes); });
        QObject::connect(&socket, &QTcpSocket::readyRead, [&] { answer += socket.readAll(); });
        QObject::connect(&socket, &QTcpSocket::disconnected, &loop, &QEventLoop::quit);
        QObject::connect(&socket, &QTcpSocket::errorOccurred, &loop, &QEventLoop::quit);
        QTimer::singleShot(kLivenessMs, &loop, &QEventLoop::quit);
        socket.connectToHost(QHostAddress::LocalHost, mServer->port());
        loop.exec();
        EXPECT_NE(socket.state(), QAbstractSocket::ConnectedState) << "the server did not close";
        return answer + socket.readAll();
    }

    QTemporaryDir mDirectory;
    std::unique_ptr<IngestStore> mStore;
    std::unique_ptr<IngestServer> mServer;
};

} // namespace

TEST_F(ZpIngestServer, ListensOnLoopbackAndNamesItsUrl)
{
    EXPECT_TRUE(mServer->baseUrl().isEmpty());
    listen();
    EXPECT_FALSE(mServer->isTls());
    EXPECT_EQ(mServer->baseUrl(), QUrl(QStringLiteral("http://127.0.0.1:%1").arg(mServer->port())));
}

TEST_F(ZpIngestServer, ListenFailsOnAPortInUse)
{
    listen();
    IngestServer second(mStore.get());
    QString error;
    EXPECT_FALSE(second.listen(mServer->port(), &error));
    EXPECT_FALSE(error.isEmpty());
}

TEST_F(ZpIngestServer, ValidRequestIsStoredAndAnswered200)
{
    listen();
    QSignalSpy recorded(mServer.get(), &IngestServer::requestRecorded);
    const Answer answer = post(logsUrl(), body(oneOfEachType()));
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.error, QNetworkReply::NoError);
    EXPECT_EQ(answer.body, QByteArray("{}"));

    const QList<IngestStore::StoredLog> logs = mStore->logs();
    ASSERT_EQ(logs.size(), 5);
    EXPECT_EQ(logs.at(0).type, QStringLiteral("startService"));
    EXPECT_EQ(logs.at(4).type, QStringLiteral("errorAttachment"));
    EXPECT_EQ(logs.at(2).name, QStringLiteral("FeatureUsed"));
    EXPECT_EQ(logs.at(0).installId, QString::fromLatin1(kInstallId));
    EXPECT_EQ(logs.at(0).appSecretSha256,
              QString::fromLatin1(QCryptographicHash::hash(kAppSecret, QCryptographicHash::Sha256).toHex()));
    EXPECT_TRUE(LogValidator::isTimestamp(logs.at(0).receivedAt));
    const QList<IngestStore::RequestRecord> requests = mStore->requests();
    ASSERT_EQ(requests.size(), 1);
    EXPECT_EQ(requests.at(0).status, 200);
    EXPECT_EQ(requests.at(0).logCount, 5);
    EXPECT_EQ(requests.at(0).bodyBytes, body(oneOfEachType()).size());
    ASSERT_EQ(recorded.count(), 1);
    EXPECT_EQ(recorded.at(0).at(0).toInt(), 200);
    EXPECT_EQ(recorded.at(0).at(1).toString(), QStringLiteral("/logs"));
    EXPECT_EQ(recorded.at(0).at(2).toInt(), 5);
}

TEST_F(ZpIngestServer, InvalidRequestStoresNothingAndNamesTheProblem)
{
    listen();
    QList<QJsonObject> logs = oneOfEachType();
    logs[3].insert("timestamp", "2024-05-01T10:20:30Z");
    const Answer answer = post(logsUrl(), body(logs));
    EXPECT_EQ(answer.status, 400);
    const QByteArray reason = R"(log 3: "timestamp" is not ISO 8601 with milliseconds)";
    EXPECT_EQ(answer.body, reason);
    EXPECT_TRUE(mStore->logs().isEmpty());
    const QList<IngestStore::RequestRecord> requests = mStore->requests();
    ASSERT_EQ(requests.size(), 1);
    EXPECT_EQ(requests.at(0).status, 400);
    EXPECT_EQ(requests.at(0).logCount, 0);
    EXPECT_EQ(requests.at(0).reason, QString::fromUtf8(reason));
}

TEST_F(ZpIngestServer, StorageFailureIs500AndStoresNothing)
{
    listen();
    {
        // A trigger on the same file makes every insert into logs fail.
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("saboteur"));
        database.setDatabaseName(mStore->path());
        ASSERT_TRUE(database.open());
        QSqlQuery query(database);
        ASSERT_TRUE(query.exec(QStringLiteral(
            "CREATE TRIGGER refuse BEFORE INSERT ON logs BEGIN SELECT RAISE(ABORT, 'disk on fire'); END")));
    }
    QSqlDatabase::removeDatabase(QStringLiteral("saboteur"));
    const Answer answer = post(logsUrl(), body(oneOfEachType()));
    EXPECT_EQ(answer.status, 500);
    EXPECT_TRUE(answer.body.startsWith("cannot store the logs: ")) << answer.body.toStdString();
    EXPECT_TRUE(mStore->logs().isEmpty());
    const QList<IngestStore::RequestRecord> requests = mStore->requests();
    ASSERT_EQ(requests.size(), 1);
    EXPECT_EQ(requests.at(0).status, 500);
}

TEST_F(ZpIngestServer, WrongPathIs404AndRecorded)
{
    listen();
    QUrl url = mServer->baseUrl().resolved(QUrl(QStringLiteral("/v0.1/logs")));
    url.setQuery(QStringLiteral("api-version=1.0.0"));
    const Answer answer = post(url, body({eventLog()}));
    EXPECT_EQ(answer.status, 404);
    EXPECT_EQ(answer.body, QByteArray("no such route: /v0.1/logs"));
    EXPECT_TRUE(mStore->logs().isEmpty());
    ASSERT_EQ(mStore->requests().size(), 1);
    EXPECT_EQ(mStore->requests().at(0).status, 404);
}

TEST_F(ZpIngestServer, WrongMethodOrQueryIs400)
{
    listen();
    const Answer getAnswer = get(logsUrl());
    EXPECT_EQ(getAnswer.status, 400);
    EXPECT_EQ(getAnswer.body, QByteArray("method must be POST"));
    for (const QString& query : {QString(), QStringLiteral("api-version=2.0.0"), QStringLiteral("version=1.0.0")}) {
        const Answer answer = post(logsUrl(query), body({eventLog()}));
        EXPECT_EQ(answer.status, 400) << query.toStdString();
        EXPECT_EQ(answer.body, QByteArray("query must carry api-version=1.0.0"));
    }
    EXPECT_TRUE(mStore->logs().isEmpty());
    EXPECT_EQ(mStore->requests().size(), 4);
}

TEST_F(ZpIngestServer, SecretNeverReachesTheDatabaseFile)
{
    listen();
    ASSERT_EQ(post(logsUrl(), body(oneOfEachType())).status, 200);
    ASSERT_EQ(post(logsUrl(), R"({"logs":[{"type":"event"}]})").status, 400);
    ASSERT_EQ(post(logsUrl(), "not json").status, 400);
    const QString path = mStore->path();
    mServer.reset();
    mStore->close();

    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    ASSERT_FALSE(bytes.isEmpty());
    EXPECT_FALSE(bytes.contains(kAppSecret));
    EXPECT_FALSE(bytes.contains(QByteArray(kAppSecret).toUpper()));
    EXPECT_FALSE(bytes.contains(QByteArray(kAppSecret).remove(8, 1)));
    // The positive control: the file is readable as text and holds the hash.
    EXPECT_TRUE(bytes.contains(QCryptographicHash::hash(kAppSecret, QCryptographicHash::Sha256).toHex()));
    EXPECT_TRUE(bytes.contains(kInstallId));
}

TEST_F(ZpIngestServer, FailStatusAnswersTheNextRequestsThenRecovers)
{
    IngestFaults faults;
    faults.failStatus = 500;
    faults.failCount = 2;
    mServer->setFaults(faults);
    listen();
    EXPECT_EQ(post(logsUrl(), body({eventLog()})).status, 500);
    EXPECT_EQ(post(logsUrl(), body({eventLog()})).status, 500);
    EXPECT_TRUE(mStore->logs().isEmpty());
    EXPECT_EQ(mServer->faults().failCount, 0);
    EXPECT_EQ(post(logsUrl(), body({eventLog()})).status, 200);
    EXPECT_EQ(mStore->logs().size(), 1);

    const QList<IngestStore::RequestRecord> requests = mStore->requests();
    ASSERT_EQ(requests.size(), 3);
    EXPECT_EQ(requests.at(0).status, 500);
    EXPECT_EQ(requests.at(1).status, 500);
    EXPECT_EQ(requests.at(2).status, 200);
}

TEST_F(ZpIngestServer, ControlRouteChangesFaultsWhileRunning)
{
    listen();
    const Answer state = get(mServer->baseUrl().resolved(QUrl(QStringLiteral("/zp-ingest/control"))));
    EXPECT_EQ(state.status, 200);
    EXPECT_EQ(QJsonDocument::fromJson(state.body).object(), IngestFaults().toJson());

    const Answer changed = postControl(mServer->baseUrl(), QJsonObject{{"failStatus", 401}, {"failCount", 1}});
    ASSERT_EQ(changed.status, 200) << changed.body.toStdString();
    EXPECT_EQ(QJsonDocument::fromJson(changed.body).object().value("failStatus").toInt(), 401);
    EXPECT_EQ(mServer->faults().failStatus, 401);

    EXPECT_EQ(post(logsUrl(), body({eventLog()})).status, 401);
    EXPECT_EQ(post(logsUrl(), body({eventLog()})).status, 200);
    // Control requests are not ingestion traffic.
    EXPECT_EQ(mStore->requests().size(), 2);
}

TEST_F(ZpIngestServer, ControlRouteRefusesBadChangesAndKeepsTheOldState)
{
    listen();
    const Answer unknown = postControl(mServer->baseUrl(), QJsonObject{{"failCode", 500}});
    EXPECT_EQ(unknown.status, 400);
    EXPECT_EQ(unknown.body, QByteArray(R"(unknown key "failCode")"));
    EXPECT_EQ(postControl(mServer->baseUrl(), QJsonObject{{"failStatus", 299}}).status, 400);
    EXPECT_EQ(postControl(mServer->baseUrl(), QJsonObject{{"delayMs", -5}}).status, 400);
    EXPECT_EQ(mServer->faults().toJson(), IngestFaults().toJson());
}

TEST_F(ZpIngestServer, ControlRouteIsExemptFromFaults)
{
    IngestFaults faults;
    faults.failStatus = 503;
    faults.failCount = -1;
    faults.closeCount = -1;
    mServer->setFaults(faults);
    listen();
    const Answer state = get(mServer->baseUrl().resolved(QUrl(QStringLiteral("/zp-ingest/control"))));
    EXPECT_EQ(state.status, 200);
    EXPECT_EQ(QJsonDocument::fromJson(state.body).object(), faults.toJson());
}

TEST_F(ZpIngestServer, DelayHoldsTheAnswerBackButStoresFirst)
{
    IngestFaults faults;
    faults.delayMs = 60000;
    mServer->setFaults(faults);
    listen();
    QSignalSpy recorded(mServer.get(), &IngestServer::requestRecorded);
    // The client gives up long before the answer is due.
    const Answer late = post(logsUrl(), body({eventLog()}), {}, 300);
    EXPECT_EQ(late.status, 0);
    EXPECT_EQ(late.error, QNetworkReply::OperationCanceledError);
    waitForRecorded(recorded, 1);
    EXPECT_EQ(mStore->logs().size(), 1);

    // The server is still healthy after the abandoned answer.
    faults.delayMs = 0;
    mServer->setFaults(faults);
    EXPECT_EQ(post(logsUrl(), body({eventLog()})).status, 200);
    EXPECT_EQ(mStore->logs().size(), 2);
}

TEST_F(ZpIngestServer, ShortDelayStillAnswers)
{
    IngestFaults faults;
    faults.delayMs = 50;
    mServer->setFaults(faults);
    listen();
    const Answer answer = post(logsUrl(), body({eventLog()}));
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.body, QByteArray("{}"));
}

TEST_F(ZpIngestServer, CloseCountDropsConnectionsUnansweredAndStoresNothing)
{
    IngestFaults faults;
    // Every connection: the client may retry a dropped request on its own.
    faults.closeCount = -1;
    mServer->setFaults(faults);
    listen();
    const Answer dropped = post(logsUrl(), body(oneOfEachType()));
    EXPECT_EQ(dropped.status, 0);
    EXPECT_NE(dropped.error, QNetworkReply::NoError);
    EXPECT_TRUE(mStore->logs().isEmpty());
    const QList<IngestStore::RequestRecord> requests = mStore->requests();
    ASSERT_FALSE(requests.isEmpty());
    for (const IngestStore::RequestRecord& request : requests) {
        EXPECT_EQ(request.status, 0);
        EXPECT_EQ(request.bodyBytes, body(oneOfEachType()).size());
    }

    faults.closeCount = 0;
    mServer->setFaults(faults);
    EXPECT_EQ(post(logsUrl(), body(oneOfEachType())).status, 200);
    EXPECT_EQ(mStore->logs().size(), 5);
}

TEST_F(ZpIngestServer, CloseCountOneDropsExactlyOneConnection)
{
    IngestFaults faults;
    faults.closeCount = 1;
    mServer->setFaults(faults);
    listen();
    // A raw connection, so that no client-side retry hides the drop.
    const QByteArray payload = body({eventLog()});
    QByteArray request = "POST /logs?api-version=1.0.0 HTTP/1.1\r\nHost: 127.0.0.1\r\n";
    for (const auto& header : headers())
        request += header.first + ": " + header.second + "\r\n";
    request += "Content-Length: " + QByteArray::number(payload.size()) + "\r\n\r\n" + payload;
    EXPECT_EQ(exchangeRaw(request), QByteArray());
    EXPECT_EQ(mServer->faults().closeCount, 0);
    const QByteArray answer = exchangeRaw(request);
    EXPECT_TRUE(answer.startsWith("HTTP/1.1 200 OK\r\n")) << answer.toStdString();
    EXPECT_EQ(mStore->logs().size(), 1);
}

TEST_F(ZpIngestServer, BodyLargerThanTheLimitIs413AndStoresNothing)
{
    mServer->setMaxBodyBytes(1024);
    EXPECT_EQ(mServer->maxBodyBytes(), 1024);
    listen();
    QList<QJsonObject> logs;
    for (int i = 0; i < 10; ++i)
        logs.append(eventLog());
    const QByteArray payload = body(logs);
    ASSERT_GT(payload.size(), 1024);
    const Answer answer = post(logsUrl(), payload);
    EXPECT_EQ(answer.status, 413);
    EXPECT_EQ(answer.body, QStringLiteral("body of %1 bytes is larger than 1024 bytes").arg(payload.size()).toUtf8());
    EXPECT_TRUE(mStore->logs().isEmpty());
    ASSERT_EQ(mStore->requests().size(), 1);
    EXPECT_EQ(mStore->requests().at(0).status, 413);
    EXPECT_EQ(mStore->requests().at(0).bodyBytes, payload.size());
    // A body within the limit on the next connection is fine.
    EXPECT_EQ(post(logsUrl(), body({eventLog()})).status, 200);
}

TEST_F(ZpIngestServer, AnAbsurdContentLengthIsRefusedAndItsBodyStillDrained)
{
    // The largest length there is: refused with 413, and the connection stays
    // open to take (and throw away) what the client goes on sending.
    mServer->setMaxBodyBytes(1024);
    listen();
    QTcpSocket socket;
    QByteArray answer;
    QEventLoop loop;
    QObject::connect(&socket, &QTcpSocket::connected, [&] {
        socket.write("POST /logs?api-version=1.0.0 HTTP/1.1\r\nHost: 127.0.0.1\r\n"
                     "Content-Length: 9223372036854775807\r\n\r\n{\"logs\":[");
    });
    QObject::connect(&socket, &QTcpSocket::readyRead, [&] {
        answer += socket.readAll();
        if (answer.contains("\r\n\r\n"))
            QTimer::singleShot(300, &loop, &QEventLoop::quit); // time enough to close, if it would
    });
    QObject::connect(&socket, &QTcpSocket::errorOccurred, &loop, &QEventLoop::quit);
    QTimer::singleShot(kLivenessMs, &loop, &QEventLoop::quit);
    socket.connectToHost(QHostAddress::LocalHost, mServer->port());
    loop.exec();
    EXPECT_TRUE(answer.startsWith("HTTP/1.1 413 ")) << answer.toStdString();
    EXPECT_EQ(socket.state(), QAbstractSocket::ConnectedState);
    socket.abort();
}

TEST_F(ZpIngestServer, ChunkedBodyIs411)
{
    listen();
    const QByteArray answer = exchangeRaw("POST /logs?api-version=1.0.0 HTTP/1.1\r\nHost: 127.0.0.1\r\n"
                                          "Transfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\n\r\n");
    EXPECT_TRUE(answer.startsWith("HTTP/1.1 411 Length Required\r\n")) << answer.toStdString();
    ASSERT_EQ(mStore->requests().size(), 1);
    EXPECT_EQ(mStore->requests().at(0).status, 411);
}

TEST_F(ZpIngestServer, MalformedRequestHeadIs400)
{
    listen();
    const QByteArray answer = exchangeRaw("HELLO\r\n\r\n");
    EXPECT_TRUE(answer.startsWith("HTTP/1.1 400 Bad Request\r\n")) << answer.toStdString();
    EXPECT_TRUE(answer.endsWith("malformed request line"));
    ASSERT_EQ(mStore->requests().size(), 1);
    EXPECT_EQ(mStore->requests().at(0).status, 400);
}

TEST_F(ZpIngestServer, EveryAnswerClosesItsConnection)
{
    listen();
    const QByteArray answer = exchangeRaw("GET /zp-ingest/control HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    EXPECT_TRUE(answer.contains("\r\nConnection: close\r\n")) << answer.toStdString();
    // exchangeRaw() returns only once the server has closed.
    EXPECT_TRUE(answer.endsWith("}"));
}

class ZpIngestServerTls : public ZpIngestServer
{
protected:
    void SetUp() override
    {
        ZpIngestServer::SetUp();
        ASSERT_TRUE(mCertificates.ok()) << mCertificates.error().toStdString();
        mAuthority = mCertificates.authority();
        ASSERT_EQ(mAuthority.size(), 1);
        QString error;
        ASSERT_TRUE(mServer->setTlsFiles(mCertificates.serverCertificatePath(), mCertificates.serverKeyPath(), &error))
            << error.toStdString();
        listen();
    }

    const TestCertificates mCertificates;
    QList<QSslCertificate> mAuthority;
};

TEST_F(ZpIngestServerTls, ClientTrustingTheAuthorityGets200)
{
    EXPECT_TRUE(mServer->isTls());
    EXPECT_EQ(mServer->baseUrl().scheme(), QStringLiteral("https"));
    const Answer answer = post(logsUrl(), body(oneOfEachType()), mAuthority);
    EXPECT_EQ(answer.error, QNetworkReply::NoError);
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(mStore->logs().size(), 5);
}

TEST_F(ZpIngestServerTls, ClientNotTrustingTheAuthorityFailsAndNothingIsStored)
{
    const Answer answer = post(logsUrl(), body(oneOfEachType()));
    EXPECT_EQ(answer.error, QNetworkReply::SslHandshakeFailedError);
    EXPECT_EQ(answer.status, 0);
    EXPECT_TRUE(mStore->logs().isEmpty());
    EXPECT_TRUE(mStore->requests().isEmpty());
}

TEST_F(ZpIngestServerTls, FaultsWorkOverTls)
{
    IngestFaults faults;
    faults.closeCount = -1;
    mServer->setFaults(faults);
    EXPECT_NE(post(logsUrl(), body({eventLog()}), mAuthority).error, QNetworkReply::NoError);
    faults.closeCount = 0;
    mServer->setFaults(faults);
    EXPECT_EQ(post(logsUrl(), body({eventLog()}), mAuthority).status, 200);
    EXPECT_EQ(mStore->logs().size(), 1);
}

TEST(ZpIngestServerTlsFiles, MissingOrBadFilesAreReported)
{
    QTemporaryDir directory;
    IngestStore store(directory.filePath(QStringLiteral("ingest.db")));
    ASSERT_TRUE(store.open());
    IngestServer server(&store);
    QString error;
    EXPECT_FALSE(server.setTlsFiles(directory.filePath(QStringLiteral("none.pem")),
                                    directory.filePath(QStringLiteral("none.key")), &error));
    EXPECT_TRUE(error.contains(QStringLiteral("no PEM certificate"))) << error.toStdString();
    const TestCertificates certificates;
    ASSERT_TRUE(certificates.ok()) << certificates.error().toStdString();
    EXPECT_FALSE(server.setTlsFiles(certificates.serverCertificatePath(), certificates.serverCertificatePath(), &error));
    EXPECT_TRUE(error.contains(QStringLiteral("private key"))) << error.toStdString();
    EXPECT_FALSE(server.isTls());
}
