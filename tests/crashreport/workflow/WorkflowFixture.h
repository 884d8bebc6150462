#pragma once

// What the crash-report workflow tests share: a controller reset for every
// test with its user data folder in a temporary directory, a simulated user
// who answers the crash dialog with real key presses and clicks, a catcher of
// the user-info events, and readers of what reached the store.

#include "CrashReport/CrashReportController.h"
#include "CrashReport/CrashReportDialog.h"

#include "AppCenterStoreFixture.h"
#include "LogCapture.h"

#include <CoreFoundation/CoreFoundation.h>

#include <QElapsedTimer>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QObject>
#include <QPoint>
#include <QSize>
#include <QPointer>
#include <QString>
#include <functional>
#include <memory>

class QEvent;
class QMainWindow;

// Answers every crash dialog that becomes the application's modal window.
// It looks from a QTimer::singleShot loop, so it acts inside the dialog's own
// event loop; a dialog still open a while after its answer is closed with
// kNoAnswer and fails the test, so that a dialog that ignores the user cannot
// hang the suite.
class DialogUser : public QObject {
public:
    using Answer = std::function<void(CrashReportDialog&)>;

    // What a dialog showed when the user came to it.
    struct Seen {
        QString message;
        QString userName;
        QString userEmail;
        QString description;
        QWidget* parent = nullptr;
        QPoint position; // of the frame
        QSize frameSize;
    };

    static constexpr int kNoAnswer = 101;

    explicit DialogUser(Answer answer);
    ~DialogUser() override;

    const QList<Seen>& seen() const { return mSeen; }

    // Answers, made of real input events.
    static Answer submit(const QString& name, const QString& email, const QString& description);
    static Answer cancel();
    static Answer pressEscape();
    // What the window manager does for the title bar's close button.
    static Answer closeWindow();
    // Fills the fields as `submit` does, then answers with `decline`.
    static Answer fillThen(const QString& name, const QString& email, const QString& description,
                           const Answer& decline);

private:
    void look();

    Answer mAnswer;
    QList<Seen> mSeen;
    QPointer<CrashReportDialog> mAnswered;
    QElapsedTimer mSinceAnswer;
};

// Records the ZpCrashUserInfoEvents that reach the application object.
class UserInfoCatcher : public QObject {
public:
    struct Info {
        QString userId;
        QString userName;
        QString userEmail;
        bool operator==(const Info& other) const
        {
            return userId == other.userId && userName == other.userName && userEmail == other.userEmail;
        }
    };

    bool eventFilter(QObject* watched, QEvent* event) override;
    QList<Info> caught;
};

void PrintTo(const UserInfoCatcher::Info& info, std::ostream* out);

class WorkflowFixture : public AppCenterStoreFixture {
protected:
    static const QString kUserId;

    void SetUp() override;
    void TearDown() override;

    static CrashReportController& controller() { return CrashReportController::instance(); }

    // Starts the controller for the app manager product (kZpProductAlpha, 0, 1),
    // which has both an app secret and a bundle identifier, on location().
    void startAlpha(bool alwaysSend = false);
    // The table's app secret and bundle identifier of that product.
    static QString alphaSecret();
    static QString alphaBundleIdentifier();

    // Posts the host's launch event to the application and lets everything it
    // leads to run, the dialog included; then delivers what was posted meanwhile.
    static void announceLaunch(QMainWindow* mainWindow = nullptr);

    QString crashesDirectory() const;
    // Leaves the files of a crashed run (<session>.json and .dmp) for the
    // next service start; returns the crash time the service will see.
    QDateTime leaveCrash(const QString& session);
    QStringList crashFiles() const;
    // Writes "<mDir>/<product> Log.txt".
    void writeProductLog(const QString& product, const QByteArray& content);

    // The attachment logs stored for a report, by file name, minidump left out.
    static QMap<QString, QJsonObject> attachmentsOf(const QList<QJsonObject>& logs, const QString& session);
    // The decoded text of the ".txt" attachment among them.
    static QString descriptionOf(const QMap<QString, QJsonObject>& attachments);

    // A directory URL for `path`; the caller releases it.
    static CFURLRef createFileUrl(const QString& path);

    std::unique_ptr<LogCapture> mLog;
    UserInfoCatcher mUserInfo;
};

// The crash time as the file names carry it.
QString fileNameTime(const QDateTime& crashTime);
