#pragma once

#include "CrashReport/MSCrashesDelegate.h"
#include "CrashReport/MSErrorReport.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUuid>
#include <functional>
#include <memory>

class AppCenterQueue;

// The "Crashes" service: at start it prepares this run's crash files and
// installs the crash handler, then turns the crash files of earlier runs
// into pending reports and, once the workflow agrees, into "managedError"
// and "errorAttachment" logs on the queue; the files are deleted after.
//
// One per process. start and sendPendingReports run on the GUI thread (the
// confirmation handler shows a dialog); the crash handler reads only what
// start prepared.
class Crashes {
public:
    // Given the pending reports; true means the handler has taken over the
    // sending, false that they are to be sent at once.
    using UserConfirmationHandler = std::function<bool(const QList<MSErrorReport>& reports)>;

    static Crashes& instance();

    // Called by AppCenter::startService("Crashes"). A crash path that does not
    // fit the crash-time core's fixed storage is left out: that file is then
    // not written at a crash (nor the dump, when it is the record that does
    // not fit), and the rest of the start goes on as usual.
    void start(const QUuid& sessionId, const QString& userId, std::shared_ptr<AppCenterQueue> queue,
               const QString& storageDirectory);
    // Enqueues every pending report the delegate accepts, with its minidump
    // and the delegate's attachments, then deletes all crash files.
    void sendPendingReports();

    // Set by the crash workflow before it starts the service; replaces (and
    // destroys) an earlier delegate.
    void setDelegate(std::unique_ptr<MSCrashesDelegate> delegate);
    void setUserConfirmationHandler(UserConfirmationHandler handler);

    QString crashesDirectory() const;
    QList<MSErrorReport> pendingReports() const;
    std::shared_ptr<AppCenterQueue> queue() const;
    // What this run's crash would leave: the prepared JSON, and where.
    QByteArray crashJson() const;
    QString crashJsonPath() const;

    // Tests only: forgets everything, as in a new process (the installed
    // handler stays, as it would).
    static void resetForTesting();

private:
    Crashes() = default;

    QByteArray buildCrashJson(const QString& userId) const;
    void prepareCrashFiles(const QUuid& sessionId);
    void findPendingReports();
    void sendReport(const MSErrorReport& report);
    void deleteCrashFiles();

    QString mCrashesDirectory;
    QList<MSErrorReport> mPendingReports;
    std::shared_ptr<AppCenterQueue> mQueue;
    std::unique_ptr<MSCrashesDelegate> mDelegate;
    UserConfirmationHandler mUserConfirmationHandler;
    QByteArray mCrashJson;
    QString mCrashJsonPath;
};
