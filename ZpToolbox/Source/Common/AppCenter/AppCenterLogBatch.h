#pragma once

#include <leveldb/slice.h>
#include <leveldb/write_batch.h>

#include <QByteArray>

// One request body of stored logs, {"logs":[A,B,...]}, and the deletions that
// remove exactly those records once the endpoint has taken them.
//
// The stored JSON texts are copied byte for byte into one growing buffer; they
// are never parsed again. The size limit is checked before each append, so a
// body may pass it by one record and a record larger than the limit travels
// alone.
class AppCenterLogBatch {
public:
    static constexpr qsizetype kMaxBodyBytes = 6800000;
    // Reserved beyond the limit for the record that passes it; a larger one
    // grows the body once.
    static constexpr qsizetype kReserveSlackBytes = 64 * 1024;

    AppCenterLogBatch();

    // Starts the next batch in the same buffers: a send task fills many
    // bodies one after the other, and memory it has written once is cheaper
    // to write again than new memory.
    void clear();

    // True once the body has reached kMaxBodyBytes: the next record starts a new batch.
    bool isFull() const;
    void append(const leveldb::Slice& key, const leveldb::Slice& storedLog);
    int count() const;

    // Closes the body; call once, after the last append.
    const QByteArray& finish();
    leveldb::WriteBatch* deletions();

private:
    QByteArray mBody;
    leveldb::WriteBatch mDeletions;
    int mCount = 0;
};
