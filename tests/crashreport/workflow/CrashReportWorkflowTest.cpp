// The whole workflow as a host lives it: start-up, the launch event, the
// dialog answered by the user, and what reached the store for each answer.
#include "WorkflowFixture.h"

#include "AppCenter/AppCenter.h"
#include "CrashReport/Crashes.h"

#include <QApplication>
#include <QGuiApplication>
#include <QMainWindow>
#include <QRegularExpression>
#include <QScreen>
#include <QUuid>
#include <gtest/gtest.h>

namespace {

const QString kSession = QStringLiteral("0b6c1f7e-2a43-4d8e-9f10-3c5d7e9a1b2c");
const QString kOtherSession = QStringLiteral("5e4d3c2b-1a09-4f8e-8d7c-6b5a49382716");

class CrashReportWorkflowTest : public WorkflowFixture {
protected:
    // The user-facing part of the description: everything before the first date line.
    static QString userPart(const QString& description) { return description.section(QStringLiteral("Date: "), 0, 0); }

    // Checks that the report of `session` reached the store complete: the
    // error, its minidump, and the product log and description named after
    // `crashTime`; returns the description.
    QString checkReportSent(const QList<QJsonObject>& logs, const QString& session, const QDateTime& crashTime,
                            const QByteArray& productLog = QByteArray())
    {
        int errors = 0;
        for (const QJsonObject& error : select(logs, QStringLiteral("managedError")))
            errors += error.value(QStringLiteral("sid")).toString() == session;
        EXPECT_EQ(errors, 1);
        int dumps = 0;
        for (const QJsonObject& log : select(logs, QStringLiteral("errorAttachment")))
            dumps += log.value(QStringLiteral("sid")).toString() == session
                     && log.value(QStringLiteral("fileName")).toString() == QLatin1String("minidump.dmp");
        EXPECT_EQ(dumps, 1);

        const QMap<QString, QJsonObject> attachments = attachmentsOf(logs, session);
        const QString base = QStringLiteral("Alpha.") + fileNameTime(crashTime);
        EXPECT_EQ(attachments.keys(), (QStringList{base + QStringLiteral(".log"), base + QStringLiteral(".txt")}));
        const QJsonObject log = attachments.value(base + QStringLiteral(".log"));
        EXPECT_EQ(log.value(QStringLiteral("contentType")).toString(), QStringLiteral("application/octet-stream"));
        EXPECT_EQ(log.value(QStringLiteral("data")).toString(), QString::fromLatin1(productLog.toBase64()));
        EXPECT_TRUE(log.value(QStringLiteral("data")).isString());
        EXPECT_EQ(attachments.value(base + QStringLiteral(".txt")).value(QStringLiteral("contentType")).toString(),
                  QStringLiteral("text/plain"));
        return descriptionOf(attachments);
    }
};

} // namespace

TEST_F(CrashReportWorkflowTest, WithNoPendingReportNoDialogAppearsAndNothingIsSent)
{
    startAlpha();
    DialogUser user(DialogUser::cancel());
    announceLaunch();
    EXPECT_TRUE(user.seen().isEmpty());
    EXPECT_FALSE(controller().didSend());
    EXPECT_TRUE(mUserInfo.caught.isEmpty());
    EXPECT_EQ(Crashes::instance().crashesDirectory(), crashesDirectory());

    const QList<QJsonObject> logs = storedLogs();
    EXPECT_EQ(select(logs, QStringLiteral("startService")).size(), 1);
    EXPECT_TRUE(select(logs, QStringLiteral("managedError")).isEmpty());
    EXPECT_TRUE(select(logs, QStringLiteral("errorAttachment")).isEmpty());
}

TEST_F(CrashReportWorkflowTest, AcceptingSendsAtOnceWithWhatTheUserTyped)
{
    startAlpha();
    controller().setUserName(QStringLiteral("Preset Name"));
    const QDateTime crashTime = leaveCrash(kSession);
    const QByteArray productLog("2026-11-21 opened image.tif\n2026-11-21 applied filter\n");
    writeProductLog(QStringLiteral("Alpha"), productLog);

    DialogUser user(DialogUser::submit(QStringLiteral("Ann Smith"), QStringLiteral("ann@example.com"),
                                       QStringLiteral("It froze while saving")));
    announceLaunch();

    ASSERT_EQ(user.seen().size(), 1);
    EXPECT_EQ(user.seen().first().message, QStringLiteral("Alpha quit unexpectedly."));
    EXPECT_EQ(user.seen().first().userName, QStringLiteral("Preset Name")); // prefilled
    EXPECT_TRUE(user.seen().first().userEmail.isEmpty());
    EXPECT_TRUE(controller().didSend());
    EXPECT_EQ(controller().userName(), QStringLiteral("Ann Smith"));
    EXPECT_EQ(controller().userEmail(), QStringLiteral("ann@example.com"));
    EXPECT_EQ(controller().description(), QStringLiteral("It froze while saving"));
    EXPECT_EQ(mUserInfo.caught, (QList<UserInfoCatcher::Info>{
                                    {kUserId, QStringLiteral("Ann Smith"), QStringLiteral("ann@example.com")}}));
    EXPECT_TRUE(crashFiles().isEmpty());

    const QString description = checkReportSent(storedLogs(), kSession, crashTime, productLog);
    EXPECT_EQ(userPart(description), QStringLiteral("User ID: user-42\n"
                                                    "User Name: Ann Smith\n"
                                                    "User Email: ann@example.com\n"
                                                    "Description: It froze while saving\n\n"));
}

TEST_F(CrashReportWorkflowTest, DecliningStillSendsButOnlyWithWhatTheHostSet)
{
    startAlpha();
    controller().setUserName(QStringLiteral("Set Name"));
    controller().setUserEmail(QStringLiteral("set@example.com"));
    const QDateTime crashTime = leaveCrash(kSession);

    DialogUser user(DialogUser::fillThen(QStringLiteral("Typed Name"), QStringLiteral("typed@example.com"),
                                         QStringLiteral("typed words"), DialogUser::cancel()));
    announceLaunch();

    ASSERT_EQ(user.seen().size(), 1);
    EXPECT_EQ(user.seen().first().userName, QStringLiteral("Set Name"));
    EXPECT_EQ(user.seen().first().userEmail, QStringLiteral("set@example.com"));
    EXPECT_FALSE(controller().didSend());
    EXPECT_EQ(controller().userName(), QStringLiteral("Set Name"));
    EXPECT_EQ(controller().userEmail(), QStringLiteral("set@example.com"));
    EXPECT_TRUE(controller().description().isEmpty());
    EXPECT_EQ(mUserInfo.caught, (QList<UserInfoCatcher::Info>{
                                    {kUserId, QStringLiteral("Set Name"), QStringLiteral("set@example.com")}}));
    EXPECT_TRUE(crashFiles().isEmpty());

    const QString description = checkReportSent(storedLogs(), kSession, crashTime);
    EXPECT_EQ(userPart(description),
              QStringLiteral("User ID: user-42\nUser Name: Set Name\nUser Email: set@example.com\n"));
}

TEST_F(CrashReportWorkflowTest, TheCloseButtonDeclinesLikeCancel)
{
    startAlpha();
    const QDateTime crashTime = leaveCrash(kSession);
    DialogUser user(DialogUser::fillThen(QStringLiteral("Typed Name"), QString(), QStringLiteral("typed words"),
                                         DialogUser::closeWindow()));
    announceLaunch();

    ASSERT_EQ(user.seen().size(), 1);
    EXPECT_FALSE(controller().didSend());
    EXPECT_TRUE(controller().userName().isEmpty());
    EXPECT_TRUE(controller().description().isEmpty());
    EXPECT_EQ(mUserInfo.caught, (QList<UserInfoCatcher::Info>{{kUserId, QString(), QString()}}));
    EXPECT_EQ(userPart(checkReportSent(storedLogs(), kSession, crashTime)), QStringLiteral("User ID: user-42\n"));
}

TEST_F(CrashReportWorkflowTest, DecliningWithAlwaysSendCountsAsAccepting)
{
    startAlpha(true);
    controller().setUserName(QStringLiteral("Set Name"));
    const QDateTime crashTime = leaveCrash(kSession);

    DialogUser user(DialogUser::fillThen(QStringLiteral("Typed Name"), QStringLiteral("typed@example.com"),
                                         QStringLiteral("typed words"), DialogUser::pressEscape()));
    announceLaunch();

    ASSERT_EQ(user.seen().size(), 1);
    EXPECT_TRUE(controller().didSend());
    EXPECT_EQ(controller().userName(), QStringLiteral("Typed Name"));
    EXPECT_EQ(controller().userEmail(), QStringLiteral("typed@example.com"));
    EXPECT_EQ(controller().description(), QStringLiteral("typed words"));
    EXPECT_EQ(mUserInfo.caught, (QList<UserInfoCatcher::Info>{
                                    {kUserId, QStringLiteral("Typed Name"), QStringLiteral("typed@example.com")}}));
    EXPECT_TRUE(crashFiles().isEmpty());

    const QString description = checkReportSent(storedLogs(), kSession, crashTime);
    EXPECT_EQ(userPart(description), QStringLiteral("User ID: user-42\n"
                                                    "User Name: Typed Name\n"
                                                    "User Email: typed@example.com\n"
                                                    "Description: typed words\n\n"));
}

TEST_F(CrashReportWorkflowTest, AcceptingWithAnEmptyDescriptionKeepsTheEarlierOneButClearsNameAndEmail)
{
    startAlpha();
    {
        // An earlier answer, as ZpCrashReportTestUI would ask it.
        DialogUser earlier(DialogUser::submit(QStringLiteral("Ann"), QStringLiteral("ann@example.com"),
                                              QStringLiteral("Earlier words")));
        ASSERT_TRUE(controller().askUser());
    }
    ASSERT_EQ(controller().description(), QStringLiteral("Earlier words"));
    const QDateTime crashTime = leaveCrash(kSession);

    DialogUser user(DialogUser::submit(QString(), QString(), QString()));
    announceLaunch();

    ASSERT_EQ(user.seen().size(), 1);
    EXPECT_EQ(user.seen().first().userName, QStringLiteral("Ann")); // prefilled, then cleared by the user
    EXPECT_TRUE(user.seen().first().description.isEmpty());
    EXPECT_TRUE(controller().didSend());
    EXPECT_TRUE(controller().userName().isEmpty());
    EXPECT_TRUE(controller().userEmail().isEmpty());
    EXPECT_EQ(controller().description(), QStringLiteral("Earlier words"));
    EXPECT_EQ(mUserInfo.caught, (QList<UserInfoCatcher::Info>{{kUserId, QString(), QString()}}));

    const QString description = checkReportSent(storedLogs(), kSession, crashTime);
    EXPECT_EQ(userPart(description), QStringLiteral("User ID: user-42\nDescription: Earlier words\n\n"));
}

TEST_F(CrashReportWorkflowTest, TwoReportsAreEachSentWithTheirOwnTwoAttachments)
{
    startAlpha();
    const QDateTime firstTime = leaveCrash(kSession);
    const QDateTime secondTime = leaveCrash(kOtherSession);
    DialogUser user(DialogUser::submit(QStringLiteral("Ann"), QString(), QString()));
    announceLaunch();

    // One question for all pending reports.
    ASSERT_EQ(user.seen().size(), 1);
    const QList<QJsonObject> logs = storedLogs();
    EXPECT_EQ(userPart(checkReportSent(logs, kSession, firstTime)), QStringLiteral("User ID: user-42\nUser Name: Ann\n"));
    EXPECT_EQ(userPart(checkReportSent(logs, kOtherSession, secondTime)),
              QStringLiteral("User ID: user-42\nUser Name: Ann\n"));
}

TEST_F(CrashReportWorkflowTest, AHiddenMainWindowIsTheParentAndTheDialogIsCentredOnItsScreen)
{
    startAlpha();
    leaveCrash(kSession);
    QMainWindow window;
    ASSERT_FALSE(window.isVisible());
    DialogUser user(DialogUser::cancel());
    announceLaunch(&window);

    ASSERT_EQ(user.seen().size(), 1);
    EXPECT_EQ(user.seen().first().parent, &window);
    ASSERT_NE(window.screen(), nullptr);
    const QRect available = window.screen()->availableGeometry();
    const QSize frame = user.seen().first().frameSize;
    EXPECT_EQ(user.seen().first().position,
              QPoint(available.center().x() - frame.width() / 2, available.center().y() - frame.height() / 2));
}

TEST_F(CrashReportWorkflowTest, TheAppSecretIsNeverLoggedNorSent)
{
    const QString secret = alphaSecret();
    ASSERT_FALSE(secret.isEmpty());
    startAlpha();
    leaveCrash(kSession);
    DialogUser user(DialogUser::submit(QStringLiteral("Ann"), QStringLiteral("ann@example.com"), QStringLiteral("x")));
    announceLaunch();
    ASSERT_EQ(user.seen().size(), 1);
    controller().shutdown();

    const QStringList lines = mLog->messages();
    for (const QString& line : lines)
        EXPECT_FALSE(line.contains(secret)) << line.toStdString();
    const QString description = descriptionOf(attachmentsOf(storedLogs(), kSession));
    ASSERT_FALSE(description.isEmpty());
    EXPECT_FALSE(description.contains(secret));
}

TEST_F(CrashReportWorkflowTest, DidSendKeepsItsLastAnswer)
{
    startAlpha();
    EXPECT_FALSE(controller().didSend());
    {
        DialogUser user(DialogUser::submit(QString(), QString(), QString()));
        EXPECT_TRUE(controller().askUser());
    }
    EXPECT_TRUE(controller().didSend());
    // A launch without pending reports asks nothing and changes nothing.
    announceLaunch();
    EXPECT_TRUE(controller().didSend());
    {
        DialogUser user(DialogUser::pressEscape());
        EXPECT_FALSE(controller().askUser());
    }
    EXPECT_FALSE(controller().didSend());
}
