// The bytes a client can send to zp-ingest, taken through what the receiver
// does with them in-process: the request head as the connection gate reads it
// (HttpRequestHead), then for a complete head its header fields and the body
// it announces: the log validator for "/logs", the fault settings for
// "/zp-ingest/control", and the SQLite store for every accepted batch.
//
// The input is the raw request, as it would arrive on the socket. Header
// fields are split the way QHttpServer hands them on (name, colon, value,
// white space around both trimmed); that split stands in for QHttpServer's
// parser, which the receiver does not own.
//
// Checked per input: the parsed head is consistent with the bytes; a refused
// request carries a reason and no logs, and the reason never repeats the
// App-Secret; an accepted batch has a log per element, each one compact JSON
// that the validator accepts again, and the store gives back exactly the
// bytes it was handed.
#include <ZpIngest/HttpRequestHead.h>
#include <ZpIngest/IngestFaults.h>
#include <ZpIngest/IngestStore.h>
#include <ZpIngest/LogValidator.h>

#include "FuzzApplication.h"

#include <QByteArrayView>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>

#include <cstddef>
#include <cstdint>

namespace {

// The store file starts over after this many accepted batches.
constexpr int kBatchesPerStore = 2000;

// Never destroyed: at exit Qt's SQL registry may be gone before a static
// would close the connection.
IngestStore* gStore = nullptr;
QString gStorePath;
int gBatches = 0;
qsizetype gStoredLogs = 0; // logs in the current store file

void openStore()
{
    delete gStore;
    QFile::remove(gStorePath);
    gStoredLogs = 0;
    gStore = new IngestStore(gStorePath);
    FuzzApplication::require(gStore->open(), "cannot open the ingest store", gStore->errorString());
}

LogValidator::HeaderList headerFields(QByteArrayView head)
{
    LogValidator::HeaderList fields;
    const QList<QByteArray> lines = head.toByteArray().split('\n');
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QByteArray& line = lines.at(i);
        const qsizetype colon = line.indexOf(':');
        if (colon > 0)
            fields.append({line.left(colon).trimmed(), line.mid(colon + 1).trimmed()});
    }
    return fields;
}

void checkHead(const HttpRequestHead& head, QByteArrayView bytes)
{
    using State = HttpRequestHead::State;
    if (head.state != State::Complete) {
        FuzzApplication::require(head.state == State::Incomplete || !head.error.isEmpty(),
                                 "a refused head gives no reason");
        return;
    }
    FuzzApplication::require(head.headBytes >= 4 && head.headBytes <= bytes.size()
                                 && head.headBytes <= HttpRequestHead::kMaxHeadBytes,
                             "the head's length is outside the bytes");
    FuzzApplication::require(bytes.first(head.headBytes).endsWith("\r\n\r\n"), "the head does not end a blank line");
    FuzzApplication::require(head.contentLength >= 0, "a negative Content-Length was taken");
    FuzzApplication::require(head.target.startsWith('/') && head.target.startsWith(head.path),
                             "the path is not the target's beginning");
    FuzzApplication::require(!head.method.isEmpty(), "a head without a method was taken");
}

void checkValidation(const LogValidator::HeaderList& headers, const QByteArray& body)
{
    const LogValidator::Result result = LogValidator::validate(headers, body);
    if (!result.ok) {
        FuzzApplication::require(!result.reason.isEmpty() && result.logs.isEmpty(),
                                 "a refused batch has no reason or keeps logs");
        for (const auto& header : headers) {
            if (header.first.compare("App-Secret", Qt::CaseInsensitive) == 0 && header.second.size() >= 8)
                FuzzApplication::require(!result.reason.toUtf8().contains(header.second),
                                         "the reason repeats the App-Secret", result.reason);
        }
        return;
    }
    const QJsonArray logs = QJsonDocument::fromJson(body).object().value(QStringLiteral("logs")).toArray();
    FuzzApplication::require(result.logs.size() == logs.size() && !logs.isEmpty(), "an accepted batch lost logs");
    FuzzApplication::require(result.appSecretSha256.size() == 64, "the App-Secret hash is not SHA-256 hex");
    for (const LogValidator::Log& log : result.logs) {
        QJsonParseError error;
        const QJsonDocument again = QJsonDocument::fromJson(log.json, &error);
        FuzzApplication::require(error.error == QJsonParseError::NoError && again.isObject(),
                                 "an accepted log is not JSON after re-serialising", QString::fromUtf8(log.json));
        FuzzApplication::require(again.toJson(QJsonDocument::Compact) == log.json, "an accepted log is not compact");
        const QString reason = LogValidator::checkLog(again.object());
        FuzzApplication::require(reason.isEmpty(), "an accepted log fails validation once stored", reason);
    }

    IngestStore::RequestRecord request;
    request.receivedAt = IngestStore::currentTimestamp();
    request.status = 200;
    request.bodyBytes = body.size();
    request.logCount = int(result.logs.size());
    FuzzApplication::require(gStore->storeAccepted(request, result), "an accepted batch was not stored",
                             gStore->errorString());
    const QList<IngestStore::StoredLog> after = gStore->logs();
    FuzzApplication::require(after.size() == gStoredLogs + result.logs.size(), "the store lost logs");
    for (qsizetype i = 0; i < result.logs.size(); ++i) {
        const IngestStore::StoredLog& stored = after.at(gStoredLogs + i);
        FuzzApplication::require(stored.json == result.logs.at(i).json && stored.logId == result.logs.at(i).id
                                     && stored.type == result.logs.at(i).type,
                                 "the store gives back other bytes than it was handed",
                                 QString::fromUtf8(stored.json) + QLatin1Char('\n')
                                     + QString::fromUtf8(result.logs.at(i).json));
    }
    gStoredLogs = after.size();
    if (++gBatches % kBatchesPerStore == 0)
        openStore();
}

void checkControl(const QByteArray& body)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return;
    const IngestFaults current;
    IngestFaults changed;
    QString reason;
    if (!IngestFaults::fromJson(document.object(), current, &changed, &reason)) {
        FuzzApplication::require(!reason.isEmpty(), "refused faults give no reason");
        return;
    }
    IngestFaults again;
    QString reasonAgain;
    FuzzApplication::require(IngestFaults::fromJson(changed.toJson(), current, &again, &reasonAgain)
                                 && again.toJson() == changed.toJson(),
                             "accepted faults do not survive their own JSON", reasonAgain);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzApplication::start();
    gStorePath = FuzzApplication::scratchDirectory() + QStringLiteral("/ingest.sqlite");
    openStore();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArrayView bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    const HttpRequestHead head = HttpRequestHead::parse(bytes);
    checkHead(head, bytes);
    if (head.state != HttpRequestHead::State::Complete)
        return 0;
    // What has arrived of the announced body; the server waits for the rest,
    // the fuzzer takes what is there.
    const qsizetype available = bytes.size() - head.headBytes;
    const qsizetype length = head.contentLength < available ? qsizetype(head.contentLength) : available;
    const QByteArray body = bytes.sliced(head.headBytes, length).toByteArray();
    if (head.path == "/zp-ingest/control")
        checkControl(body);
    else
        checkValidation(headerFields(bytes.first(head.headBytes - 4)), body);
    return 0;
}
