#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringView>

// Decides whether one ingestion request (its headers and body) is what the App
// Center log-ingestion endpoint accepts, and names the first problem when it is
// not. The HTTP framing (method, path, query, sizes) is the server's business;
// this class sees only what a fuzzer can feed it.
//
// Reasons are short plain text meant for the client and for the requests table.
// They may quote a log's own "type", never a header value: the App-Secret must not
// leave this class except as its SHA-256.
//
// Pure functions over their arguments: no I/O, no shared mutable state, safe to
// call from any number of threads at once.
class LogValidator
{
public:
    using HeaderList = QList<QPair<QByteArray, QByteArray>>;

    // One accepted log, ready to be stored.
    struct Log
    {
        QString type;
        QString id;
        QString name;    // the event name for "event" logs, empty for every other type
        QByteArray json; // the log object re-serialised compactly
    };

    struct Result
    {
        bool ok = false;
        QString reason;          // the first problem; empty when ok
        QString appSecretSha256; // lower-case hex; empty unless ok
        QString installId;       // as sent; empty unless ok
        QList<Log> logs;         // in request order; empty unless ok
    };

    // Header names compare case-insensitively. Either every log passes or the
    // result carries no logs at all.
    static Result validate(const HeaderList& headers, const QByteArray& body);

    // Checks one element of "logs": the keys every log needs, then those of its
    // type. Returns the reason without the "log N: " prefix, or an empty string
    // when the log passes.
    static QString checkLog(const QJsonObject& log);

    // 8-4-4-4-12 hexadecimal digits, either case, nothing around them.
    static bool isUuid(QStringView text);

    // UTC with exactly three digits of milliseconds and a trailing Z, naming a
    // real calendar date and time: 2024-05-01T10:20:30.123Z.
    static bool isTimestamp(QStringView text);

    // Standard alphabet (A-Z a-z 0-9 + /), padded with '=' to a multiple of four
    // characters, no white space. The empty string passes (zero bytes).
    static bool isPaddedBase64(QStringView text);
};
