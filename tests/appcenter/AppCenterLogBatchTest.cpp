#include "AppCenter/AppCenterLogBatch.h"

#include <leveldb/write_batch.h>

#include <gtest/gtest.h>

namespace {

// Counts the deletions a WriteBatch holds.
struct DeletionCounter : leveldb::WriteBatch::Handler {
    std::vector<std::string> keys;
    void Put(const leveldb::Slice&, const leveldb::Slice&) override { ADD_FAILURE() << "unexpected put"; }
    void Delete(const leveldb::Slice& key) override { keys.push_back(key.ToString()); }
};

} // namespace

TEST(AppCenterLogBatch, EmptyBatchIsAnEmptyList)
{
    AppCenterLogBatch batch;
    EXPECT_EQ(batch.count(), 0);
    EXPECT_FALSE(batch.isFull());
    EXPECT_EQ(batch.finish(), QByteArray(R"({"logs":[]})"));
}

TEST(AppCenterLogBatch, JoinsStoredLogsByteForByteAndCollectsTheirDeletions)
{
    AppCenterLogBatch batch;
    batch.append("k1", R"({"id":"k1", "spaced" : true})");
    batch.append("k2", R"({"id":"k2"})");
    EXPECT_EQ(batch.count(), 2);
    EXPECT_EQ(batch.finish(), QByteArray(R"({"logs":[{"id":"k1", "spaced" : true},{"id":"k2"}]})"));
    DeletionCounter counter;
    ASSERT_TRUE(batch.deletions()->Iterate(&counter).ok());
    EXPECT_EQ(counter.keys, (std::vector<std::string>{"k1", "k2"}));
}

TEST(AppCenterLogBatch, LimitIsCheckedBeforeEachAppendSoOneRecordMayPassIt)
{
    AppCenterLogBatch batch;
    const std::string big(size_t(AppCenterLogBatch::kMaxBodyBytes - 20), 'x');
    batch.append("a", big);
    EXPECT_FALSE(batch.isFull()); // 9 + size < limit
    batch.append("b", std::string(100, 'y'));
    EXPECT_TRUE(batch.isFull());
    EXPECT_GT(batch.finish().size(), AppCenterLogBatch::kMaxBodyBytes);
}

TEST(AppCenterLogBatch, ARecordLargerThanTheLimitFillsABatchAlone)
{
    AppCenterLogBatch batch;
    batch.append("huge", std::string(size_t(AppCenterLogBatch::kMaxBodyBytes) + 5, 'z'));
    EXPECT_TRUE(batch.isFull());
    EXPECT_EQ(batch.count(), 1);
}

TEST(AppCenterLogBatch, ClearStartsAFreshBatchInTheSameBuffers)
{
    AppCenterLogBatch batch;
    batch.append("a", std::string(size_t(AppCenterLogBatch::kMaxBodyBytes), 'x'));
    batch.append("b", R"({"id":"b"})");
    const QByteArray first = batch.finish();
    EXPECT_TRUE(batch.isFull());

    batch.clear();
    EXPECT_EQ(batch.count(), 0);
    EXPECT_FALSE(batch.isFull());
    batch.append("c", R"({"id":"c"})");
    EXPECT_EQ(batch.finish(), QByteArray(R"({"logs":[{"id":"c"}]})"));
    DeletionCounter counter;
    ASSERT_TRUE(batch.deletions()->Iterate(&counter).ok());
    EXPECT_EQ(counter.keys, (std::vector<std::string>{"c"}));
    // What the first batch handed out is its own: clearing did not touch it.
    EXPECT_TRUE(first.endsWith(R"(,{"id":"b"}]})"));
}
