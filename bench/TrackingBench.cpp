// What analytics costs the host on its own (GUI) thread: one tracking call
// through the exported C functions against a real store, next to a raw
// leveldb Put of the very bytes that call stores; tracking throughput on one
// and on four threads; the start-up, cold and warm, with the machine
// description's probes on their own; and a tracking call made while the
// sender posts a full batch to a slow receiver (BM_TrackDuringPost, which
// says how it measures).
//
// Except in BM_TrackDuringPost, sends go to the loopback port 9, where nothing
// listens: the send a queue starts when it opens fails at once, and the
// one-minute throttle keeps any other from starting while a benchmark runs, so
// only the caller's side is measured. Per-call figures are taken call by call (steady clock) and given
// as the median and the 99th percentile in microseconds; the benchmark's own
// time column is the mean of the same calls.
#include "ZpToolboxLite.h"

#include "Analytics/SystemProperties.h"
#include "AppCenter/AppCenter.h"
#include "AppCenter/AppCenterQueue.h"
#include "CallTimes.h"
#include "IngestProcess.h"
#include "PostTimer.h"
#include "StoreReader.h"

#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include "BenchHost.h"

#include <benchmark/benchmark.h>
#include <leveldb/db.h>
#include <leveldb/options.h>

#include <QApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThreadPool>
#include <QUuid>
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

// Calls per per-call benchmark: enough for a stable 99th percentile, and the
// same for the tracking calls and the raw Puts so both stores grow (and
// flush, and compact) alike.
constexpr int64_t kCalls = 20000;

// The three kinds of tracked event; the raw Put of each kind's stored bytes
// is the baseline of its tracking call.
enum Kind { kPlain, kWithProperties, kValue, kKindCount };

const char* const kPlainCode = "Crop";
const char* const kDottedCode = "Export.Format.JPEG";
const char* const kValueCode = "Zoom";
const char* const kEventNames[kKindCount] = {"Crop", "Export", "Zoom"};

// One stored record (key = log id, value = the compact JSON of the log) of
// each kind, read back from a real store before the benchmarks run.
std::array<std::string, kKindCount> sStoredKeys;
std::array<std::string, kKindCount> sStoredValues;

// Filled by the raw Put benchmarks, read by the tracking ones (which run
// after them, in registration order); 0 when the Put did not run.
std::array<double, kKindCount> sPutMedianUs{};
std::array<double, kKindCount> sPutP99Us{};

// The very first SystemProperties::create() of the process, in ms: the
// probes that set themselves up on first use pay for it there.
double sFirstSystemPropertiesMs = 0;
// With ZP_BENCH_HOST_OPENGL set, the host makes and uses an OpenGL context of
// its own before the first SystemProperties::create(), as a host that draws
// with OpenGL has: what that took, in ms (the driver's loading, paid by the
// host either way).
double sHostContextMs = -1;

double millisecondsSince(Clock::time_point start)
{
    return double(std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start).count()) / 1000.0;
}

void makeHostContext()
{
    const Clock::time_point start = Clock::now();
    QOpenGLContext context;
    QOffscreenSurface surface;
    if (context.create()) {
        surface.setFormat(context.format());
        surface.create();
        if (context.makeCurrent(&surface))
            context.doneCurrent();
    }
    sHostContextMs = millisecondsSince(start);
}



// The caller owns the string.
CFStringRef newText(const char* text)
{
    return CFStringCreateWithCString(kCFAllocatorDefault, text, kCFStringEncodingUTF8);
}

// Tool, Size and Mode, as a host passes them. The caller owns the dictionary.
CFDictionaryRef newThreeProperties()
{
    CFMutableDictionaryRef properties = CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                                  &kCFTypeDictionaryValueCallBacks);
    CFDictionarySetValue(properties, CFSTR("Tool"), CFSTR("Brush"));
    CFDictionarySetValue(properties, CFSTR("Size"), CFSTR("12"));
    CFDictionarySetValue(properties, CFSTR("Mode"), CFSTR("Normal"));
    return properties;
}

// Started analytics handles on one store, as a host has them after start-up;
// the destructor shuts them down and lets the store go (the process-wide
// client is reset, and the pool's send task, if any, has finished).
// Main (GUI) thread only, for construction and destruction.
class AnalyticsSession {
public:
    // `folder` empty: a new temporary folder, i.e. a cold store.
    explicit AnalyticsSession(int controllers, const QString& folder = QString())
    {
        BenchHost::pointSendsNowhere();
        AppCenter::resetForTesting();
        QThreadPool::globalInstance()->waitForDone();
        const QString path = folder.isEmpty() ? mDir.path() : folder;
        CFURLRef url = BenchHost::newFolderUrl(path);
        for (int i = 0; i < controllers; ++i) {
            ZpAnalytics* analytics = ZpAnalyticsCreate();
            ZpAnalyticsStartupUserAppDataPath(analytics, kZpProductDelta, 0, 3, url);
            mHandles.push_back(analytics);
        }
        CFRelease(url);
        // The send that opening the queue started: let it fail before timing.
        QThreadPool::globalInstance()->waitForDone();
    }

    ~AnalyticsSession()
    {
        for (ZpAnalytics* analytics : mHandles) {
            ZpAnalyticsShutdown(analytics);
            ZpAnalyticsRelease(analytics);
        }
        AppCenter::resetForTesting();
        QThreadPool::globalInstance()->waitForDone();
    }

    AnalyticsSession(const AnalyticsSession&) = delete;
    AnalyticsSession& operator=(const AnalyticsSession&) = delete;

    ZpAnalytics* handle(int index) const { return mHandles.at(size_t(index)); }
    QString folder() const { return mDir.path(); }

private:
    QTemporaryDir mDir;
    std::vector<ZpAnalytics*> mHandles;
};

// Each figure of a tracking call next to the raw Put's of the same kind.
void reportAgainstPut(benchmark::State& state, const CallTimes& times, Kind kind)
{
    times.report(state);
    if (sPutMedianUs[kind] > 0) {
        state.counters["x_put_median"] = times.percentileUs(50) / sPutMedianUs[kind];
        state.counters["x_put_p99"] = times.percentileUs(99) / sPutP99Us[kind];
    }
}

// Tracks one event of each kind into a scratch store and keeps the stored
// record of each, so the raw Puts write exactly what the library writes.
bool readStoredSamples()
{
    QTemporaryDir dir;
    {
        BenchHost::pointSendsNowhere();
        AppCenter::resetForTesting();
        CFURLRef url = BenchHost::newFolderUrl(dir.path());
        ZpAnalytics* analytics = ZpAnalyticsCreate();
        ZpAnalyticsStartupUserAppDataPath(analytics, kZpProductDelta, 0, 3, url);
        CFRelease(url);
        CFStringRef plain = newText(kPlainCode);
        CFStringRef dotted = newText(kDottedCode);
        CFStringRef value = newText(kValueCode);
        CFDictionaryRef properties = newThreeProperties();
        ZpAnalyticsTrackFeature(analytics, plain);
        ZpAnalyticsTrackFeatureWithProperties(analytics, dotted, properties);
        ZpAnalyticsTrackFeatureValue(analytics, value, 150);
        CFRelease(properties);
        CFRelease(value);
        CFRelease(dotted);
        CFRelease(plain);
        ZpAnalyticsShutdown(analytics);
        ZpAnalyticsRelease(analytics);
        AppCenter::resetForTesting();
        QThreadPool::globalInstance()->waitForDone();
    }
    const QMap<QByteArray, QByteArray> logs =
        StoreReader::logs(dir.filePath(QStringLiteral("AppCenter")));
    int found = 0;
    for (auto it = logs.cbegin(); it != logs.cend(); ++it) {
        const QString name = QJsonDocument::fromJson(it.value()).object().value(QStringLiteral("name")).toString();
        for (int kind = 0; kind < kKindCount; ++kind) {
            if (name == QLatin1String(kEventNames[kind]) && sStoredValues[size_t(kind)].empty()) {
                sStoredKeys[size_t(kind)] = it.key().toStdString();
                sStoredValues[size_t(kind)] = it.value().toStdString();
                ++found;
            }
        }
    }
    return found == kKindCount;
}

// ---- Raw leveldb Put: the floor of a tracking call ------------------------

void BM_LeveldbPut(benchmark::State& state, Kind kind)
{
    QTemporaryDir dir;
    leveldb::Options options; // as the queue opens its store
    options.create_if_missing = true;
    options.paranoid_checks = true;
    leveldb::DB* raw = nullptr;
    const leveldb::Status status =
        leveldb::DB::Open(options, dir.filePath(QStringLiteral("logs")).toStdString(), &raw);
    if (!status.ok()) {
        state.SkipWithError(status.ToString().c_str());
        return;
    }
    std::unique_ptr<leveldb::DB> db(raw);
    // Fresh ids, as the queue gives every log, made before timing.
    std::vector<std::string> keys;
    keys.reserve(size_t(state.max_iterations));
    for (int64_t i = 0; i < state.max_iterations; ++i)
        keys.push_back(QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString());
    const std::string& value = sStoredValues[kind];

    CallTimes times(state.max_iterations);
    size_t next = 0;
    for (auto _ : state) {
        const std::string& key = keys[next++];
        times.time(state, [&] { db->Put(leveldb::WriteOptions(), key, value); });
    }
    times.report(state);
    sPutMedianUs[kind] = times.percentileUs(50);
    sPutP99Us[kind] = times.percentileUs(99);
    state.counters["key_bytes"] = double(sStoredKeys[kind].size());
    state.counters["value_bytes"] = double(value.size());
}
BENCHMARK_CAPTURE(BM_LeveldbPut, plain, kPlain)->Iterations(kCalls)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_LeveldbPut, with_properties, kWithProperties)
    ->Iterations(kCalls)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_LeveldbPut, value, kValue)->Iterations(kCalls)->UseManualTime()->Unit(benchmark::kMicrosecond);

// ---- The tracking calls ---------------------------------------------------

void BM_ZpAnalyticsTrackFeature(benchmark::State& state)
{
    AnalyticsSession session(1);
    ZpAnalytics* analytics = session.handle(0);
    CFStringRef code = newText(kPlainCode);
    CallTimes times(state.max_iterations);
    for (auto _ : state)
        times.time(state, [&] { ZpAnalyticsTrackFeature(analytics, code); });
    CFRelease(code);
    reportAgainstPut(state, times, kPlain);
}
BENCHMARK(BM_ZpAnalyticsTrackFeature)->Iterations(kCalls)->UseManualTime()->Unit(benchmark::kMicrosecond);

void BM_ZpAnalyticsTrackFeatureWithProperties(benchmark::State& state)
{
    AnalyticsSession session(1);
    ZpAnalytics* analytics = session.handle(0);
    CFStringRef code = newText(kDottedCode);
    CFDictionaryRef properties = newThreeProperties();
    CallTimes times(state.max_iterations);
    for (auto _ : state)
        times.time(state, [&] { ZpAnalyticsTrackFeatureWithProperties(analytics, code, properties); });
    CFRelease(properties);
    CFRelease(code);
    reportAgainstPut(state, times, kWithProperties);
}
BENCHMARK(BM_ZpAnalyticsTrackFeatureWithProperties)
    ->Iterations(kCalls)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

void BM_ZpAnalyticsTrackFeatureValue(benchmark::State& state)
{
    AnalyticsSession session(1);
    ZpAnalytics* analytics = session.handle(0);
    CFStringRef code = newText(kValueCode);
    CallTimes times(state.max_iterations);
    for (auto _ : state)
        times.time(state, [&] { ZpAnalyticsTrackFeatureValue(analytics, code, 150); });
    CFRelease(code);
    reportAgainstPut(state, times, kValue);
}
BENCHMARK(BM_ZpAnalyticsTrackFeatureValue)->Iterations(kCalls)->UseManualTime()->Unit(benchmark::kMicrosecond);

// ---- Throughput: one controller per thread, one shared queue --------------

// Made and destroyed by thread 0, which Google Benchmark runs on the calling
// (main, GUI) thread; its start and stop barriers keep the other threads out
// of the loop until it exists and until they are done with it.
std::unique_ptr<AnalyticsSession> sThroughputSession;

void BM_TrackFeatureThroughput(benchmark::State& state)
{
    if (state.thread_index() == 0)
        sThroughputSession = std::make_unique<AnalyticsSession>(state.threads());
    ZpAnalytics* analytics = nullptr;
    for (auto _ : state) {
        if (!analytics)
            analytics = sThroughputSession->handle(state.thread_index());
        ZpAnalyticsTrackFeature(analytics, CFSTR("Crop"));
    }
    state.SetItemsProcessed(state.iterations());
    if (state.thread_index() == 0)
        sThroughputSession.reset();
}
BENCHMARK(BM_TrackFeatureThroughput)
    ->Threads(1)
    ->Threads(4)
    ->Iterations(kCalls)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);

// ---- Start-up on the calling thread ---------------------------------------

// One ZpAnalyticsStartupUserAppDataPath on a fresh handle in a process whose
// client has not started: a new folder each time (cold) or one folder that
// earlier runs left logs in (warm).
void BM_ZpAnalyticsStartup(benchmark::State& state, bool warm)
{
    BenchHost::pointSendsNowhere();
    QTemporaryDir warmDir;
    if (warm) {
        // An earlier run that left a hundred unsent events behind.
        AnalyticsSession earlier(1, warmDir.path());
        for (int i = 0; i < 100; ++i)
            ZpAnalyticsTrackFeature(earlier.handle(0), CFSTR("Crop"));
    }
    CallTimes times(state.max_iterations);
    for (auto _ : state) {
        AppCenter::resetForTesting();
        QThreadPool::globalInstance()->waitForDone();
        QTemporaryDir coldDir;
        CFURLRef url = BenchHost::newFolderUrl(warm ? warmDir.path() : coldDir.path());
        ZpAnalytics* analytics = ZpAnalyticsCreate();
        times.time(state, [&] { ZpAnalyticsStartupUserAppDataPath(analytics, kZpProductDelta, 0, 3, url); });
        ZpAnalyticsShutdown(analytics);
        ZpAnalyticsRelease(analytics);
        CFRelease(url);
        AppCenter::resetForTesting();
        QThreadPool::globalInstance()->waitForDone();
    }
    times.report(state);
}
BENCHMARK_CAPTURE(BM_ZpAnalyticsStartup, cold, false)
    ->Iterations(50)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ZpAnalyticsStartup, warm, true)
    ->Iterations(50)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

// The machine description alone (operating system, screen, memory, video
// memory, OpenGL, keyboard locale), which start-up builds on the GUI thread.
void BM_SystemPropertiesCreate(benchmark::State& state)
{
    CallTimes times(state.max_iterations);
    for (auto _ : state)
        times.time(state, [] { CFRelease(SystemProperties::create()); });
    times.report(state);
    state.counters["first_in_process_ms"] = sFirstSystemPropertiesMs;
    if (sHostContextMs >= 0)
        state.counters["host_context_first_ms"] = sHostContextMs;
}
BENCHMARK(BM_SystemPropertiesCreate)->Iterations(50)->UseManualTime()->Unit(benchmark::kMillisecond);

// ---- A tracking call while a batch is being posted ------------------------

// Whether a tracking call waits on the network or on the sender's store
// writes. A store holds more than one full batch of pending plain events
// (18,500 of 387 bytes: 7.2 MB) and a zp-ingest receiver that holds every
// answer for kPostDelayMs gets them: opening the store starts the send on the
// pool, whose first post carries 6.8 MB and whose second the rest. Meanwhile
// the GUI thread tracks a plain code about once a millisecond (each call timed
// on its own) until the send has ended. Calls are sorted by what the sender did
// around them (PostTimer): the whole call inside a post (median_us, p99_us,
// max_us); the whole call within kAfterAnswerMs after a post answered 200,
// while the batch's records are deleted with a synchronous write
// (after_answer_*); the rest (between_*: reading the store, building the body).
// BM_TrackDuringPost/no_send is the same store and pacing with no send
// running (sends refused and throttled), the baseline of the x_no_send_* ratios.
constexpr int kPendingEvents = 18500;
constexpr int kPostDelayMs = 2000;
constexpr int64_t kAfterAnswerMs = 100;
constexpr int64_t kBaselineCalls = 3000;

double sNoSendMedianUs = 0;
double sNoSendP99Us = 0;

// A store in `folder` with kPendingEvents pending plain events.
void fillPendingEvents(const QString& folder)
{
    AnalyticsSession earlier(1, folder);
    for (int i = 0; i < kPendingEvents; ++i)
        ZpAnalyticsTrackFeature(earlier.handle(0), CFSTR("Crop"));
}

void pace()
{
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

void reportWithMax(benchmark::State& state, const CallTimes& times, const std::string& prefix = std::string())
{
    times.report(state, prefix);
    state.counters[prefix + "max_us"] = times.maxUs();
    state.counters[prefix + "calls"] = double(times.count());
}

void BM_TrackDuringPost(benchmark::State& state, bool posting)
{
    std::unique_ptr<IngestProcess> ingest;
    if (posting) {
        ingest = std::make_unique<IngestProcess>(QStringList{QStringLiteral("--delay-ms"), QString::number(kPostDelayMs)});
        if (!ingest->ok()) {
            state.SkipWithError(ingest->error().toUtf8().constData());
            return;
        }
    }
    CallTimes inPost, afterAnswer, between;
    bool failed = false;
    for (auto _ : state) {
        QTemporaryDir dir;
        fillPendingEvents(dir.path());
        if (!posting) {
            AnalyticsSession session(1, dir.path());
            for (int64_t i = 0; i < kBaselineCalls; ++i) {
                between.add(CallTimes::measure([&] { ZpAnalyticsTrackFeature(session.handle(0), CFSTR("Crop")); }));
                pace();
            }
            state.SetIterationTime(between.meanUs() * 1e-6);
            continue;
        }
        qputenv("ZP_INGESTION_BASE_URL", ingest->baseUrl().toUtf8());
        AppCenter::resetForTesting();
        QThreadPool::globalInstance()->waitForDone();
        CFURLRef url = BenchHost::newFolderUrl(dir.path());
        ZpAnalytics* analytics = ZpAnalyticsCreate();
        ZpAnalyticsStartupUserAppDataPath(analytics, kZpProductDelta, 0, 3, url); // starts the send
        CFRelease(url);
        const int64_t answersBefore = PostTimer::finished();
        const std::shared_ptr<AppCenterQueue> queue = AppCenter::instance().queue();
        CallTimes iterationInPost;
        const int64_t deadline = PostTimer::nowNs() + int64_t(60) * 1000000000;
        while (queue && queue->isSending() && PostTimer::nowNs() < deadline) {
            const bool postingBefore = PostTimer::inFlight();
            const int64_t answers = PostTimer::finished();
            const int64_t start = PostTimer::nowNs();
            const int64_t ns = CallTimes::measure([&] { ZpAnalyticsTrackFeature(analytics, CFSTR("Crop")); });
            const bool sameStretch = PostTimer::finished() == answers && PostTimer::inFlight() == postingBefore;
            if (sameStretch && postingBefore) {
                inPost.add(ns);
                iterationInPost.add(ns);
            } else if (sameStretch && answers > answersBefore && PostTimer::lastStatus() == 200
                       && start + ns - PostTimer::lastReturnNs() <= kAfterAnswerMs * 1000000) {
                afterAnswer.add(ns);
            } else if (sameStretch) {
                between.add(ns);
            }
            pace();
        }
        const bool finished = queue && !queue->isSending();
        ZpAnalyticsShutdown(analytics);
        ZpAnalyticsRelease(analytics);
        AppCenter::resetForTesting();
        QThreadPool::globalInstance()->waitForDone();
        if (!finished || iterationInPost.count() == 0) {
            state.SkipWithError("the send did not run, or did not end within a minute");
            failed = true;
            break;
        }
        state.SetIterationTime(iterationInPost.meanUs() * 1e-6);
    }
    BenchHost::pointSendsNowhere();
    if (failed)
        return;
    if (!posting) {
        reportWithMax(state, between);
        sNoSendMedianUs = between.percentileUs(50);
        sNoSendP99Us = between.percentileUs(99);
        return;
    }
    reportWithMax(state, inPost);
    reportWithMax(state, afterAnswer, "after_answer_");
    reportWithMax(state, between, "between_");
    // The receiver's count: the refused sends of the filling sessions are posts too.
    const QList<IngestProcess::Request> requests = ingest->requests();
    state.counters["posts_per_send"] = double(requests.size()) / double(state.iterations());
    int64_t largest = 0;
    for (const IngestProcess::Request& request : requests)
        largest = std::max(largest, int64_t(request.bodyBytes));
    state.counters["largest_body_mb"] = double(largest) / 1e6;
    if (sNoSendMedianUs > 0) {
        state.counters["x_no_send_median"] = inPost.percentileUs(50) / sNoSendMedianUs;
        state.counters["x_no_send_p99"] = inPost.percentileUs(99) / sNoSendP99Us;
        state.counters["after_answer_x_no_send_p99"] = afterAnswer.percentileUs(99) / sNoSendP99Us;
    }
}
BENCHMARK_CAPTURE(BM_TrackDuringPost, no_send, false)
    ->Iterations(2)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_TrackDuringPost, in_post, true)
    ->Iterations(4)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv)
{
    BenchHost::prepareProcess();
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);

    if (qEnvironmentVariableIsSet("ZP_BENCH_HOST_OPENGL"))
        makeHostContext();
    // Before anything else builds one, so that the first-use cost is seen.
    const Clock::time_point start = Clock::now();
    CFRelease(SystemProperties::create());
    sFirstSystemPropertiesMs = millisecondsSince(start);

    if (!readStoredSamples()) {
        fprintf(stderr, "zp_tracking_bench: the sample events did not reach the store\n");
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
