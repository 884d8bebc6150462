// The "Crashes" service: what a crashed run leaves on disk, and how the next
// run's start turns it into logs and deletes it.
#include "CrashReport/Crashes.h"

#include "AppCenter/AppCenter.h"

#include "AppCenterStoreFixture.h"

#include <sys/stat.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QProcess>
#include <QRegularExpression>
#include <QSysInfo>
#include <gtest/gtest.h>

namespace {

const QString kSecret = QStringLiteral("7d8e9f00-1a2b-4c3d-8e4f-5a6b7c8d9e0f");

// Accepts (or declines) every report and adds the given attachments; counts its calls.
class TestDelegate : public MSCrashesDelegate {
public:
    TestDelegate(bool accept, QList<ErrorAttachment> attachments, int* calls)
        : mAccept(accept)
        , mAttachments(std::move(attachments))
        , mCalls(calls)
    {
    }
    bool shouldProcessErrorReport(Crashes&, const MSErrorReport&) override
    {
        ++*mCalls;
        return mAccept;
    }
    QList<ErrorAttachment> attachmentsForErrorReport(Crashes&, const MSErrorReport& report) override
    {
        QList<ErrorAttachment> result = mAttachments;
        for (ErrorAttachment& attachment : result)
            attachment.fileName = report.sessionId + QLatin1Char('.') + attachment.fileName;
        return result;
    }

private:
    bool mAccept;
    QList<ErrorAttachment> mAttachments;
    int* mCalls;
};

class CrashesTest : public AppCenterStoreFixture {
protected:
    void SetUp() override
    {
        AppCenterStoreFixture::SetUp();
        Crashes::resetForTesting();
    }

    QString crashesDirectory() const { return storageDirectory() + QStringLiteral("/crashes"); }

    // Runs a host that starts the service and ends by `mode`; returns its session id.
    QString runHost(const QString& mode, QProcess::ExitStatus expected = QProcess::CrashExit)
    {
        QProcess host;
        host.start(QStringLiteral(ZP_CRASHES_VICTIM), {mDir.path(), QStringLiteral("user-7"), mode});
        EXPECT_TRUE(host.waitForFinished(60000));
        EXPECT_EQ(host.exitStatus(), expected) << host.readAllStandardError().toStdString();
        const QString out = QString::fromUtf8(host.readAllStandardOutput());
        return QRegularExpression(QStringLiteral("session=([0-9a-f-]{36})")).match(out).captured(1);
    }

    // Starts this process's client and crash service, as the next run does.
    void startNextRun(std::unique_ptr<MSCrashesDelegate> delegate,
                      Crashes::UserConfirmationHandler handler = nullptr)
    {
        Crashes::instance().setDelegate(std::move(delegate));
        Crashes::instance().setUserConfirmationHandler(std::move(handler));
        AppCenter::start(kSecret, mDir.path());
        AppCenter::instance().startService(QStringLiteral("Crashes"));
    }

    QStringList crashFiles() const
    {
        return QDir(crashesDirectory()).entryList({QStringLiteral("*.dmp"), QStringLiteral("*.json")}, QDir::Files,
                                                  QDir::Name);
    }

    QByteArray fileBytes(const QString& name) const
    {
        QFile file(crashesDirectory() + QLatin1Char('/') + name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
};

mode_t modeOf(const QString& path)
{
    struct stat info {};
    ::stat(QFile::encodeName(path).constData(), &info);
    return info.st_mode & 0777;
}

} // namespace

TEST_F(CrashesTest, ACrashedRunLeavesItsMinidumpAndThePreparedJson)
{
    const QString session = runHost(QStringLiteral("segv"));
    ASSERT_FALSE(session.isEmpty());
    EXPECT_EQ(crashFiles(), (QStringList{session + ".dmp", session + ".json"}));
    EXPECT_TRUE(fileBytes(session + ".dmp").startsWith("MDMP"));
    EXPECT_EQ(modeOf(crashesDirectory()), mode_t(0700));
    EXPECT_EQ(modeOf(crashesDirectory() + "/" + session + ".json"), mode_t(0600));

    const QByteArray json = fileBytes(session + ".json");
    EXPECT_FALSE(json.endsWith('\n'));
    const QJsonObject crash = QJsonDocument::fromJson(json).object();
    EXPECT_EQ(crash.keys(), (QStringList{"appLaunchTimestamp", "architecture", "exception", "fatal", "processId",
                                         "processName", "type", "userId"}));
    EXPECT_EQ(QJsonDocument(crash).toJson(QJsonDocument::Compact), json); // compact, in the writer's order
    EXPECT_TRUE(crash.value("processId").isDouble());
    EXPECT_GT(crash.value("processId").toInt(), 0);
    EXPECT_TRUE(crash.value("fatal").isBool());
    EXPECT_TRUE(crash.value("fatal").toBool());
    EXPECT_EQ(crash.value("exception").toObject(),
              (QJsonObject{{"type", "minidump"}, {"wrapperSdkName", "custom.ndk"}}));
    EXPECT_EQ(crash.value("processName").toString(), QStringLiteral("crashes_victim"));
    EXPECT_EQ(crash.value("type").toString(), QStringLiteral("managedError"));
    EXPECT_EQ(crash.value("userId").toString(), QStringLiteral("user-7"));
    EXPECT_EQ(crash.value("architecture").toString(), QSysInfo::currentCpuArchitecture());
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z$"))
                    .match(crash.value("appLaunchTimestamp").toString())
                    .hasMatch());
}

TEST_F(CrashesTest, TheRuntimesTerminateIsCapturedToo)
{
    const QString session = runHost(QStringLiteral("terminate"));
    EXPECT_EQ(crashFiles(), (QStringList{session + ".dmp", session + ".json"}));
}

TEST_F(CrashesTest, ARunThatEndsNormallyLeavesNothing)
{
    runHost(QStringLiteral("none"), QProcess::NormalExit);
    EXPECT_TRUE(crashFiles().isEmpty());
}

TEST_F(CrashesTest, TheNextStartSendsTheReportWithItsAttachmentsAndDeletesTheFiles)
{
    const QString session = runHost(QStringLiteral("segv"));
    const QByteArray dump = fileBytes(session + ".dmp");
    ASSERT_FALSE(dump.isEmpty());
    int calls = 0;
    startNextRun(std::make_unique<TestDelegate>(
        true, QList<ErrorAttachment>{{"log.txt", "text/plain", QStringLiteral("aGVsbG8=")}}, &calls));
    EXPECT_EQ(calls, 1);
    ASSERT_EQ(Crashes::instance().pendingReports().size(), 1);
    EXPECT_EQ(Crashes::instance().pendingReports().first().sessionId, session);
    EXPECT_TRUE(Crashes::instance().pendingReports().first().crashTime.isValid());
    EXPECT_TRUE(crashFiles().isEmpty());

    const QList<QJsonObject> logs = storedLogs();
    const QList<QJsonObject> errors = select(logs, QStringLiteral("managedError"));
    ASSERT_EQ(errors.size(), 1);
    const QJsonObject error = errors.first();
    const QString errorId = error.value("id").toString();
    EXPECT_EQ(error.value("sid").toString(), session);
    EXPECT_EQ(error.value("userId").toString(), QStringLiteral("user-7"));
    EXPECT_EQ(error.value("device").toObject().value("wrapperSdkName").toString(), QStringLiteral("custom.ndk"));

    const QList<QJsonObject> attachments = select(logs, QStringLiteral("errorAttachment"));
    ASSERT_EQ(attachments.size(), 2);
    QJsonObject minidump, text;
    for (const QJsonObject& log : attachments)
        (log.value("fileName").toString() == QLatin1String("minidump.dmp") ? minidump : text) = log;
    EXPECT_EQ(minidump.value("contentType").toString(), QStringLiteral("application/octet-stream"));
    EXPECT_EQ(minidump.value("data").toString().toLatin1(), dump.toBase64());
    EXPECT_EQ(text.value("fileName").toString(), session + QStringLiteral(".log.txt"));
    EXPECT_EQ(text.value("contentType").toString(), QStringLiteral("text/plain"));
    EXPECT_EQ(text.value("data").toString(), QStringLiteral("aGVsbG8="));
    for (const QJsonObject& log : attachments) {
        EXPECT_EQ(log.value("errorId").toString(), errorId);
        EXPECT_EQ(log.value("sid").toString(), session);
        EXPECT_EQ(log.value("device").toObject().value("wrapperSdkName").toString(), QStringLiteral("custom.ndk"));
    }
}

TEST_F(CrashesTest, TwoCrashedRunsGiveTwoReportsInListingOrderEachWithItsOwnId)
{
    const QString first = runHost(QStringLiteral("segv"));
    const QString second = runHost(QStringLiteral("terminate"));
    QStringList listed;
    for (const QString& name : QDir(crashesDirectory(), "*.json", QDir::Unsorted).entryList())
        listed << name.section('.', 0, -2);
    ASSERT_EQ(listed.size(), 2);

    int calls = 0;
    startNextRun(std::make_unique<TestDelegate>(true, QList<ErrorAttachment>{}, &calls));
    QStringList reported;
    for (const MSErrorReport& report : Crashes::instance().pendingReports())
        reported << report.sessionId;
    EXPECT_EQ(reported, listed);
    EXPECT_TRUE(crashFiles().isEmpty());

    const QList<QJsonObject> logs = storedLogs();
    const QList<QJsonObject> errors = select(logs, QStringLiteral("managedError"));
    ASSERT_EQ(errors.size(), 2);
    EXPECT_NE(errors.at(0).value("id"), errors.at(1).value("id"));
    for (const QJsonObject& error : errors) {
        const QList<QJsonObject> dumps = select(logs, QStringLiteral("errorAttachment"));
        int matching = 0;
        for (const QJsonObject& dump : dumps)
            matching += dump.value("errorId") == error.value("id") && dump.value("sid") == error.value("sid");
        EXPECT_EQ(matching, 1);
    }
}

TEST_F(CrashesTest, ALeftoverMinidumpWithoutJsonIsNeverSentButDeletedByTheFirstSend)
{
    const QString session = runHost(QStringLiteral("segv"));
    QFile stray(crashesDirectory() + QStringLiteral("/11111111-2222-4333-8444-555555555555.dmp"));
    ASSERT_TRUE(stray.open(QIODevice::WriteOnly));
    stray.write("MDMPstray");
    stray.close();

    int calls = 0;
    startNextRun(std::make_unique<TestDelegate>(true, QList<ErrorAttachment>{}, &calls));
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(crashFiles().isEmpty());
    for (const QJsonObject& log : storedLogs())
        EXPECT_NE(log.value("sid").toString(), QStringLiteral("11111111-2222-4333-8444-555555555555"));
}

TEST_F(CrashesTest, AJsonThatDoesNotParseSendsOnlyItsIdAndSession)
{
    ASSERT_TRUE(QDir().mkpath(crashesDirectory()));
    QFile broken(crashesDirectory() + QStringLiteral("/22222222-3333-4444-8555-666666666666.json"));
    ASSERT_TRUE(broken.open(QIODevice::WriteOnly));
    broken.write("{\"type\": \"managedErr");
    broken.close();

    int calls = 0;
    startNextRun(std::make_unique<TestDelegate>(true, QList<ErrorAttachment>{}, &calls));
    const QList<QJsonObject> logs = storedLogs();
    // Neither a type nor a minidump: one log holding the id and the session.
    QList<QJsonObject> sent;
    for (const QJsonObject& log : logs)
        if (log.value("sid").toString() == QLatin1String("22222222-3333-4444-8555-666666666666"))
            sent << log;
    ASSERT_EQ(sent.size(), 1);
    EXPECT_EQ(sent.first().keys(), (QStringList{"device", "id", "sid", "timestamp"}));
    EXPECT_TRUE(crashFiles().isEmpty());
}

TEST_F(CrashesTest, CrashFilesNamedLikeQtResourcePathsAreDeletedAfterSending)
{
    // A leading ':' marks a Qt resource path; such a file must still go, or its
    // report would be sent again at every start.
    ASSERT_TRUE(QDir().mkpath(crashesDirectory()));
    for (const QString& name : {QStringLiteral(":.json"), QStringLiteral(":.dmp")}) {
        QFile file(crashesDirectory() + QLatin1Char('/') + name);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(name.endsWith(QLatin1String(".json")) ? QByteArray("{\"type\":\"managedError\"}") : QByteArray("MDMP"));
    }

    int calls = 0;
    startNextRun(std::make_unique<TestDelegate>(true, QList<ErrorAttachment>{}, &calls));
    EXPECT_EQ(calls, 1);
    ASSERT_EQ(Crashes::instance().pendingReports().size(), 1);
    EXPECT_EQ(Crashes::instance().pendingReports().first().sessionId, QStringLiteral(":"));
    EXPECT_TRUE(crashFiles().isEmpty());
}

TEST_F(CrashesTest, AMissingMinidumpStillSendsTheErrorAndTheDelegatesAttachments)
{
    const QString session = runHost(QStringLiteral("segv"));
    ASSERT_TRUE(QFile::remove(crashesDirectory() + "/" + session + ".dmp"));
    int calls = 0;
    startNextRun(std::make_unique<TestDelegate>(
        true, QList<ErrorAttachment>{{"description.txt", "text/plain", QStringLiteral("eA==")}}, &calls));
    const QList<QJsonObject> logs = storedLogs();
    EXPECT_EQ(select(logs, QStringLiteral("managedError")).size(), 1);
    const QList<QJsonObject> attachments = select(logs, QStringLiteral("errorAttachment"));
    ASSERT_EQ(attachments.size(), 1);
    EXPECT_EQ(attachments.first().value("fileName").toString(), session + QStringLiteral(".description.txt"));
}

TEST_F(CrashesTest, WithoutADelegateNothingIsSentAndEveryFileIsDeleted)
{
    runHost(QStringLiteral("segv"));
    startNextRun(nullptr);
    EXPECT_EQ(Crashes::instance().pendingReports().size(), 1);
    EXPECT_TRUE(crashFiles().isEmpty());
    const QList<QJsonObject> logs = storedLogs();
    EXPECT_TRUE(select(logs, QStringLiteral("managedError")).isEmpty());
    EXPECT_TRUE(select(logs, QStringLiteral("errorAttachment")).isEmpty());
}

TEST_F(CrashesTest, AReportTheDelegateDeclinesIsDeletedUnsent)
{
    runHost(QStringLiteral("segv"));
    int calls = 0;
    startNextRun(std::make_unique<TestDelegate>(false, QList<ErrorAttachment>{}, &calls));
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(crashFiles().isEmpty());
    EXPECT_TRUE(select(storedLogs(), QStringLiteral("managedError")).isEmpty());
}

TEST_F(CrashesTest, AConfirmationHandlerThatTakesOverDecidesWhenToSend)
{
    const QString session = runHost(QStringLiteral("segv"));
    int calls = 0;
    QList<MSErrorReport> asked;
    startNextRun(std::make_unique<TestDelegate>(true, QList<ErrorAttachment>{}, &calls),
                 [&asked](const QList<MSErrorReport>& reports) {
                     asked = reports;
                     return true;
                 });
    ASSERT_EQ(asked.size(), 1);
    EXPECT_EQ(asked.first().sessionId, session);
    EXPECT_EQ(calls, 0); // nothing sent by the start itself
    EXPECT_EQ(crashFiles().size(), 2);

    Crashes::instance().sendPendingReports(); // what the handler does once the user answered
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(crashFiles().isEmpty());
}

TEST_F(CrashesTest, AConfirmationHandlerAnsweringFalseHasTheReportsSentAtOnce)
{
    runHost(QStringLiteral("segv"));
    int calls = 0;
    startNextRun(std::make_unique<TestDelegate>(true, QList<ErrorAttachment>{}, &calls),
                 [](const QList<MSErrorReport>&) { return false; });
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(crashFiles().isEmpty());
}

TEST_F(CrashesTest, WithoutAQueueTheFilesStay)
{
    runHost(QStringLiteral("segv"));
    int calls = 0;
    Crashes::instance().setDelegate(std::make_unique<TestDelegate>(true, QList<ErrorAttachment>{}, &calls));
    // The service started on a client that was never started: no queue.
    Crashes::instance().start(QUuid::createUuid(), QString(), nullptr, storageDirectory());
    EXPECT_EQ(Crashes::instance().pendingReports().size(), 1);
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(crashFiles().size(), 2);
}

TEST_F(CrashesTest, ACrashInARunWhoseCrashesDirectoryCouldNotBeMadeLeavesNoFiles)
{
    ASSERT_TRUE(QDir().mkpath(storageDirectory()));
    QFile blocker(crashesDirectory()); // a file where the directory should be
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    runHost(QStringLiteral("segv"));
    EXPECT_TRUE(QFileInfo(crashesDirectory()).isFile());
    const QStringList left = QDir(storageDirectory()).entryList({QStringLiteral("*.dmp"), QStringLiteral("*.json")},
                                                                QDir::Files);
    EXPECT_TRUE(left.isEmpty());
}
