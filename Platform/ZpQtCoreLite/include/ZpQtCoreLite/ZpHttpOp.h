#pragma once

#include <ZpQtCoreLite/ZpQtCoreLiteExport.h>

#include <QtGlobal>

#include <memory>

// The caller's handle on the exchanges of one or more ZpHttp objects: another
// thread can cancel them through it, and it counts the body bytes that went out
// and came back.
//
// Thread safety: every member may be called from any thread at any time.
// Lifetime: the op must outlive every ZpHttp::post() that runs with it; a ZpHttp
// only borrows it.
class ZPQTCORELITE_EXPORT ZpHttpOp
{
public:
    ZpHttpOp();
    ~ZpHttpOp();

    ZpHttpOp(const ZpHttpOp&) = delete;
    ZpHttpOp& operator=(const ZpHttpOp&) = delete;

    // Stops every exchange running with this op: its post() returns false soon
    // after, with result code 0 unless an answer had begun to arrive. The flag is
    // sticky: a post() that starts after cancel() fails at once without opening a
    // connection.
    void cancel();
    bool isCanceled() const;

    // Request-body bytes sent and response-body bytes received, summed over every
    // exchange run with this op; header bytes are not counted. A request body
    // counts as sent in full once its answer arrives; before that, and for
    // exchanges that end without an answer, as far as Qt reported its progress.
    qint64 bytesSent() const;
    qint64 bytesReceived() const;

private:
    friend class ZpHttp;
    struct Private;
    std::unique_ptr<Private> d;
};
