#pragma once

// UNFINISHED: the crash service's entry point. For now it only records that
// the App Center client started it and with what; capturing crashes and
// sending the reports of earlier runs are not built yet.

#include <QString>
#include <QUuid>
#include <memory>

class AppCenterQueue;

class Crashes {
public:
    static Crashes& instance();

    // Called by AppCenter::startService("Crashes").
    void start(const QUuid& sessionId, const QString& userId, std::shared_ptr<AppCenterQueue> queue,
               const QString& storageDirectory);

    // What the last start was given.
    bool wasStarted() const;
    QUuid sessionId() const;
    QString userId() const;
    QString crashesDirectory() const;
    std::shared_ptr<AppCenterQueue> queue() const;

    // Tests only: forgets everything, as in a new process.
    static void resetForTesting();

private:
    Crashes() = default;

    bool mStarted = false;
    QUuid mSessionId;
    QString mUserId;
    QString mCrashesDirectory;
    std::shared_ptr<AppCenterQueue> mQueue;
};
