// The zp-ingest program itself, run as a child process the way scripts and the
// end-to-end tests run it.
#include "IngestTestSupport.h"
#include "TestCertificates.h"

#include <ZpIngest/IngestStore.h>

#include <QFile>
#include <QHostAddress>
#include <QProcess>
#include <QRegularExpression>
#include <QSslCertificate>
#include <QTcpServer>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>
#include <memory>

using namespace ingest_test;

namespace {

constexpr int kLivenessMs = 20000;

struct ProgramRun
{
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

class ZpIngestCli : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(mDirectory.isValid()); }

    QString db() const { return mDirectory.filePath(QStringLiteral("ingest.db")); }

    static ProgramRun run(const QStringList& arguments)
    {
        QProcess process;
        process.start(QStringLiteral(ZP_INGEST_BINARY), arguments);
        const bool finished = process.waitForFinished(kLivenessMs);
        EXPECT_TRUE(finished) << arguments.join(QLatin1Char(' ')).toStdString();
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        return ProgramRun{finished ? process.exitCode() : -1, process.readAllStandardOutput(),
                   process.readAllStandardError()};
    }

    // Starts `serve` on a free port and waits for its one line; *url gets the
    // address it names.
    std::unique_ptr<QProcess> startServe(const QStringList& extra, QUrl* url)
    {
        auto process = std::make_unique<QProcess>();
        process->start(QStringLiteral(ZP_INGEST_BINARY),
                       QStringList{QStringLiteral("serve"), QStringLiteral("--port"), QStringLiteral("0"),
                                   QStringLiteral("--db"), db()}
                           + extra);
        while (!process->canReadLine() && process->waitForReadyRead(kLivenessMs)) {
        }
        const QString line = QString::fromUtf8(process->readLine());
        static const QRegularExpression pattern(
            QStringLiteral("^zp-ingest: listening on (https?://127\\.0\\.0\\.1:([0-9]+))\n$"));
        const QRegularExpressionMatch match = pattern.match(line);
        EXPECT_TRUE(match.hasMatch()) << "line: " << line.toStdString()
                                      << " stderr: " << process->readAllStandardError().toStdString();
        *url = QUrl(match.captured(1));
        EXPECT_NE(match.captured(2).toInt(), 0);
        return process;
    }

    // Sends `signalNumber` and expects a clean exit with status 0.
    static void stop(QProcess& process, int signalNumber = SIGTERM)
    {
        ASSERT_EQ(::kill(pid_t(process.processId()), signalNumber), 0);
        ASSERT_TRUE(process.waitForFinished(kLivenessMs));
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
    }

    static QUrl logsUrl(const QUrl& base)
    {
        QUrl url = base.resolved(QUrl(QStringLiteral("/logs")));
        url.setQuery(QStringLiteral("api-version=1.0.0"));
        return url;
    }

    QTemporaryDir mDirectory;
};

} // namespace

TEST_F(ZpIngestCli, ServePrintsOneLineWritesThePortFileAndStopsCleanlyOnSigterm)
{
    const QString portFile = mDirectory.filePath(QStringLiteral("port"));
    QUrl url;
    const auto server = startServe({QStringLiteral("--port-file"), portFile}, &url);
    QFile file(portFile);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll().trimmed().toInt(), url.port());

    EXPECT_EQ(post(logsUrl(url), body(oneOfEachType())).status, 200);
    stop(*server);
    EXPECT_TRUE(server->readAllStandardOutput().isEmpty()) << "more than one line on standard output";
    EXPECT_TRUE(server->readAllStandardError().contains("200 /logs (5 logs)"));

    const ProgramRun summary = run({QStringLiteral("summary"), QStringLiteral("--db"), db()});
    EXPECT_EQ(summary.exitCode, 0);
    EXPECT_TRUE(summary.out.startsWith("logs: 5\nrequests: 1 (0 answered other than 200)\n"))
        << summary.out.toStdString();
}

TEST_F(ZpIngestCli, SigintAlsoStopsCleanly)
{
    QUrl url;
    const auto server = startServe({}, &url);
    stop(*server, SIGINT);
}

TEST_F(ZpIngestCli, FaultOptionsApplyFromTheStart)
{
    QUrl url;
    const auto server = startServe({QStringLiteral("--fail-status"), QStringLiteral("503"),
                                    QStringLiteral("--fail-count"), QStringLiteral("-1"),
                                    QStringLiteral("--delay-ms"), QStringLiteral("10")},
                                   &url);
    EXPECT_EQ(post(logsUrl(url), body({eventLog()})).status, 503);
    EXPECT_EQ(post(logsUrl(url), body({eventLog()})).status, 503);
    EXPECT_EQ(postControl(url, QJsonObject{{"failCount", 0}}).status, 200);
    EXPECT_EQ(post(logsUrl(url), body({eventLog()})).status, 200);
    stop(*server);
}

TEST_F(ZpIngestCli, CloseCountOptionDropsTheFirstConnection)
{
    QUrl url;
    const auto server = startServe({QStringLiteral("--close-count"), QStringLiteral("-1")}, &url);
    const Answer dropped = post(logsUrl(url), body({eventLog()}));
    EXPECT_EQ(dropped.status, 0);
    EXPECT_NE(dropped.error, QNetworkReply::NoError);
    stop(*server);
    const ProgramRun exported = run({QStringLiteral("export"), QStringLiteral("--db"), db()});
    EXPECT_EQ(exported.exitCode, 0);
    EXPECT_TRUE(exported.out.isEmpty());
}

TEST_F(ZpIngestCli, ServesHttpsWithTheGivenCertificate)
{
    const TestCertificates certificates(TestCertificates::KeyType::Rsa);
    ASSERT_TRUE(certificates.ok()) << certificates.error().toStdString();
    QUrl url;
    const auto server = startServe({QStringLiteral("--tls-cert"), certificates.serverCertificatePath(),
                                    QStringLiteral("--tls-key"), certificates.serverKeyPath()},
                                   &url);
    EXPECT_EQ(url.scheme(), QStringLiteral("https"));
    const Answer answer = post(logsUrl(url), body({eventLog()}), certificates.authority());
    EXPECT_EQ(answer.error, QNetworkReply::NoError);
    EXPECT_EQ(answer.status, 200);
    stop(*server);
}

TEST_F(ZpIngestCli, SummaryAndExportOfAKnownDatabase)
{
    QList<QByteArray> expectedLines;
    {
        IngestStore store(db());
        ASSERT_TRUE(store.open());
        IngestStore::RequestRecord request;
        request.receivedAt = QStringLiteral("2024-05-01T10:20:31.000Z");
        request.status = 200;
        for (const QList<QJsonObject>& logs :
             {oneOfEachType(), QList<QJsonObject>{eventLog(QStringLiteral("Crop"),
                                                           QStringLiteral("00000000-0000-4000-8000-000000000003"))}}) {
            const LogValidator::Result batch = LogValidator::validate(headers(), body(logs));
            ASSERT_TRUE(batch.ok);
            ASSERT_TRUE(store.storeAccepted(request, batch));
            for (const LogValidator::Log& log : batch.logs)
                expectedLines.append(log.json);
        }
        request.status = 400;
        request.reason = QStringLiteral("log 0: \"id\" is missing");
        ASSERT_TRUE(store.recordRequest(request));
    }

    const ProgramRun summary = run({QStringLiteral("summary"), QStringLiteral("--db"), db()});
    EXPECT_EQ(summary.exitCode, 0) << summary.err.toStdString();
    EXPECT_EQ(summary.out.toStdString(),
              std::string("logs: 6\n"
                          "requests: 3 (1 answered other than 200)\n"
                          "logs by type:\n"
                          "  errorAttachment  1\n"
                          "  event            2\n"
                          "  managedError     1\n"
                          "  startService     1\n"
                          "  startSession     1\n"
                          "events by name:\n"
                          "  Crop         1\n"
                          "  FeatureUsed  1\n"
                          "duplicate ids:\n"
                          "  00000000-0000-4000-8000-000000000003  x2\n"
                          "crash reports: 1\n"
                          "  c0a5c0a5-1111-4222-8333-444455556666  sid 5e55105e-0000-4000-8000-000000000001"
                          "  process PhotoEditor  at 2024-05-01T10:20:30.123Z\n"
                          "    attachment minidump.dmp  application/octet-stream  4 bytes\n"));

    const ProgramRun exported = run({QStringLiteral("export"), QStringLiteral("--db"), db()});
    EXPECT_EQ(exported.exitCode, 0) << exported.err.toStdString();
    QList<QByteArray> lines = exported.out.split('\n');
    ASSERT_EQ(lines.takeLast(), QByteArray()) << "output must end with a newline";
    EXPECT_EQ(lines, expectedLines);
}

TEST_F(ZpIngestCli, UsageErrorsExitWith2)
{
    const QString other = mDirectory.filePath(QStringLiteral("x.pem"));
    const QList<QStringList> cases = {
        {},
        {QStringLiteral("bogus"), QStringLiteral("--db"), db()},
        {QStringLiteral("summary"), QStringLiteral("export"), QStringLiteral("--db"), db()},
        {QStringLiteral("serve"), QStringLiteral("--db"), db()},
        {QStringLiteral("serve"), QStringLiteral("--port"), QStringLiteral("0")},
        {QStringLiteral("serve"), QStringLiteral("--port"), QStringLiteral("http"), QStringLiteral("--db"), db()},
        {QStringLiteral("serve"), QStringLiteral("--port"), QStringLiteral("70000"), QStringLiteral("--db"), db()},
        {QStringLiteral("serve"), QStringLiteral("--port"), QStringLiteral("0"), QStringLiteral("--db"), db(),
         QStringLiteral("--fail-status"), QStringLiteral("299")},
        {QStringLiteral("serve"), QStringLiteral("--port"), QStringLiteral("0"), QStringLiteral("--db"), db(),
         QStringLiteral("--fail-count"), QStringLiteral("2")},
        {QStringLiteral("serve"), QStringLiteral("--port"), QStringLiteral("0"), QStringLiteral("--db"), db(),
         QStringLiteral("--delay-ms"), QStringLiteral("-1")},
        {QStringLiteral("serve"), QStringLiteral("--port"), QStringLiteral("0"), QStringLiteral("--db"), db(),
         QStringLiteral("--tls-cert"), other},
        {QStringLiteral("serve"), QStringLiteral("--port"), QStringLiteral("0"), QStringLiteral("--db"), db(),
         QStringLiteral("--no-such-option")},
        {QStringLiteral("summary")},
        {QStringLiteral("summary"), QStringLiteral("--db"), db(), QStringLiteral("--port"), QStringLiteral("1")},
        {QStringLiteral("export"), QStringLiteral("--db"), db(), QStringLiteral("--close-count"), QStringLiteral("1")},
    };
    for (const QStringList& arguments : cases) {
        const ProgramRun result = run(arguments);
        EXPECT_EQ(result.exitCode, 2) << arguments.join(QLatin1Char(' ')).toStdString();
        EXPECT_TRUE(result.err.startsWith("zp-ingest: ")) << result.err.toStdString();
    }
    EXPECT_FALSE(QFile::exists(db())) << "a usage error must not create the database";
}

TEST_F(ZpIngestCli, RuntimeErrorsExitWith1)
{
    EXPECT_EQ(run({QStringLiteral("summary"), QStringLiteral("--db"), db()}).exitCode, 1);
    EXPECT_EQ(run({QStringLiteral("export"), QStringLiteral("--db"), db()}).exitCode, 1);

    QTcpServer occupied;
    ASSERT_TRUE(occupied.listen(QHostAddress::LocalHost, 0));
    const ProgramRun inUse = run({QStringLiteral("serve"), QStringLiteral("--port"), QString::number(occupied.serverPort()),
                           QStringLiteral("--db"), db()});
    EXPECT_EQ(inUse.exitCode, 1);
    EXPECT_TRUE(inUse.err.contains("cannot listen")) << inUse.err.toStdString();
    EXPECT_TRUE(inUse.out.isEmpty());

    EXPECT_EQ(run({QStringLiteral("serve"), QStringLiteral("--port"), QStringLiteral("0"), QStringLiteral("--db"),
                   mDirectory.filePath(QStringLiteral("missing/dir/ingest.db"))})
                  .exitCode,
              1);
    EXPECT_EQ(run({QStringLiteral("serve"), QStringLiteral("--port"), QStringLiteral("0"), QStringLiteral("--db"), db(),
                   QStringLiteral("--tls-cert"), mDirectory.filePath(QStringLiteral("none.pem")),
                   QStringLiteral("--tls-key"), mDirectory.filePath(QStringLiteral("none.key"))})
                  .exitCode,
              1);
}

TEST_F(ZpIngestCli, HelpDescribesCommandsFaultsAndTheControlRoute)
{
    const ProgramRun help = run({QStringLiteral("--help")});
    EXPECT_EQ(help.exitCode, 0);
    for (const char* word : {"serve", "summary", "export", "--port", "--db", "--tls-cert", "--tls-key",
                             "--fail-status", "--fail-count", "--delay-ms", "--close-count", "--port-file",
                             "/zp-ingest/control", "\"failStatus\":500", "Exit status"}) {
        EXPECT_TRUE(help.out.contains(word)) << word;
    }
}
