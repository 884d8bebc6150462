// zp-ingest: a local receiver for App Center log-ingestion requests, for tests
// and demos. See kDescription (printed by --help) for what it does.
#include <ZpIngest/IngestFaults.h>
#include <ZpIngest/IngestServer.h>
#include <ZpIngest/IngestSignalWatcher.h>
#include <ZpIngest/IngestStore.h>
#include <ZpIngest/IngestSummary.h>

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QSaveFile>
#include <QTextStream>

#include <limits>
#include <optional>

namespace {

constexpr int kExitOk = 0;
constexpr int kExitRuntimeError = 1;
constexpr int kExitUsageError = 2;

const char kDescription[] = R"(A local receiver for App Center log-ingestion requests, for tests and demos.

Commands:
  serve    Listen on 127.0.0.1 and answer POST /logs?api-version=1.0.0 like the
           ingestion endpoint: headers Content-Type: application/json, App-Secret
           and Install-ID (UUIDs); body {"logs":[...]} with logs of the types
           startService, startSession, event, managedError and errorAttachment.
           A valid request is stored whole in one transaction and answered 200 {};
           anything else is answered 400 with the first problem as plain text and
           stores nothing. Bodies larger than --max-body-bytes get 413. Every
           request and its answer is recorded; only the SHA-256 of the App-Secret
           is kept. Prints "zp-ingest: listening on http://127.0.0.1:<port>"
           (https with TLS) once listening, and one line per request on standard
           error. Runs until SIGINT or SIGTERM.
           Needs --port and --db.
  summary  Print totals, counts per log type and per event name, duplicate log
           ids and the crash reports (managedError logs with their
           errorAttachment logs) stored in --db.
  export   Print every stored log as one line of JSON, in arrival order.

Fault modes (serve), for testing a client's retries:
  --fail-status CODE --fail-count N  answer CODE to the next N /logs requests
                                     without storing (N < 0: all of them)
  --delay-ms MS                      hold every answer back for MS milliseconds
                                     (the logs are stored first)
  --close-count N                    drop the next N connections unanswered
                                     while their body is arriving (N < 0: all)
They can be changed while serving, from 127.0.0.1:
  GET  /zp-ingest/control            answers the current state as JSON
  POST /zp-ingest/control            with a JSON object holding any of
       {"failStatus":500,"failCount":2,"delayMs":0,"closeCount":0}
Requests to /zp-ingest/control are exempt from the faults and not recorded.

Exit status: 0 success, 1 runtime error (port in use, database, TLS files),
2 usage error.)";

struct Options
{
    QCommandLineOption port{QStringLiteral("port"), QStringLiteral("serve: TCP port on 127.0.0.1; 0 picks a free one."),
                            QStringLiteral("N")};
    QCommandLineOption db{QStringLiteral("db"), QStringLiteral("SQLite database file (serve creates it if missing)."),
                          QStringLiteral("FILE")};
    QCommandLineOption tlsCert{QStringLiteral("tls-cert"),
                               QStringLiteral("serve: PEM certificate chain, server certificate first; enables HTTPS."),
                               QStringLiteral("PEM")};
    QCommandLineOption tlsKey{QStringLiteral("tls-key"),
                              QStringLiteral("serve: PEM private key (RSA or EC, unencrypted) for --tls-cert."),
                              QStringLiteral("PEM")};
    QCommandLineOption failStatus{QStringLiteral("fail-status"),
                                  QStringLiteral("serve: HTTP status for the status fault."), QStringLiteral("CODE")};
    QCommandLineOption failCount{QStringLiteral("fail-count"),
                                 QStringLiteral("serve: requests that get --fail-status (default 1, < 0: all)."),
                                 QStringLiteral("N")};
    QCommandLineOption delayMs{QStringLiteral("delay-ms"), QStringLiteral("serve: delay of every answer."),
                               QStringLiteral("MS")};
    QCommandLineOption closeCount{QStringLiteral("close-count"),
                                  QStringLiteral("serve: connections to drop unanswered (< 0: all)."),
                                  QStringLiteral("N")};
    QCommandLineOption portFile{QStringLiteral("port-file"),
                                QStringLiteral("serve: write the port number to FILE once listening."),
                                QStringLiteral("FILE")};
    QCommandLineOption maxBodyBytes{
        QStringLiteral("max-body-bytes"),
        QStringLiteral("serve: largest body accepted (default %1).").arg(IngestServer::kDefaultMaxBodyBytes),
        QStringLiteral("N")};

    QList<const QCommandLineOption*> serveOnly() const
    {
        return {&port, &tlsCert, &tlsKey, &failStatus, &failCount, &delayMs, &closeCount, &portFile, &maxBodyBytes};
    }
};

QTextStream& err()
{
    static QTextStream stream(stderr);
    return stream;
}

int usageError(const QString& message)
{
    err() << "zp-ingest: " << message << "\nTry 'zp-ingest --help'.\n";
    err().flush();
    return kExitUsageError;
}

int runtimeError(const QString& message)
{
    err() << "zp-ingest: " << message << '\n';
    err().flush();
    return kExitRuntimeError;
}

// The option's value as an integer within [minimum, maximum]; nullopt (after
// printing why) when it is not one.
std::optional<qint64> integerOption(const QCommandLineParser& parser, const QCommandLineOption& option,
                                    qint64 minimum, qint64 maximum)
{
    bool ok = false;
    const qint64 value = parser.value(option).toLongLong(&ok);
    if (!ok || value < minimum || value > maximum) {
        usageError(QStringLiteral("--%1 needs an integer from %2 to %3")
                       .arg(option.names().constFirst())
                       .arg(minimum)
                       .arg(maximum));
        return std::nullopt;
    }
    return value;
}

// Sets *target from the option when it is given, within [minimum, maximum];
// false (after printing why) when its value is not such an integer.
template <typename Integer>
bool optionalIntegerOption(const QCommandLineParser& parser, const QCommandLineOption& option, Integer* target,
                           qint64 minimum = std::numeric_limits<Integer>::min(),
                           qint64 maximum = std::numeric_limits<Integer>::max())
{
    if (!parser.isSet(option))
        return true;
    const auto value = integerOption(parser, option, minimum, maximum);
    if (value)
        *target = Integer(*value);
    return value.has_value();
}

int serve(QCoreApplication& app, const QCommandLineParser& parser, const Options& options)
{
    if (!parser.isSet(options.port) || !parser.isSet(options.db))
        return usageError(QStringLiteral("serve needs --port and --db"));
    if (parser.isSet(options.tlsCert) != parser.isSet(options.tlsKey))
        return usageError(QStringLiteral("--tls-cert and --tls-key go together"));
    if (parser.isSet(options.failCount) && !parser.isSet(options.failStatus))
        return usageError(QStringLiteral("--fail-count needs --fail-status"));

    const auto port = integerOption(parser, options.port, 0, 65535);
    if (!port)
        return kExitUsageError;
    IngestFaults faults;
    if (parser.isSet(options.failStatus)) {
        const auto status = integerOption(parser, options.failStatus, 200, 599);
        if (!status)
            return kExitUsageError;
        if (!IngestFaults::isAnswerableStatus(int(*status)))
            return usageError(QStringLiteral("--fail-status %1 is not an HTTP status zp-ingest can answer").arg(*status));
        faults.failStatus = int(*status);
        faults.failCount = 1;
        if (!optionalIntegerOption(parser, options.failCount, &faults.failCount))
            return kExitUsageError;
    }
    qint64 maxBodyBytes = IngestServer::kDefaultMaxBodyBytes;
    if (!optionalIntegerOption(parser, options.delayMs, &faults.delayMs, 0)
        || !optionalIntegerOption(parser, options.closeCount, &faults.closeCount)
        || !optionalIntegerOption(parser, options.maxBodyBytes, &maxBodyBytes, 1))
        return kExitUsageError;

    IngestStore store(parser.value(options.db));
    if (!store.open(IngestStore::OpenMode::CreateIfMissing))
        return runtimeError(store.errorString());

    // Declared after the store so that it goes first: no request may be handled
    // against a closed database.
    IngestServer server(&store);
    server.setFaults(faults);
    server.setMaxBodyBytes(maxBodyBytes);
    QString error;
    if (parser.isSet(options.tlsCert)
        && !server.setTlsFiles(parser.value(options.tlsCert), parser.value(options.tlsKey), &error))
        return runtimeError(error);
    if (!server.listen(quint16(*port), &error))
        return runtimeError(error);

    if (parser.isSet(options.portFile)) {
        // Written whole or not at all, so that a waiting reader never sees half a number.
        QSaveFile portFile(parser.value(options.portFile));
        if (!portFile.open(QIODevice::WriteOnly) || portFile.write(QByteArray::number(server.port())) < 0
            || !portFile.commit())
            return runtimeError(QStringLiteral("cannot write %1: %2").arg(portFile.fileName(), portFile.errorString()));
    }

    IngestSignalWatcher signalWatcher;
    QObject::connect(&signalWatcher, &IngestSignalWatcher::terminationRequested, &app, &QCoreApplication::quit);
    QObject::connect(&server, &IngestServer::requestRecorded,
                     [](int status, const QString& path, int logCount, const QString& reason) {
                         err() << "zp-ingest: " << status << ' ' << path;
                         if (status == 200)
                             err() << " (" << logCount << (logCount == 1 ? " log)" : " logs)");
                         else if (!reason.isEmpty())
                             err() << ": " << reason;
                         err() << '\n';
                         err().flush();
                     });

    QTextStream out(stdout);
    out << "zp-ingest: listening on " << server.baseUrl().toString() << Qt::endl;
    app.exec();
    return kExitOk;
}

// Reads the stored logs, and the request records when `requests` is given, of
// the existing database --db; false (after printing why) when that fails.
bool readStore(const QCommandLineParser& parser, const Options& options, QList<IngestStore::StoredLog>* logs,
               QList<IngestStore::RequestRecord>* requests = nullptr)
{
    IngestStore store(parser.value(options.db));
    if (store.open(IngestStore::OpenMode::ExistingReadOnly)) {
        *logs = store.logs();
        if (requests)
            *requests = store.requests();
        // A new store's errorString() stays empty until a call fails.
        if (store.errorString().isEmpty())
            return true;
    }
    runtimeError(store.errorString());
    return false;
}

int summary(const QCommandLineParser& parser, const Options& options)
{
    QList<IngestStore::StoredLog> logs;
    QList<IngestStore::RequestRecord> requests;
    if (!readStore(parser, options, &logs, &requests))
        return kExitRuntimeError;
    QTextStream out(stdout);
    out << IngestSummary(logs, requests).toText();
    out.flush();
    return kExitOk;
}

int exportLogs(const QCommandLineParser& parser, const Options& options)
{
    QList<IngestStore::StoredLog> logs;
    if (!readStore(parser, options, &logs))
        return kExitRuntimeError;
    QFile out;
    if (!out.open(stdout, QIODevice::WriteOnly))
        return runtimeError(QStringLiteral("cannot write to standard output"));
    for (const IngestStore::StoredLog& log : logs) {
        if (out.write(log.json + '\n') < 0)
            return runtimeError(QStringLiteral("cannot write to standard output: ") + out.errorString());
    }
    return out.flush() ? kExitOk : kExitRuntimeError;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("zp-ingest"));
    QCoreApplication::setApplicationVersion(QStringLiteral(ZP_INGEST_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromUtf8(kDescription));
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("serve, summary or export"));
    const Options options;
    parser.addOptions({options.port, options.db, options.tlsCert, options.tlsKey, options.failStatus,
                       options.failCount, options.delayMs, options.closeCount, options.portFile,
                       options.maxBodyBytes});

    // parse() rather than process(): process() ends usage errors with status 1,
    // which zp-ingest keeps for runtime errors.
    if (!parser.parse(QCoreApplication::arguments()))
        return usageError(parser.errorText());
    if (parser.isSet(help))
        parser.showHelp(kExitOk);
    if (parser.isSet(version))
        parser.showVersion();

    const QStringList positional = parser.positionalArguments();
    if (positional.size() != 1)
        return usageError(QStringLiteral("give exactly one command: serve, summary or export"));
    const QString command = positional.constFirst();
    if (command == QLatin1String("serve"))
        return serve(app, parser, options);
    if (command != QLatin1String("summary") && command != QLatin1String("export"))
        return usageError(QStringLiteral("unknown command '%1'").arg(command));
    for (const QCommandLineOption* option : options.serveOnly()) {
        if (parser.isSet(*option))
            return usageError(QStringLiteral("--%1 is only for serve").arg(option->names().constFirst()));
    }
    if (!parser.isSet(options.db))
        return usageError(QStringLiteral("%1 needs --db").arg(command));
    return command == QLatin1String("summary") ? summary(parser, options) : exportLogs(parser, options);
}
