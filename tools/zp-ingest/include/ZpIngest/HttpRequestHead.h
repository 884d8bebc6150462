#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

// The request line and the framing headers of an HTTP/1.x request, read from the
// first bytes of a connection before QHttpServer sees them. zp-ingest uses it to
// refuse oversized bodies and to drop connections on purpose while the body is
// still arriving; everything else about the request is QHttpServer's to parse.
//
// Plain value; parse() is a pure function.
class HttpRequestHead
{
public:
    // A head (request line, headers, blank line) longer than this is refused.
    static constexpr qsizetype kMaxHeadBytes = 64 * 1024;

    enum class State {
        Incomplete, // the blank line that ends the head has not arrived yet
        Complete,
        Invalid,  // see error
        TooLarge, // no blank line within kMaxHeadBytes
    };

    // `bytes` are the first bytes of the connection, as many as have arrived.
    static HttpRequestHead parse(QByteArrayView bytes);

    State state = State::Incomplete;
    QString error;           // why the head is Invalid or TooLarge, for the client
    QByteArray method;       // as sent, e.g. "POST"
    QByteArray target;       // as sent, e.g. "/logs?api-version=1.0.0"
    QByteArray path;         // target without its query
    qint64 contentLength = 0; // 0 when the header is absent
    bool chunked = false;    // a Transfer-Encoding header is present
    qsizetype headBytes = 0; // bytes up to and including the blank line
};
