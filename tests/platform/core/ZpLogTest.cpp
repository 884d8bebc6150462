#include <ZpCore/ZpLog.h>
#include <ZpCore/ZpString.h>

#include "ZpTemporaryDirectory.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <mutex>
#include <optional>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// A copy of a ZpLogRecord that outlives the sink call.
struct CapturedRecord {
    int32_t level = -1;
    std::optional<std::string> category;
    std::string message;
    int32_t eventCode = -1;
    std::optional<std::string> sourcePath;
    int32_t line = -1;
    std::string lineText;
};

// Registers itself as a sink for its lifetime and keeps what it receives.
class LogCapture {
public:
    LogCapture() { ZpLogAddSink(&LogCapture::receive, this); }
    ~LogCapture() { ZpLogRemoveSink(&LogCapture::receive, this); }

    std::vector<CapturedRecord> records() const
    {
        std::lock_guard<std::mutex> lock(mMutex);
        return mRecords;
    }

    static void receive(void* context, const ZpLogRecord* record)
    {
        auto* self = static_cast<LogCapture*>(context);
        CapturedRecord copy;
        copy.level = record->level;
        if (record->category)
            copy.category = record->category;
        copy.message = record->message;
        copy.eventCode = record->eventCode;
        if (record->sourcePath)
            copy.sourcePath = record->sourcePath;
        copy.line = record->line;
        copy.lineText = record->lineText;
        std::lock_guard<std::mutex> lock(self->mMutex);
        self->mRecords.push_back(std::move(copy));
    }

private:
    mutable std::mutex mMutex;
    std::vector<CapturedRecord> mRecords;
};

std::vector<std::string> readLines(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::string readAll(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
}

const std::regex& linePattern()
{
    static const std::regex pattern(
        R"(^(\d{4})-(\d{2})-(\d{2})T(\d{2}):(\d{2}):(\d{2})\.(\d{3})Z \[([A-Z]|-?\d+)\] (.*)$)");
    return pattern;
}

// Standard error is turned off so that the suite's output stays readable; tests
// that are about standard error turn it on themselves.
class ZpCoreLog : public ::testing::Test {
protected:
    void SetUp() override { ZpLogSetStandardErrorEnabled(false); }
    void TearDown() override
    {
        ZpLogSetFilePath(nullptr);
        ZpLogSetStandardErrorEnabled(true);
    }
};

TEST_F(ZpCoreLog, CFFormatExpandsObjectsAndIntegers)
{
    LogCapture capture;
    ZpLog(CFSTR("%@ holds %d items, %s"), CFSTR("cart"), 3, "ok");

    const auto records = capture.records();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].message, "cart holds 3 items, ok");
    EXPECT_EQ(records[0].level, kZpLogLevelInfo);
    EXPECT_FALSE(records[0].category.has_value());
    EXPECT_EQ(records[0].eventCode, 0);
    EXPECT_FALSE(records[0].sourcePath.has_value());
    EXPECT_EQ(records[0].line, 0);
}

TEST_F(ZpCoreLog, LineHasUtcMillisecondTimestampLevelAndMessage)
{
    LogCapture capture;
    ZpLog(CFSTR("plain %d"), 42);

    const auto records = capture.records();
    ASSERT_EQ(records.size(), 1u);
    std::smatch match;
    ASSERT_TRUE(std::regex_match(records[0].lineText, match, linePattern())) << records[0].lineText;
    EXPECT_EQ(match[8].str(), "I");
    EXPECT_EQ(match[9].str(), "plain 42");
}

TEST_F(ZpCoreLog, TimestampIsUtcEvenWithAnotherLocalZone)
{
    // Five hours east of UTC: a local-time stamp would be five hours off.
    const char* previous = getenv("TZ");
    const std::string saved = previous ? previous : "";
    setenv("TZ", "ZPT-5", 1);
    tzset();

    LogCapture capture;
    const std::time_t before = std::time(nullptr);
    ZpLogUTF8("when");
    const std::time_t after = std::time(nullptr);

    if (previous)
        setenv("TZ", saved.c_str(), 1);
    else
        unsetenv("TZ");
    tzset();

    const auto records = capture.records();
    ASSERT_EQ(records.size(), 1u);
    std::smatch match;
    ASSERT_TRUE(std::regex_match(records[0].lineText, match, linePattern())) << records[0].lineText;
    std::tm fields{};
    fields.tm_year = std::stoi(match[1].str()) - 1900;
    fields.tm_mon = std::stoi(match[2].str()) - 1;
    fields.tm_mday = std::stoi(match[3].str());
    fields.tm_hour = std::stoi(match[4].str());
    fields.tm_min = std::stoi(match[5].str());
    fields.tm_sec = std::stoi(match[6].str());
    const std::time_t stamped = timegm(&fields);
    EXPECT_GE(stamped, before);
    EXPECT_LE(stamped, after);
}

TEST_F(ZpCoreLog, WithParamsCarriesLevelAndCategory)
{
    LogCapture capture;
    ZpLogWithParams(kZpLogLevelWarning, CFSTR("Analytics"), 0, CFSTR("queue %@ full at %d"), CFSTR("events"), 50);
    ZpLogWithParams(kZpLogLevelInfo, CFSTR("AppCenter"), 0, CFSTR("sent"));

    const auto records = capture.records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].level, kZpLogLevelWarning);
    EXPECT_EQ(records[0].category, std::optional<std::string>("Analytics"));
    EXPECT_EQ(records[0].message, "queue events full at 50");
    std::smatch match;
    ASSERT_TRUE(std::regex_match(records[0].lineText, match, linePattern())) << records[0].lineText;
    EXPECT_EQ(match[8].str(), "W");
    EXPECT_EQ(match[9].str(), "Analytics: queue events full at 50");

    EXPECT_EQ(records[1].level, kZpLogLevelInfo);
    ASSERT_TRUE(std::regex_match(records[1].lineText, match, linePattern())) << records[1].lineText;
    EXPECT_EQ(match[8].str(), "I");
    EXPECT_EQ(match[9].str(), "AppCenter: sent");
}

TEST_F(ZpCoreLog, EveryNamedLevelHasItsLetterAndOthersTheirNumber)
{
    LogCapture capture;
    ZpLogWithParams(kZpLogLevelNotice, nullptr, 0, CFSTR("n"));
    ZpLogWithParams(kZpLogLevelStatus, nullptr, 0, CFSTR("s"));
    ZpLogWithParams(7, nullptr, 0, CFSTR("seven"));
    ZpLogWithParams(-2, CFSTR(""), 0, CFSTR("minus two"));

    const auto records = capture.records();
    ASSERT_EQ(records.size(), 4u);
    const char* expected[] = {"[N] n", "[S] s", "[7] seven", "[-2] minus two"};
    for (size_t i = 0; i < 4; ++i) {
        const std::string& text = records[i].lineText;
        EXPECT_EQ(text.substr(text.find(" [") + 1), expected[i]);
        EXPECT_FALSE(records[i].category.has_value()) << "an empty category counts as none";
    }
    EXPECT_EQ(records[2].level, 7);
    EXPECT_EQ(records[3].level, -2);
}

TEST_F(ZpCoreLog, Utf8UsesPrintfFormatting)
{
    LogCapture capture;
    ZpLogUTF8("AppCenter: PayloadSize: %d, ResultCode: %d", 1432, 200);
    ZpLogUTF8("%5.2f|%-4s|%x|%llu", 3.14159, "ab", 255u, 18446744073709551615ull);

    const auto records = capture.records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].message, "AppCenter: PayloadSize: 1432, ResultCode: 200");
    EXPECT_EQ(records[0].level, kZpLogLevelInfo);
    EXPECT_FALSE(records[0].category.has_value());
    EXPECT_EQ(records[1].message, " 3.14|ab  |ff|18446744073709551615");
}

TEST_F(ZpCoreLog, LongMessagesAreNotTruncated)
{
    LogCapture capture;
    const std::string longText(10000, 'x');
    ZpLogUTF8("%s|", longText.c_str());
    ZpLog(CFSTR("%s|"), longText.c_str());

    const auto records = capture.records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].message, longText + "|");
    EXPECT_EQ(records[1].message, longText + "|");
}

TEST_F(ZpCoreLog, NonAsciiTextArrivesAsUtf8)
{
    LogCapture capture;
    const ZpString name("Grüße 中文 😀");
    ZpLog(CFSTR("name=%@"), name.cfString());
    ZpLogUTF8("name=%s", "Grüße 中文 😀");

    const auto records = capture.records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].message, "name=Grüße 中文 😀");
    EXPECT_EQ(records[1].message, "name=Grüße 中文 😀");
}

TEST_F(ZpCoreLog, EventRecordsCodeSourcePathAndLine)
{
    LogCapture capture;
    ZpLogEvent(1026, "/src/ZpToolbox/Analytics/AnalyticsController.cpp", 214);
    ZpLogEvent(7, nullptr, 0);

    const auto records = capture.records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].eventCode, 1026);
    EXPECT_EQ(records[0].sourcePath, std::optional<std::string>("/src/ZpToolbox/Analytics/AnalyticsController.cpp"));
    EXPECT_EQ(records[0].line, 214);
    EXPECT_EQ(records[0].level, kZpLogLevelWarning);
    EXPECT_EQ(records[0].message, "event 1026 at /src/ZpToolbox/Analytics/AnalyticsController.cpp:214");
    std::smatch match;
    ASSERT_TRUE(std::regex_match(records[0].lineText, match, linePattern())) << records[0].lineText;
    EXPECT_EQ(match[8].str(), "W");
    EXPECT_EQ(match[9].str(), records[0].message);

    EXPECT_EQ(records[1].eventCode, 7);
    EXPECT_FALSE(records[1].sourcePath.has_value());
    EXPECT_EQ(records[1].message, "event 7");
}

TEST_F(ZpCoreLog, NullFormatLogsNothing)
{
    LogCapture capture;
    ZpLog(nullptr);
    ZpLogWithParams(kZpLogLevelWarning, CFSTR("Analytics"), 0, nullptr);
    ZpLogUTF8(nullptr);
    EXPECT_TRUE(capture.records().empty());
}

TEST_F(ZpCoreLog, LineBreaksInsideAMessageStayOnOneLine)
{
    LogCapture capture;
    ZpLogUTF8("first\nsecond\r\nthird\n");

    const auto records = capture.records();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].message, "first\nsecond\r\nthird\n");
    EXPECT_EQ(records[0].lineText.find('\n'), std::string::npos);
    EXPECT_EQ(records[0].lineText.find('\r'), std::string::npos);
    const std::string expectedTail = "[I] first\\nsecond\\r\\nthird";
    ASSERT_GE(records[0].lineText.size(), expectedTail.size());
    EXPECT_EQ(records[0].lineText.substr(records[0].lineText.size() - expectedTail.size()), expectedTail);
}

TEST_F(ZpCoreLog, FileGetsTheSameLinesAndIsUserOnly)
{
    ZpTemporaryDirectory directory;
    const auto file = directory.path() / "zp.log";
    // With no umask, anything beyond 0600 asked by the library would show.
    const mode_t previousMask = umask(0);
    const bool opened = ZpLogSetFilePath(file.c_str());
    umask(previousMask);
    ASSERT_TRUE(opened);

    LogCapture capture;
    ZpLogUTF8("one");
    ZpLogWithParams(kZpLogLevelWarning, CFSTR("Analytics"), 0, CFSTR("two"));
    ZpLogEvent(1026, "/x.cpp", 3);
    ASSERT_TRUE(ZpLogSetFilePath(nullptr));
    ZpLogUTF8("after closing");

    struct stat info {};
    ASSERT_EQ(stat(file.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0600u);

    const auto records = capture.records();
    ASSERT_EQ(records.size(), 4u);
    const std::string content = readAll(file);
    EXPECT_EQ(content, records[0].lineText + "\n" + records[1].lineText + "\n" + records[2].lineText + "\n");
}

TEST_F(ZpCoreLog, ReopeningAFileAppends)
{
    ZpTemporaryDirectory directory;
    const auto file = directory.path() / "zp.log";
    directory.writeFile("zp.log", "earlier line\n");

    ASSERT_TRUE(ZpLogSetFilePath(file.c_str()));
    ZpLogUTF8("first run");
    ASSERT_TRUE(ZpLogSetFilePath(file.c_str()));
    ZpLogUTF8("second run");
    ZpLogSetFilePath(nullptr);

    const auto lines = readLines(file);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], "earlier line");
    EXPECT_NE(lines[1].find("[I] first run"), std::string::npos);
    EXPECT_NE(lines[2].find("[I] second run"), std::string::npos);
}

TEST_F(ZpCoreLog, SwitchingFilesMovesTheOutput)
{
    ZpTemporaryDirectory directory;
    const auto first = directory.path() / "first.log";
    const auto second = directory.path() / "second.log";
    ASSERT_TRUE(ZpLogSetFilePath(first.c_str()));
    ZpLogUTF8("to first");
    ASSERT_TRUE(ZpLogSetFilePath(second.c_str()));
    ZpLogUTF8("to second");
    ZpLogSetFilePath(nullptr);

    const auto firstLines = readLines(first);
    const auto secondLines = readLines(second);
    ASSERT_EQ(firstLines.size(), 1u);
    ASSERT_EQ(secondLines.size(), 1u);
    EXPECT_NE(firstLines[0].find("to first"), std::string::npos);
    EXPECT_NE(secondLines[0].find("to second"), std::string::npos);
}

TEST_F(ZpCoreLog, UnopenableFileIsReportedAndNothingIsWritten)
{
    ZpTemporaryDirectory directory;
    const auto file = directory.path() / "missing-folder" / "zp.log";

    LogCapture capture;
    EXPECT_FALSE(ZpLogSetFilePath(file.c_str()));
    ZpLogUTF8("still logging");

    EXPECT_FALSE(std::filesystem::exists(file));
    const auto records = capture.records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].level, kZpLogLevelWarning);
    EXPECT_NE(records[0].message.find(file.string()), std::string::npos) << records[0].message;
    EXPECT_EQ(records[1].message, "still logging");
}

TEST_F(ZpCoreLog, StandardErrorCanBeTurnedOnAndOff)
{
    ZpTemporaryDirectory directory;
    const auto file = directory.path() / "stderr.txt";
    std::fflush(stderr);
    const int savedStderr = dup(STDERR_FILENO);
    ASSERT_GE(savedStderr, 0);
    const int redirected = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ASSERT_GE(redirected, 0);
    dup2(redirected, STDERR_FILENO);
    close(redirected);

    LogCapture capture;
    ZpLogSetStandardErrorEnabled(true);
    ZpLogUTF8("visible on stderr");
    ZpLogSetStandardErrorEnabled(false);
    ZpLogUTF8("hidden from stderr");

    std::fflush(stderr);
    dup2(savedStderr, STDERR_FILENO);
    close(savedStderr);

    const auto records = capture.records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(readAll(file), records[0].lineText + "\n");
}

TEST_F(ZpCoreLog, LinesFromManyThreadsArriveWholeAndInTheSameOrderEverywhere)
{
    ZpTemporaryDirectory directory;
    const auto file = directory.path() / "threads.log";
    ASSERT_TRUE(ZpLogSetFilePath(file.c_str()));

    constexpr int kThreads = 8;
    constexpr int kLinesPerThread = 250;
    LogCapture capture;
    {
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([t] {
                for (int i = 0; i < kLinesPerThread; ++i) {
                    if (i % 2)
                        ZpLogUTF8("thread %d line %d %s", t, i, "padding-to-make-the-line-longer");
                    else
                        ZpLogWithParams(kZpLogLevelInfo, CFSTR("Pool"), 0, CFSTR("thread %d line %d %@"), t, i,
                                        CFSTR("padding-to-make-the-line-longer"));
                }
            });
        }
        for (auto& thread : threads)
            thread.join();
    }
    ZpLogSetFilePath(nullptr);

    const auto records = capture.records();
    const auto lines = readLines(file);
    ASSERT_EQ(records.size(), size_t(kThreads * kLinesPerThread));
    ASSERT_EQ(lines.size(), records.size());
    std::set<std::string> seen;
    for (size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i], records[i].lineText);
        ASSERT_TRUE(std::regex_match(lines[i], linePattern())) << lines[i];
        seen.insert(records[i].message);
    }
    for (int t = 0; t < kThreads; ++t) {
        for (int i = 0; i < kLinesPerThread; ++i) {
            const std::string message =
                "thread " + std::to_string(t) + " line " + std::to_string(i) + " padding-to-make-the-line-longer";
            EXPECT_EQ(seen.count(message), 1u) << message;
        }
    }
}

TEST_F(ZpCoreLog, RemovedSinkReceivesNothingMore)
{
    std::vector<std::string> received;
    const ZpLogSink sink = [](void* context, const ZpLogRecord* record) {
        static_cast<std::vector<std::string>*>(context)->push_back(record->message);
    };
    ZpLogAddSink(sink, &received);
    ZpLogAddSink(sink, &received); // a second registration of the same pair is ignored
    ZpLogUTF8("while registered");
    ZpLogRemoveSink(sink, &received);
    ZpLogUTF8("after removal");

    ASSERT_EQ(received.size(), 1u);
    EXPECT_EQ(received[0], "while registered");
}

TEST_F(ZpCoreLog, SinksAreKeyedByFunctionAndContext)
{
    std::vector<std::string> first;
    std::vector<std::string> second;
    const ZpLogSink sink = [](void* context, const ZpLogRecord* record) {
        static_cast<std::vector<std::string>*>(context)->push_back(record->message);
    };
    ZpLogAddSink(sink, &first);
    ZpLogAddSink(sink, &second);
    ZpLogUTF8("both");
    ZpLogRemoveSink(sink, &first);
    ZpLogUTF8("second only");
    ZpLogRemoveSink(sink, &second);

    EXPECT_EQ(first, std::vector<std::string>({"both"}));
    EXPECT_EQ(second, std::vector<std::string>({"both", "second only"}));
}

// Logs from inside its call and then unregisters itself.
struct SelfRemovingSink {
    int calls = 0;

    static void receive(void* context, const ZpLogRecord*)
    {
        auto* self = static_cast<SelfRemovingSink*>(context);
        ++self->calls;
        ZpLogUTF8("from inside the sink");
        ZpLogRemoveSink(&SelfRemovingSink::receive, self);
    }
};

TEST_F(ZpCoreLog, SinkMayLogAndRemoveItselfWithoutRecursing)
{
    ZpTemporaryDirectory directory;
    const auto file = directory.path() / "nested.log";
    ASSERT_TRUE(ZpLogSetFilePath(file.c_str()));

    LogCapture before;
    SelfRemovingSink sink;
    ZpLogAddSink(&SelfRemovingSink::receive, &sink);
    LogCapture after;
    ZpLogUTF8("outer");
    ZpLogUTF8("second");
    ZpLogSetFilePath(nullptr);

    EXPECT_EQ(sink.calls, 1);
    const auto lines = readLines(file);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_NE(lines[0].find("outer"), std::string::npos);
    EXPECT_NE(lines[1].find("from inside the sink"), std::string::npos);
    EXPECT_NE(lines[2].find("second"), std::string::npos);
    // The nested line is written but not handed to sinks again; the sinks on
    // either side of the one that removed itself see every outer line.
    for (const LogCapture* capture : {&before, &after}) {
        const auto records = capture->records();
        ASSERT_EQ(records.size(), 2u);
        EXPECT_EQ(records[0].message, "outer");
        EXPECT_EQ(records[1].message, "second");
    }
}

// Unregisters another sink while the log is walking the sinks.
struct RemovingOtherSink {
    LogCapture* victim = nullptr;

    static void receive(void* context, const ZpLogRecord*)
    {
        auto* self = static_cast<RemovingOtherSink*>(context);
        ZpLogRemoveSink(&LogCapture::receive, self->victim);
    }
};

TEST_F(ZpCoreLog, SinkRemovedDuringDispatchIsNotCalled)
{
    RemovingOtherSink remover;
    ZpLogAddSink(&RemovingOtherSink::receive, &remover);
    LogCapture victim; // registered after the remover, so it would be called later
    remover.victim = &victim;
    ZpLogUTF8("first");
    ZpLogRemoveSink(&RemovingOtherSink::receive, &remover);
    EXPECT_TRUE(victim.records().empty());
}

} // namespace
