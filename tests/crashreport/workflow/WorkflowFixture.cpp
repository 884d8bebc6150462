#include "WorkflowFixture.h"
#include "KeyboardTyping.h"

#include "Analytics/BundleIdentifierMap.h"
#include "Analytics/CrashAppIdentiferMap.h"

#include <ZpCore/ZpProducts.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>
#include <ZpWidgetsLite/ZpAppDidFinishLaunchingEvent.h>
#include <ZpWidgetsLite/ZpCrashUserInfoEvent.h>

#include <QAbstractButton>
#include <QApplication>
#include <QByteArray>
#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTextEdit>
#include <QTimer>
#include <QWindow>

#include <ostream>

namespace {

// How often the simulated user looks for a dialog, and how long a dialog may
// stay open after the answer before the test gives up on it.
constexpr int kLookIntervalMs = 5;
constexpr qint64 kAnswerDeadlineMs = 10000;

template <typename T>
T* part(const QWidget& dialog, const char* name)
{
    return dialog.findChild<T*>(QLatin1String(name));
}

// Clicks into a field, selects what is in it, deletes it and types `text`.
void retype(QWidget* field, const QString& text)
{
    ASSERT_NE(field, nullptr);
    QTest::mouseClick(field, Qt::LeftButton);
    QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(field, Qt::Key_Backspace);
    typeText(field, text);
}

void fill(CrashReportDialog& dialog, const QString& name, const QString& email, const QString& description)
{
    retype(part<QLineEdit>(dialog, "userNameEdit"), name);
    retype(part<QLineEdit>(dialog, "userEmailEdit"), email);
    retype(part<QTextEdit>(dialog, "descriptionEdit"), description);
}

void clickButton(CrashReportDialog& dialog, QDialogButtonBox::StandardButton which)
{
    QPushButton* button = part<QDialogButtonBox>(dialog, "buttonBox")->button(which);
    ASSERT_NE(button, nullptr);
    QTest::mouseClick(button, Qt::LeftButton);
}

} // namespace

DialogUser::DialogUser(Answer answer)
    : mAnswer(std::move(answer))
{
    QTimer::singleShot(0, this, &DialogUser::look);
}

DialogUser::~DialogUser() = default;

void DialogUser::look()
{
    auto* dialog = qobject_cast<CrashReportDialog*>(QApplication::activeModalWidget());
    if (dialog && dialog != mAnswered) {
        mSeen.append(Seen{part<QLabel>(*dialog, "message")->text(), dialog->userName(), dialog->userEmail(),
                          dialog->description(), dialog->parentWidget(), dialog->pos(), dialog->frameSize()});
        mAnswered = dialog;
        mSinceAnswer.start();
        mAnswer(*dialog);
    } else if (dialog && mSinceAnswer.hasExpired(kAnswerDeadlineMs)) {
        ADD_FAILURE() << "the crash dialog was still open after the user's answer";
        dialog->done(kNoAnswer);
    }
    QTimer::singleShot(kLookIntervalMs, this, &DialogUser::look);
}

DialogUser::Answer DialogUser::submit(const QString& name, const QString& email, const QString& description)
{
    return [=](CrashReportDialog& dialog) {
        fill(dialog, name, email, description);
        clickButton(dialog, QDialogButtonBox::Ok);
    };
}

DialogUser::Answer DialogUser::cancel()
{
    return [](CrashReportDialog& dialog) { clickButton(dialog, QDialogButtonBox::Cancel); };
}

DialogUser::Answer DialogUser::pressEscape()
{
    return [](CrashReportDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); };
}

DialogUser::Answer DialogUser::closeWindow()
{
    return [](CrashReportDialog& dialog) {
        ASSERT_NE(dialog.windowHandle(), nullptr);
        dialog.windowHandle()->close();
    };
}

DialogUser::Answer DialogUser::fillThen(const QString& name, const QString& email, const QString& description,
                                        const Answer& decline)
{
    return [=](CrashReportDialog& dialog) {
        fill(dialog, name, email, description);
        decline(dialog);
    };
}

bool UserInfoCatcher::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == QCoreApplication::instance() && event->type() == ZpCrashUserInfoEvent::kEventType) {
        const auto* info = static_cast<ZpCrashUserInfoEvent*>(event);
        caught.append(Info{info->userId(), info->userName(), info->userEmail()});
    }
    return false;
}

void PrintTo(const UserInfoCatcher::Info& info, std::ostream* out)
{
    *out << "{" << info.userId.toStdString() << ", " << info.userName.toStdString() << ", "
         << info.userEmail.toStdString() << "}";
}

const QString WorkflowFixture::kUserId = QStringLiteral("user-42");

void WorkflowFixture::SetUp()
{
    AppCenterStoreFixture::SetUp();
    CrashReportController::resetForTesting();
    mLog = std::make_unique<LogCapture>();
    QCoreApplication::instance()->installEventFilter(&mUserInfo);
}

void WorkflowFixture::TearDown()
{
    QCoreApplication::instance()->removeEventFilter(&mUserInfo);
    CrashReportController::resetForTesting();
    mLog.reset();
    AppCenterStoreFixture::TearDown();
}

void WorkflowFixture::startAlpha(bool alwaysSend)
{
    CFStringRef userId = ZpQtStringUtils::createCFStringRefFromQString(kUserId);
    controller().startup(userId, kZpProductAlpha, 0, 1, alwaysSend, location());
    CFRelease(userId);
}

QString WorkflowFixture::alphaSecret()
{
    const CFStringRef secret =
        crashAppIdentiferMap().findAppSecret(kZpProductAlpha, 0, 1, CrashAppIdentiferMap::kLookupVariant);
    return ZpQtStringUtils::createQStringFromCFStringRef(secret);
}

QString WorkflowFixture::alphaBundleIdentifier()
{
    return ZpQtStringUtils::createQStringFromCFStringRef(bundleIdentifierMap().findBundleIdentifier(kZpProductAlpha, 0, 1));
}

void WorkflowFixture::announceLaunch(QMainWindow* mainWindow)
{
    QCoreApplication::postEvent(QCoreApplication::instance(), new ZpAppDidFinishLaunchingEvent(mainWindow));
    QCoreApplication::sendPostedEvents();
    // Events posted while the launch was handled, such as the user-info event.
    QCoreApplication::sendPostedEvents();
}

QString WorkflowFixture::crashesDirectory() const
{
    return storageDirectory() + QStringLiteral("/crashes");
}

QDateTime WorkflowFixture::leaveCrash(const QString& session)
{
    EXPECT_TRUE(QDir().mkpath(crashesDirectory()));
    const QString base = crashesDirectory() + QLatin1Char('/') + session;
    QFile json(base + QStringLiteral(".json"));
    EXPECT_TRUE(json.open(QIODevice::WriteOnly));
    json.write(R"({"appLaunchTimestamp":"2026-01-02T03:04:05.006Z","architecture":"x86_64",)"
               R"("exception":{"type":"minidump","wrapperSdkName":"custom.ndk"},"fatal":true,)"
               R"("processId":4242,"processName":"host","type":"managedError","userId":"user-42"})");
    json.close();
    QFile dump(base + QStringLiteral(".dmp"));
    EXPECT_TRUE(dump.open(QIODevice::WriteOnly));
    dump.write("MDMP\x93\xa7 a dump");
    dump.close();
    // As the service dates a crash: its JSON file's birth, or its last change
    // where the file system records no birth.
    const QFileInfo info(json.fileName());
    return info.birthTime().isValid() ? info.birthTime() : info.lastModified();
}

QStringList WorkflowFixture::crashFiles() const
{
    return QDir(crashesDirectory()).entryList({QStringLiteral("*.dmp"), QStringLiteral("*.json")}, QDir::Files,
                                              QDir::Name);
}

void WorkflowFixture::writeProductLog(const QString& product, const QByteArray& content)
{
    QFile log(mDir.filePath(product + QStringLiteral(" Log.txt")));
    ASSERT_TRUE(log.open(QIODevice::WriteOnly));
    ASSERT_EQ(log.write(content), content.size());
}

QMap<QString, QJsonObject> WorkflowFixture::attachmentsOf(const QList<QJsonObject>& logs, const QString& session)
{
    QMap<QString, QJsonObject> result;
    for (const QJsonObject& log : select(logs, QStringLiteral("errorAttachment"))) {
        const QString name = log.value(QStringLiteral("fileName")).toString();
        if (log.value(QStringLiteral("sid")).toString() == session && name != QLatin1String("minidump.dmp"))
            result.insert(name, log);
    }
    return result;
}

QString WorkflowFixture::descriptionOf(const QMap<QString, QJsonObject>& attachments)
{
    for (auto it = attachments.cbegin(); it != attachments.cend(); ++it) {
        if (it.key().endsWith(QLatin1String(".txt")))
            return QString::fromUtf8(
                QByteArray::fromBase64(it.value().value(QStringLiteral("data")).toString().toLatin1()));
    }
    return QString();
}

CFURLRef WorkflowFixture::createFileUrl(const QString& path)
{
    CFStringRef text = ZpQtStringUtils::createCFStringRefFromQString(path);
    CFURLRef url = CFURLCreateWithFileSystemPath(kCFAllocatorDefault, text, kCFURLPOSIXPathStyle, true);
    CFRelease(text);
    return url;
}

QString fileNameTime(const QDateTime& crashTime)
{
    const QDateTime utc = crashTime.toUTC();
    const QDate date = utc.date();
    const QTime time = utc.time();
    const QLatin1Char zero('0');
    return QStringLiteral("%1-%2-%3_%4-%5-%6Z")
        .arg(date.year(), 4, 10, zero)
        .arg(date.month(), 2, 10, zero)
        .arg(date.day(), 2, 10, zero)
        .arg(time.hour(), 2, 10, zero)
        .arg(time.minute(), 2, 10, zero)
        .arg(time.second(), 2, 10, zero);
}
