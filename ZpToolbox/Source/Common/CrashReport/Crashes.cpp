#include "CrashReport/Crashes.h"

#include "AppCenter/AppCenterLogBuilder.h"
#include "AppCenter/AppCenterQueue.h"
#include "AppCenter/PrivateFiles.h"
#include "CrashReport/CrashCapture.h"
#include "CrashReport/CrashPath.h"
#include "ZpToolboxUtils.h"

#include <ZpCore/ZpProcess.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSysInfo>

namespace {

const QString kWrapperSdkName = QStringLiteral("custom.ndk");

QJsonObject attachmentLog(const QString& errorId, const QString& sessionId, const QString& fileName,
                          const QString& contentType, const QString& base64)
{
    return QJsonObject{
        {QStringLiteral("type"), QStringLiteral("errorAttachment")},
        {QStringLiteral("contentType"), contentType},
        {QStringLiteral("errorId"), errorId},
        {QStringLiteral("fileName"), fileName},
        {QStringLiteral("sid"), sessionId},
        {QStringLiteral("data"), base64},
    };
}

} // namespace

Crashes& Crashes::instance()
{
    static Crashes crashes;
    return crashes;
}

void Crashes::start(const QUuid& sessionId, const QString& userId, std::shared_ptr<AppCenterQueue> queue,
                    const QString& storageDirectory)
{
    mQueue = std::move(queue);
    mCrashesDirectory = storageDirectory + QDir::separator() + QStringLiteral("crashes");
    mCrashJson = buildCrashJson(userId);
    prepareCrashFiles(sessionId);
    CrashCapture::install();

    if (!PrivateFiles::makeDirectory(mCrashesDirectory))
        return; // the handler stays; nothing of earlier runs can be found
    findPendingReports();
    if (mPendingReports.isEmpty())
        return;
    if (!mUserConfirmationHandler || !mUserConfirmationHandler(mPendingReports))
        sendPendingReports();
}

QByteArray Crashes::buildCrashJson(const QString& userId) const
{
    const QJsonObject crash{
        {QStringLiteral("appLaunchTimestamp"), AppCenterLogBuilder::utcTimestamp()},
        {QStringLiteral("architecture"), QSysInfo::currentCpuArchitecture()},
        {QStringLiteral("exception"),
         QJsonObject{{QStringLiteral("type"), QStringLiteral("minidump")}, {QStringLiteral("wrapperSdkName"), kWrapperSdkName}}},
        {QStringLiteral("fatal"), true},
        {QStringLiteral("processId"), ZpProcessGetPID()},
        {QStringLiteral("processName"), ZpToolboxUtils::processName()},
        {QStringLiteral("type"), QStringLiteral("managedError")},
        {QStringLiteral("userId"), userId},
    };
    return QJsonDocument(crash).toJson(QJsonDocument::Compact);
}

void Crashes::prepareCrashFiles(const QUuid& sessionId)
{
    const QString base = mCrashesDirectory + QDir::separator() + sessionId.toString(QUuid::WithoutBraces);
    mCrashJsonPath = base + QStringLiteral(".json");
    auto dumpPath = toCrashPath(base + QStringLiteral(".dmp"));
    const auto jsonPath = toCrashPath(mCrashJsonPath);
    // The next start finds reports by their records: a dump whose record
    // cannot be written would be neither sent nor deleted, and process memory
    // would stay on disk for good. The record's path is the longer one.
    if (jsonPath.size() >= CrashCapture::kPathCapacity)
        dumpPath.clear();
    CrashCapture::prepare(dumpPath.c_str(), jsonPath.c_str(), mCrashJson.constData(), size_t(mCrashJson.size()));
}

void Crashes::findPendingReports()
{
    // The file system's order, as the files are listed.
    const QFileInfoList files = QDir(mCrashesDirectory, QStringLiteral("*.json"), QDir::Unsorted).entryInfoList();
    for (const QFileInfo& file : files) {
        // Not every file system records a birth time; the last change is the next best.
        const QDateTime born = file.birthTime().isValid() ? file.birthTime() : file.lastModified();
        mPendingReports.append(MSErrorReport{file.fileName().section(QLatin1Char('.'), 0, -2), born});
    }
}

void Crashes::sendPendingReports()
{
    if (!mQueue)
        return; // the files stay for a run that can send
    for (const MSErrorReport& report : std::as_const(mPendingReports))
        sendReport(report);
    deleteCrashFiles();
}

void Crashes::sendReport(const MSErrorReport& report)
{
    const QString errorId = AppCenterLogBuilder::newUuid();
    if (!mDelegate || !mDelegate->shouldProcessErrorReport(*this, report))
        return;
    const QString base = mCrashesDirectory + QDir::separator() + report.sessionId;

    QFile json(base + QStringLiteral(".json"));
    if (json.open(QIODevice::ReadOnly)) {
        QJsonObject crash = QJsonDocument::fromJson(json.readAll()).object();
        crash.insert(QStringLiteral("id"), errorId);
        crash.insert(QStringLiteral("sid"), report.sessionId);
        mQueue->enqueue(crash, kWrapperSdkName);
    }
    QFile dump(base + QStringLiteral(".dmp"));
    if (dump.open(QIODevice::ReadOnly)) {
        QJsonObject log = attachmentLog(errorId, report.sessionId, QStringLiteral("minidump.dmp"),
                                        QStringLiteral("application/octet-stream"),
                                        QString::fromLatin1(dump.readAll().toBase64()));
        mQueue->enqueue(log, kWrapperSdkName);
    }
    const QList<ErrorAttachment> attachments = mDelegate->attachmentsForErrorReport(*this, report);
    for (const ErrorAttachment& attachment : attachments) {
        QJsonObject log = attachmentLog(errorId, report.sessionId, attachment.fileName, attachment.contentType,
                                        attachment.data);
        mQueue->enqueue(log, kWrapperSdkName);
    }
}

void Crashes::deleteCrashFiles()
{
    // By the listed full paths: QDir::remove(name) would take a name that
    // starts with ':' for a Qt resource path and leave that file, whose report
    // would then be sent again at every start.
    const QFileInfoList files = QDir(mCrashesDirectory).entryInfoList({QStringLiteral("*.dmp"), QStringLiteral("*.json")},
                                                                      QDir::Files);
    for (const QFileInfo& file : files)
        QFile::remove(file.filePath());
}

void Crashes::setDelegate(std::unique_ptr<MSCrashesDelegate> delegate)
{
    mDelegate = std::move(delegate);
}

void Crashes::setUserConfirmationHandler(UserConfirmationHandler handler)
{
    mUserConfirmationHandler = std::move(handler);
}

QString Crashes::crashesDirectory() const
{
    return mCrashesDirectory;
}

QList<MSErrorReport> Crashes::pendingReports() const
{
    return mPendingReports;
}

std::shared_ptr<AppCenterQueue> Crashes::queue() const
{
    return mQueue;
}

QByteArray Crashes::crashJson() const
{
    return mCrashJson;
}

QString Crashes::crashJsonPath() const
{
    return mCrashJsonPath;
}

void Crashes::resetForTesting()
{
    Crashes& crashes = instance();
    crashes.mCrashesDirectory.clear();
    crashes.mPendingReports.clear();
    crashes.mQueue.reset();
    crashes.mDelegate.reset();
    crashes.mUserConfirmationHandler = nullptr;
    crashes.mCrashJson.clear();
    crashes.mCrashJsonPath.clear();
}
