#pragma once

#include "AppCenter/DeviceInfo.h"
#include "AppCenter/EventLogWriter.h"

#include <QJsonObject>
#include <QMap>
#include <QString>
#include <atomic>
#include <cstdint>
#include <memory>

namespace leveldb {
class DB;
}

// The persistent log queue: every log the library produces is stored in a
// leveldb database under its "id" until the ingestion endpoint has answered
// 200 for a batch that carried it, so that logs outlive crashes and offline
// periods and leave with a later send or a later run.
//
// One queue per process (AppCenter makes it and shares it). enqueue and
// scheduleSend may be called from any thread; sends run on Qt's global thread
// pool, at most one at a time. Without a database (another process holds the
// store, or it cannot be opened) the queue silently stores and sends nothing.
class AppCenterQueue {
public:
    // What a send task shares with the queue; the database closes when the
    // last owner lets go, so the queue may die while a send runs.
    struct State {
        std::atomic<int32_t> running{0}; // 1 from scheduling to the end of a send task
        std::shared_ptr<leveldb::DB> database; // empty when opening failed
    };

    // The shipped pause between the starts of two send tasks.
    static constexpr int64_t kSendThrottleMs = 60000;

    // Opens (creating if needed) the database in storageDirectory/logs, reads
    // or creates the install id, and schedules a send for what earlier runs
    // left. Reports nothing on failure.
    AppCenterQueue(const QString& appSecret, const QString& storageDirectory);
    ~AppCenterQueue();
    AppCenterQueue(const AppCenterQueue&) = delete;
    AppCenterQueue& operator=(const AppCenterQueue&) = delete;

    // Completes the envelope of `log` in place ("id" kept if the caller set a
    // non-empty one, else a new UUID; "device"; "timestamp"), stores it and
    // schedules a send. A log whose id is already pending replaces it.
    void enqueue(QJsonObject& log, const QString& wrapperSdkName);

    // Stores the event log AppCenterLogBuilder::eventLog(name, properties)
    // as enqueue(log, QString()) would, with the same bytes, at the cost the
    // tracking calls of the host's GUI thread can afford (EventLogWriter).
    void enqueueEvent(const QString& name, const QMap<QString, QString>& properties);

    // Starts a send task unless there is no database, one started less than
    // the throttle period ago, or one is still running.
    void scheduleSend();

    // Empty while there is no database.
    QString installId() const;
    bool hasDatabase() const;
    bool isSending() const;
    const DeviceInfo& device() const;

    // The send task: posts every pending log in batches and deletes a batch's
    // records only after an HTTP 200. Runs on a pool thread; clears the
    // running flag when done.
    static void sendPendingLogs(std::shared_ptr<State> state, QString appSecret, QString installId);

    // Tests shorten the throttle through this; nothing else calls it.
    static void setSendThrottleForTesting(int64_t milliseconds);

private:
    static int64_t sendThrottleMs();
    void openDatabase(const QString& storageDirectory);
    void readOrCreateInstallId();
    void store(const QByteArray& id, const QByteArray& json);

    QString mAppSecret;
    QString mInstallId;
    DeviceInfo mDevice;
    // The device object without a wrapper name, built once: most logs carry it.
    QJsonObject mPlainDeviceJson;
    EventLogWriter mEventWriter;
    std::shared_ptr<State> mState;
    // Start of the last send on the monotonic clock, in ms; -1 before the
    // first. Atomic because scheduleSend runs on several threads at once.
    std::atomic<int64_t> mSendStartedMs{-1};
};
