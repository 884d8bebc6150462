#include "AppCenter/AppCenterLogBatch.h"

namespace {

const char kBodyStart[] = "{\"logs\":[";

} // namespace

AppCenterLogBatch::AppCenterLogBatch()
{
    // Room for a full body up front: growing by doubling would copy it
    // several times and, for a moment, hold two copies of it. Pages of the
    // reservation that a small batch never writes are never touched.
    mBody.reserve(kMaxBodyBytes + kReserveSlackBytes);
    mBody.append(kBodyStart);
}

void AppCenterLogBatch::clear()
{
    mBody.resize(0); // keeps the allocation, unlike QByteArray::clear()
    mBody.append(kBodyStart);
    mDeletions.Clear();
    mCount = 0;
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
