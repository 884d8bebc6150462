#include "AppCenter/AppCenterQueue.h"

#include "AppCenter/AppCenterEndpoint.h"
#include "AppCenter/AppCenterLogBatch.h"
#include "AppCenter/AppCenterLogBuilder.h"
#include "AppCenter/PrivateFiles.h"
#include "AppCenter/UserOnlyFilesEnv.h"

#include <ZpCore/ZpLog.h>
#include <ZpQtCoreLite/ZpHttp.h>
#include <ZpQtCoreLite/ZpHttpOp.h>

#include <leveldb/db.h>
#include <leveldb/options.h>

#include <QDir>
#include <QJsonDocument>
#include <QThreadPool>
#include <QUrl>
#include <QtConcurrent/QtConcurrentRun>
#include <chrono>

namespace {

const char kInstallIdKey[] = "install_id";

std::atomic<int64_t> sThrottleMs{AppCenterQueue::kSendThrottleMs};

int64_t monotonicMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

leveldb::Slice slice(const QByteArray& bytes)
{
    return leveldb::Slice(bytes.constData(), size_t(bytes.size()));
}

// Posts one batch body and returns the HTTP status (not 200 when no answer came).
int postBatch(const QByteArray& body, const QString& appSecret, const QString& installId)
{
    ZpHttp http;
    ZpHttpOp operation;
    http.setUrl(QUrl(AppCenterEndpoint::logsUrl(), QUrl::TolerantMode));
    http.setHeader(QByteArrayLiteral("Content-Type"), QByteArrayLiteral("application/json"));
    http.setHeader(QByteArrayLiteral("App-Secret"), appSecret.toUtf8());
    http.setHeader(QByteArrayLiteral("Install-ID"), installId.toUtf8());
    http.post(body);
    return http.httpResultCode();
}

// Fills the next batch from `it`, skipping the install id record.
void fillBatch(leveldb::Iterator& it, AppCenterLogBatch& batch)
{
    for (; it.Valid(); it.Next()) {
        if (batch.isFull())
            return;
        if (it.key() == leveldb::Slice(kInstallIdKey))
            continue;
        batch.append(it.key(), it.value());
    }
}

void sendAll(leveldb::DB& database, const QString& appSecret, const QString& installId)
{
    // A snapshot: logs queued from now on wait for a later task.
    std::unique_ptr<leveldb::Iterator> it(database.NewIterator(leveldb::ReadOptions()));
    it->SeekToFirst();
    AppCenterLogBatch batch;
    while (it->Valid()) {
        batch.clear();
        fillBatch(*it, batch);
        const QByteArray& body = batch.finish();
        if (batch.count() == 0)
            continue; // only the install id was left
        const int resultCode = postBatch(body, appSecret, installId);
        if (resultCode == 200) {
            leveldb::WriteOptions options;
            options.sync = true; // gone from disk before the next batch goes out
            database.Write(options, batch.deletions());
        } else {
            ZpLogUTF8("AppCenter: PayloadSize: %d, ResultCode: %d", int(body.size()), resultCode);
        }
    }
}

} // namespace

AppCenterQueue::AppCenterQueue(const QString& appSecret, const QString& storageDirectory)
    : mAppSecret(appSecret)
    , mDevice(DeviceInfo::current())
    , mPlainDeviceJson(mDevice.toJson(QString()))
    , mEventWriter(mPlainDeviceJson)
    , mState(std::make_shared<State>())
{
    openDatabase(storageDirectory);
    if (!mState->database)
        return;
    readOrCreateInstallId();
    scheduleSend();
}

AppCenterQueue::~AppCenterQueue() = default;

void AppCenterQueue::openDatabase(const QString& storageDirectory)
{
    leveldb::Options options;
    options.create_if_missing = true;
    options.paranoid_checks = true;
    // The file layer only: files are created user-only. Caching, buffering
    // and compression stay leveldb's defaults.
    options.env = UserOnlyFilesEnv::instance();

    const QString path = storageDirectory + QDir::separator() + QStringLiteral("logs");
    // Made here rather than by leveldb so that it is user-only.
    PrivateFiles::makeDirectory(path);

    leveldb::DB* database = nullptr;
    const leveldb::Status status = leveldb::DB::Open(options, path.toUtf8().toStdString(), &database);
    if (!status.ok())
        return; // e.g. another process holds the store: run without one
    mState->database.reset(database);
    PrivateFiles::restrictDirectory(path);
}

void AppCenterQueue::readOrCreateInstallId()
{
    std::string stored;
    if (mState->database->Get(leveldb::ReadOptions(), kInstallIdKey, &stored).ok()) {
        mInstallId = QString::fromStdString(stored);
        return;
    }
    mInstallId = AppCenterLogBuilder::newUuid();
    mState->database->Put(leveldb::WriteOptions(), kInstallIdKey, mInstallId.toStdString());
}

void AppCenterQueue::enqueue(QJsonObject& log, const QString& wrapperSdkName)
{
    if (!mState->database)
        return;
    QString id = log.value(QStringLiteral("id")).toString();
    if (id.isEmpty())
        id = AppCenterLogBuilder::newUuid();
    log.insert(QStringLiteral("id"), id);
    log.insert(QStringLiteral("device"), wrapperSdkName.isEmpty() ? mPlainDeviceJson : mDevice.toJson(wrapperSdkName));
    log.insert(QStringLiteral("timestamp"), AppCenterLogBuilder::utcTimestamp());

    store(id.toUtf8(), QJsonDocument(log).toJson(QJsonDocument::Compact));
}

void AppCenterQueue::enqueueEvent(const QString& name, const QMap<QString, QString>& properties)
{
    if (!mState->database)
        return;
    const QByteArray id = AppCenterLogBuilder::newUuidText();
    store(id, mEventWriter.write(id, name, properties, AppCenterLogBuilder::utcTimestampText()));
}

void AppCenterQueue::store(const QByteArray& id, const QByteArray& json)
{
    mState->database->Put(leveldb::WriteOptions(), slice(id), slice(json));
    scheduleSend();
}

void AppCenterQueue::scheduleSend()
{
    if (!mState->database)
        return;
    const int64_t lastStart = mSendStartedMs.load();
    if (lastStart >= 0 && monotonicMs() - lastStart < sendThrottleMs())
        return;
    if (mState->running.exchange(1) == 1)
        return;
    mSendStartedMs.store(monotonicMs());
    // Nobody waits for the task; it clears the running flag itself.
    QFuture<void> task = QtConcurrent::run(QThreadPool::globalInstance(), &AppCenterQueue::sendPendingLogs, mState,
                                           mAppSecret, mInstallId);
    Q_UNUSED(task);
}

void AppCenterQueue::sendPendingLogs(std::shared_ptr<State> state, QString appSecret, QString installId)
{
    if (!state)
        return;
    if (state->database)
        sendAll(*state->database, appSecret, installId);
    state->running.exchange(0);
}

QString AppCenterQueue::installId() const
{
    return mInstallId;
}

bool AppCenterQueue::hasDatabase() const
{
    return bool(mState->database);
}

bool AppCenterQueue::isSending() const
{
    return mState->running.load() != 0;
}

const DeviceInfo& AppCenterQueue::device() const
{
    return mDevice;
}

int64_t AppCenterQueue::sendThrottleMs()
{
    return sThrottleMs.load();
}

void AppCenterQueue::setSendThrottleForTesting(int64_t milliseconds)
{
    sThrottleMs.store(milliseconds);
}
