#include <ZpIngest/HttpRequestHead.h>

#include <gtest/gtest.h>

using State = HttpRequestHead::State;

TEST(ZpIngestRequestHead, CompleteHeadGivesMethodTargetPathLengthAndSize)
{
    const QByteArray head = "POST /logs?api-version=1.0.0 HTTP/1.1\r\n"
                            "Host: 127.0.0.1\r\n"
                            "content-length: 42\r\n"
                            "\r\n";
    const HttpRequestHead parsed = HttpRequestHead::parse(head + "{\"logs\":");
    ASSERT_EQ(parsed.state, State::Complete) << parsed.error.toStdString();
    EXPECT_EQ(parsed.method, QByteArray("POST"));
    EXPECT_EQ(parsed.target, QByteArray("/logs?api-version=1.0.0"));
    EXPECT_EQ(parsed.path, QByteArray("/logs"));
    EXPECT_EQ(parsed.contentLength, 42);
    EXPECT_FALSE(parsed.chunked);
    EXPECT_EQ(parsed.headBytes, head.size());
}

TEST(ZpIngestRequestHead, WithoutTheBlankLineItIsIncomplete)
{
    EXPECT_EQ(HttpRequestHead::parse("POST /logs HTTP/1.1\r\nContent-Length: 4\r\n").state, State::Incomplete);
    EXPECT_EQ(HttpRequestHead::parse("").state, State::Incomplete);
}

TEST(ZpIngestRequestHead, NoContentLengthMeansNoBody)
{
    const HttpRequestHead parsed = HttpRequestHead::parse("GET /zp-ingest/control HTTP/1.1\r\n\r\n");
    ASSERT_EQ(parsed.state, State::Complete);
    EXPECT_EQ(parsed.contentLength, 0);
    EXPECT_EQ(parsed.path, QByteArray("/zp-ingest/control"));
}

TEST(ZpIngestRequestHead, TransferEncodingIsReported)
{
    const HttpRequestHead parsed =
        HttpRequestHead::parse("POST /logs HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n");
    ASSERT_EQ(parsed.state, State::Complete);
    EXPECT_TRUE(parsed.chunked);
}

TEST(ZpIngestRequestHead, OverlongHeadIsTooLarge)
{
    const QByteArray filler(HttpRequestHead::kMaxHeadBytes, 'a');
    EXPECT_EQ(HttpRequestHead::parse("POST /logs HTTP/1.1\r\nX: " + filler).state, State::TooLarge);
    EXPECT_EQ(HttpRequestHead::parse("POST /logs HTTP/1.1\r\nX: " + filler + "\r\n\r\n").state, State::TooLarge);
}

TEST(ZpIngestRequestHead, MalformedHeadsAreInvalid)
{
    for (const char* head : {
             "garbage\r\n\r\n",
             "POST logs HTTP/1.1\r\n\r\n",
             "POST /logs SPDY/3\r\n\r\n",
             "POST /logs HTTP/1.1\r\nno colon here\r\n\r\n",
             "POST /logs HTTP/1.1\r\nContent-Length: 12a\r\n\r\n",
             "POST /logs HTTP/1.1\r\nContent-Length: +5\r\n\r\n",
             "POST /logs HTTP/1.1\r\nContent-Length: -5\r\n\r\n",
             "POST /logs HTTP/1.1\r\nContent-Length:\r\n\r\n",
             "POST /logs HTTP/1.1\r\nContent-Length: 5\r\nContent-Length: 6\r\n\r\n",
             "POST /logs HTTP/1.1\r\nContent-Length: 99999999999999999999999\r\n\r\n",
         }) {
        const HttpRequestHead parsed = HttpRequestHead::parse(QByteArray(head));
        EXPECT_EQ(parsed.state, State::Invalid) << head;
        EXPECT_FALSE(parsed.error.isEmpty()) << head;
    }
}

TEST(ZpIngestRequestHead, RepeatedEqualContentLengthIsAccepted)
{
    const HttpRequestHead parsed =
        HttpRequestHead::parse("POST /logs HTTP/1.1\r\nContent-Length: 5\r\nContent-Length: 5\r\n\r\n");
    ASSERT_EQ(parsed.state, State::Complete);
    EXPECT_EQ(parsed.contentLength, 5);
}
