#include "CrashReport/Crashes.h"

#include <QDir>

Crashes& Crashes::instance()
{
    static Crashes crashes;
    return crashes;
}

void Crashes::start(const QUuid& sessionId, const QString& userId, std::shared_ptr<AppCenterQueue> queue,
                    const QString& storageDirectory)
{
    mStarted = true;
    mSessionId = sessionId;
    mUserId = userId;
    mQueue = std::move(queue);
    mCrashesDirectory = storageDirectory + QDir::separator() + QStringLiteral("crashes");
}

bool Crashes::wasStarted() const
{
    return mStarted;
}

QUuid Crashes::sessionId() const
{
    return mSessionId;
}

QString Crashes::userId() const
{
    return mUserId;
}

QString Crashes::crashesDirectory() const
{
    return mCrashesDirectory;
}

std::shared_ptr<AppCenterQueue> Crashes::queue() const
{
    return mQueue;
}

void Crashes::resetForTesting()
{
    instance() = Crashes();
}
