#include "AppCenter/AppCenterLogBatch.h"

AppCenterLogBatch::AppCenterLogBatch()
    : mBody("{\"logs\":[")
{
}

bool AppCenterLogBatch::isFull() const
{
    return mBody.size() >= kMaxBodyBytes;
}

void AppCenterLogBatch::append(const leveldb::Slice& key, const leveldb::Slice& storedLog)
{
    if (mCount > 0)
        mBody.append(',');
    mBody.append(storedLog.data(), qsizetype(storedLog.size()));
    mDeletions.Delete(key);
    ++mCount;
}

int AppCenterLogBatch::count() const
{
    return mCount;
}

const QByteArray& AppCenterLogBatch::finish()
{
    mBody.append("]}");
    return mBody;
}

leveldb::WriteBatch* AppCenterLogBatch::deletions()
{
    return &mDeletions;
}
