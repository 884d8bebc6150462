#include "LogCapture.h"

#include <ZpCore/ZpLog.h>

LogCapture::LogCapture()
{
    ZpLogAddSink(&LogCapture::receive, this);
}

LogCapture::~LogCapture()
{
    ZpLogRemoveSink(&LogCapture::receive, this);
}

QStringList LogCapture::messages() const
{
    QMutexLocker lock(&mMutex);
    return mMessages;
}

QStringList LogCapture::matching(const QString& fragment) const
{
    return messages().filter(fragment);
}

void LogCapture::receive(void* context, const ZpLogRecord* record)
{
    auto* self = static_cast<LogCapture*>(context);
    QMutexLocker lock(&self->mMutex);
    self->mMessages << QString::fromUtf8(record->message);
}
