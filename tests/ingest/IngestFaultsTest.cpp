#include <ZpIngest/IngestFaults.h>

#include <gtest/gtest.h>

TEST(ZpIngestFaults, AnswerableStatusesAreTheNamedOnesFrom200)
{
    EXPECT_TRUE(IngestFaults::isAnswerableStatus(200));
    EXPECT_TRUE(IngestFaults::isAnswerableStatus(401));
    EXPECT_TRUE(IngestFaults::isAnswerableStatus(413));
    EXPECT_TRUE(IngestFaults::isAnswerableStatus(500));
    EXPECT_TRUE(IngestFaults::isAnswerableStatus(503));
    EXPECT_FALSE(IngestFaults::isAnswerableStatus(100));
    EXPECT_FALSE(IngestFaults::isAnswerableStatus(299));
    EXPECT_FALSE(IngestFaults::isAnswerableStatus(499));
    EXPECT_FALSE(IngestFaults::isAnswerableStatus(600));
    EXPECT_FALSE(IngestFaults::isAnswerableStatus(0));
}

TEST(ZpIngestFaults, FromJsonChangesOnlyTheKeysGiven)
{
    IngestFaults current;
    current.delayMs = 250;
    current.closeCount = 3;
    IngestFaults result;
    QString reason;
    ASSERT_TRUE(IngestFaults::fromJson(QJsonObject{{"failStatus", 500}, {"failCount", 2}}, current, &result, &reason))
        << reason.toStdString();
    EXPECT_EQ(result.failStatus, 500);
    EXPECT_EQ(result.failCount, 2);
    EXPECT_EQ(result.delayMs, 250);
    EXPECT_EQ(result.closeCount, 3);
    EXPECT_EQ(result.toJson(),
              (QJsonObject{{"failStatus", 500}, {"failCount", 2}, {"delayMs", 250}, {"closeCount", 3}}));
}

TEST(ZpIngestFaults, FromJsonRefusesBadInputAndLeavesTheResultAlone)
{
    const IngestFaults current;
    for (const QJsonObject& changes : {
             QJsonObject{{"failstatus", 500}},
             QJsonObject{{"delayMs", -1}},
             QJsonObject{{"delayMs", 1.5}},
             QJsonObject{{"closeCount", "2"}},
             QJsonObject{{"failStatus", 299}},
             QJsonObject{{"failStatus", -500}},
             QJsonObject{{"failCount", 1e12}},
         }) {
        IngestFaults result;
        result.delayMs = 77;
        QString reason;
        EXPECT_FALSE(IngestFaults::fromJson(changes, current, &result, &reason));
        EXPECT_FALSE(reason.isEmpty());
        EXPECT_EQ(result.delayMs, 77);
    }
}

TEST(ZpIngestFaults, FailureCountsDownAndNegativeMeansAlways)
{
    IngestFaults faults;
    EXPECT_FALSE(faults.takeFailure());
    faults.failStatus = 503;
    faults.failCount = 2;
    EXPECT_TRUE(faults.takeFailure());
    EXPECT_TRUE(faults.takeFailure());
    EXPECT_FALSE(faults.takeFailure());
    EXPECT_EQ(faults.failCount, 0);
    faults.failCount = -1;
    for (int i = 0; i < 5; ++i)
        EXPECT_TRUE(faults.takeFailure());
    // A count without a status is not a fault.
    faults.failStatus = 0;
    EXPECT_FALSE(faults.takeFailure());
}

TEST(ZpIngestFaults, CloseCountsDownAndNegativeMeansAlways)
{
    IngestFaults faults;
    EXPECT_FALSE(faults.takeClose());
    faults.closeCount = 1;
    EXPECT_TRUE(faults.takeClose());
    EXPECT_FALSE(faults.takeClose());
    faults.closeCount = -1;
    EXPECT_TRUE(faults.takeClose());
    EXPECT_TRUE(faults.takeClose());
    EXPECT_EQ(faults.closeCount, -1);
}
