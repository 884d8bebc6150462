#pragma once

#include <QString>
#include <QUuid>
#include <memory>

class AppCenterQueue;

// The process-wide App Center client: owns the one log queue, the user id and
// the session id, and starts the "Analytics" and "Crashes" services on it.
//
// The first service to start (AppCenter::start, only while queue() is empty)
// fixes the app secret and the storage directory for the whole process.
// start and startService run during start-up on the GUI thread; the fields
// are read without locks afterwards.
class AppCenter {
public:
    static AppCenter& instance();

    // Makes the queue in <storageDirectory>/AppCenter (the application-local
    // data directory when storageDirectory is empty) and a new session id.
    static void start(const QString& appSecret, const QString& storageDirectory);

    // Stores a "startService" log (when started) and starts the service named
    // exactly "Analytics" or "Crashes"; any other name starts nothing.
    void startService(const QString& serviceName);

    QString userId() const;
    void setUserId(const QString& userId);
    QString countryCode() const;
    void setCountryCode(const QString& countryCode);
    QUuid sessionId() const;
    QString storageDirectory() const;
    // Empty until start: that is how callers know the client is not started.
    std::shared_ptr<AppCenterQueue> queue() const;

    // Tests only: forgets the queue and every field, and the services' hold
    // on the queue, as in a new process.
    static void resetForTesting();

private:
    AppCenter() = default;

    QString mUserId;
    QUuid mSessionId;
    QString mCountryCode;
    QString mStorageDirectory;
    std::shared_ptr<AppCenterQueue> mQueue;
};
