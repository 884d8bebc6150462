#pragma once

// The inside of ZpHttpOp, shared with ZpHttp, which registers its running replies
// here so that cancel() can reach them from any thread.

#include <ZpQtCoreLite/ZpHttpOp.h>

#include <QList>
#include <QMutex>
#include <QNetworkReply>

#include <atomic>

struct ZPQTCORELITE_NO_EXPORT ZpHttpOp::Private
{
    std::atomic<bool> canceled{false};
    std::atomic<qint64> bytesSent{0};
    std::atomic<qint64> bytesReceived{0};

    // Replies of the exchanges running with this op, each living on the thread of
    // its post(). REQUIRES: mutex held for every access; a reply is removed before
    // it is deleted, so cancel() never touches a dead one.
    QMutex mutex;
    QList<QNetworkReply*> running;

    // Called on the reply's thread before its event loop runs. Returns false when
    // the op was canceled already, in which case the reply was not registered.
    bool attach(QNetworkReply* reply);
    // Called on the reply's thread before the reply is deleted.
    void detach(QNetworkReply* reply);
};
