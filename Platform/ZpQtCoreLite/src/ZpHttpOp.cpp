#include <ZpQtCoreLite/ZpHttpOp.h>

#include "ZpHttpOpPrivate.h"

#include <QMetaObject>
#include <QMutexLocker>

ZpHttpOp::ZpHttpOp()
    : d(std::make_unique<Private>())
{
}

ZpHttpOp::~ZpHttpOp() = default;

void ZpHttpOp::cancel()
{
    d->canceled.store(true);
    QMutexLocker lock(&d->mutex);
    // The replies live on other threads: ask each one's thread to abort it. A
    // queued call to an object that is deleted before it runs is dropped by Qt.
    for (QNetworkReply* reply : std::as_const(d->running))
        QMetaObject::invokeMethod(reply, &QNetworkReply::abort, Qt::QueuedConnection);
}

bool ZpHttpOp::isCanceled() const
{
    return d->canceled.load();
}

qint64 ZpHttpOp::bytesSent() const
{
    return d->bytesSent.load();
}

qint64 ZpHttpOp::bytesReceived() const
{
    return d->bytesReceived.load();
}

bool ZpHttpOp::Private::attach(QNetworkReply* reply)
{
    QMutexLocker lock(&mutex);
    // Checked under the lock so that a cancel() racing with us either sees the
    // reply registered or is seen here.
    if (canceled.load())
        return false;
    running.append(reply);
    return true;
}

void ZpHttpOp::Private::detach(QNetworkReply* reply)
{
    QMutexLocker lock(&mutex);
    running.removeOne(reply);
}
