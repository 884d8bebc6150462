// What the persistent queue and its sender cost: one enqueue on the caller's
// thread; draining 10,000 and 100,000 pending logs to a zp-ingest receiver on
// loopback, with the time inside the HTTP posts apart and the memory the
// drain takes; and building the batch bodies against a plain copy of the
// same bytes.
#include "AppCenter/AppCenterLogBatch.h"
#include "AppCenter/AppCenterLogBuilder.h"
#include "AppCenter/AppCenterQueue.h"

#include "CallTimes.h"
#include "IngestProcess.h"
#include "PostTimer.h"

#include "BenchHost.h"

#include <benchmark/benchmark.h>
#include <leveldb/db.h>
#include <leveldb/iterator.h>
#include <leveldb/options.h>
#include <leveldb/write_batch.h>

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QThreadPool>
#include <algorithm>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

const QString kSecret = QStringLiteral("7d8e9f00-1a2b-4c3d-8e4f-5a6b7c8d9e0f");

QJsonObject sampleEvent(int i)
{
    return QJsonObject{{"type", "event"},
                       {"name", QStringLiteral("Feature %1").arg(i % 50)},
                       {"typedProperties", QJsonArray{QJsonObject{{"type", "string"}, {"name", "Tool"}, {"value", "Brush"}}}}};
}


void BM_Enqueue(benchmark::State& state)
{
    BenchHost::pointSendsNowhere();
    QTemporaryDir dir;
    AppCenterQueue queue(kSecret, dir.filePath(QStringLiteral("AppCenter")));
    QThreadPool::globalInstance()->waitForDone();
    int i = 0;
    for (auto _ : state) {
        QJsonObject log = sampleEvent(i++);
        queue.enqueue(log, QString());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Enqueue)->Repetitions(5)->ReportAggregatesOnly(true)->Unit(benchmark::kMicrosecond);

void BM_Drain10000(benchmark::State& state)
{
    IngestProcess ingest;
    if (!ingest.ok()) {
        state.SkipWithError(ingest.error().toUtf8().constData());
        return;
    }
    for (auto _ : state) {
        state.PauseTiming();
        QTemporaryDir dir;
        const QString storage = dir.filePath(QStringLiteral("AppCenter"));
        BenchHost::pointSendsNowhere();
        {
            AppCenterQueue queue(kSecret, storage);
            QThreadPool::globalInstance()->waitForDone();
            for (int i = 0; i < 10000; ++i) {
                QJsonObject log = sampleEvent(i);
                queue.enqueue(log, QString());
            }
        }
        QThreadPool::globalInstance()->waitForDone();
        qputenv("ZP_INGESTION_BASE_URL", ingest.baseUrl().toUtf8());
        state.ResumeTiming();
        {
            AppCenterQueue queue(kSecret, storage); // sends what is pending as it opens
            QThreadPool::globalInstance()->waitForDone();
        }
    }
    state.counters["logs_delivered"] = double(ingest.logs().size());
}
BENCHMARK(BM_Drain10000)->Iterations(3)->Unit(benchmark::kMillisecond)->UseRealTime();

// ---- The sender on 100,000 logs ------------------------------------------

constexpr int kDrainLogs = 100000;

// Three full batch bodies: what a drain may reasonably hold at once (the body
// being posted, the next one, a copy inside the network stack).
constexpr double kThreeBatchesBytes = 3.0 * double(AppCenterLogBatch::kMaxBodyBytes);

// The events a host tracks most, with their properties, in turn: plain codes,
// dotted codes (one property) and multi-property calls, so that the stored
// logs have the sizes of real ones (around 400 bytes with the envelope).
QJsonObject realisticEvent(int i)
{
    switch (i % 4) {
    case 0:
        return AppCenterLogBuilder::eventLog(QStringLiteral("Crop"), {});
    case 1:
        return AppCenterLogBuilder::eventLog(QStringLiteral("Export"), {{QStringLiteral("Format"), QStringLiteral("JPEG")}});
    case 2:
        return AppCenterLogBuilder::eventLog(QStringLiteral("Zoom"), {{QStringLiteral("value"), QString::number(50 + i % 400)}});
    default:
        return AppCenterLogBuilder::eventLog(QStringLiteral("Brush"), {{QStringLiteral("Tool"), QStringLiteral("Brush")},
                                                                       {QStringLiteral("Size"), QString::number(i % 64)},
                                                                       {QStringLiteral("Mode"), QStringLiteral("Normal")}});
    }
}

std::string logsPath(const QString& storage)
{
    return (storage + QStringLiteral("/logs")).toStdString();
}

// Opened as the queue opens its store; null on failure. The caller owns it.
leveldb::DB* openStore(const std::string& path)
{
    leveldb::Options options;
    options.create_if_missing = true;
    options.paranoid_checks = true;
    leveldb::DB* database = nullptr;
    if (!leveldb::DB::Open(options, path, &database).ok())
        return nullptr;
    return database;
}

// Calls `each` with every stored log of an open store (the install id left out).
template <typename Each>
void forEachLog(leveldb::DB& database, Each&& each)
{
    std::unique_ptr<leveldb::Iterator> it(database.NewIterator(leveldb::ReadOptions()));
    for (it->SeekToFirst(); it->Valid(); it->Next()) {
        if (it->key() != leveldb::Slice("install_id"))
            each(it->key(), it->value());
    }
}

// A store of kDrainLogs pending event logs, made once by the real enqueue
// path (sends refused, so all of them stay). Benchmarks that change a store
// work on a copy of its folder; the others read it in place. Made and used
// on the main thread only.
struct TemplateStore {
    QTemporaryDir dir;
    QString storage; // <dir>/AppCenter, as the client names it
    QString installId;
    int64_t logBytes = 0; // the stored values, install id left out
    size_t largestLog = 0;
};

const TemplateStore* templateStore()
{
    static std::unique_ptr<TemplateStore> store;
    if (store)
        return store.get();
    auto made = std::make_unique<TemplateStore>();
    made->storage = made->dir.filePath(QStringLiteral("AppCenter"));
    BenchHost::pointSendsNowhere();
    {
        AppCenterQueue queue(kSecret, made->storage);
        QThreadPool::globalInstance()->waitForDone();
        for (int i = 0; i < kDrainLogs; ++i) {
            QJsonObject log = realisticEvent(i);
            queue.enqueue(log, QString());
        }
        made->installId = queue.installId();
    }
    QThreadPool::globalInstance()->waitForDone();
    std::unique_ptr<leveldb::DB> database(openStore(logsPath(made->storage)));
    if (database) {
        forEachLog(*database, [&](const leveldb::Slice&, const leveldb::Slice& value) {
            made->logBytes += int64_t(value.size());
            made->largestLog = std::max(made->largestLog, value.size());
        });
    }
    store = std::move(made);
    return store.get();
}

// A field of /proc/self/status in kB ("VmRSS", "VmHWM", "RssAnon"); -1 when absent.
int64_t statusKb(const char* field)
{
    std::ifstream status("/proc/self/status");
    const std::string prefix = std::string(field) + ":";
    std::string line;
    while (std::getline(status, line)) {
        if (line.compare(0, prefix.size(), prefix) == 0)
            return std::stoll(line.substr(prefix.size()));
    }
    return -1;
}

// Gives the heap's free pages back to the system, so that memory an earlier
// drain freed (and malloc kept) shows as growth when the next drain takes it
// again, then makes VmHWM start again from the present VmRSS (Linux 4.0 and
// later).
bool resetPeakRss()
{
    malloc_trim(0);
    std::ofstream clearRefs("/proc/self/clear_refs");
    clearRefs << "5";
    clearRefs.flush();
    return bool(clearRefs);
}

// One drain of a fresh copy of the template store, by
// AppCenterQueue::sendPendingLogs on the calling thread, as the pool's send
// task would run it.
struct DrainRun {
    int64_t ns = 0; // the whole sendPendingLogs call
    PostTimer::Totals posts; // the posts of this drain alone
    int64_t leftOver = -1; // logs still stored afterwards
};

template <typename Around>
DrainRun drainCopy(const TemplateStore& source, Around&& around)
{
    DrainRun run;
    QTemporaryDir dir;
    const QString storage = dir.filePath(QStringLiteral("AppCenter"));
    std::filesystem::copy(source.storage.toStdString(), storage.toStdString(),
                          std::filesystem::copy_options::recursive);
    auto state = std::make_shared<AppCenterQueue::State>();
    state->database.reset(openStore(logsPath(storage)));
    if (!state->database)
        return run;
    state->running.store(1);
    const PostTimer::Totals before = PostTimer::totals();
    around([&] {
        run.ns = CallTimes::measure([&] { AppCenterQueue::sendPendingLogs(state, kSecret, source.installId); });
    });
    const PostTimer::Totals after = PostTimer::totals();
    run.posts.posts = after.posts - before.posts;
    run.posts.ns = after.ns - before.ns;
    run.posts.bodyBytes = after.bodyBytes - before.bodyBytes;
    run.leftOver = 0;
    forEachLog(*state->database, [&](const leveldb::Slice&, const leveldb::Slice&) { ++run.leftOver; });
    return run;
}

double median(std::vector<double> values)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// The time to drain 100,000 pending logs, its split into the time inside
// ZpHttp::post (request, receiver's work, answer; PostTimer) and the rest
// (reading the store, building bodies, deleting each delivered batch with a
// synchronous write), and the peak memory of the drain: VmHWM after the drain
// less VmRSS before it, the high-water mark reset just before. That peak
// includes the store's table files, which leveldb maps into memory as it reads
// them; BM_Drain100000Memory shows the heap's share alone. Each figure is the
// median over the drains (the peak: the largest); the time column is the mean drain.
void BM_Drain100000(benchmark::State& state)
{
    const TemplateStore* source = templateStore();
    IngestProcess ingest;
    if (!ingest.ok()) {
        state.SkipWithError(ingest.error().toUtf8().constData());
        return;
    }
    qputenv("ZP_INGESTION_BASE_URL", ingest.baseUrl().toUtf8());
    std::vector<double> totalMs, postMs, restMs, requests;
    int64_t peakGrowthKb = 0;
    bool hwmWorks = true;
    for (auto _ : state) {
        int64_t rssBeforeKb = 0;
        const DrainRun run = drainCopy(*source, [&](auto&& drain) {
            hwmWorks = resetPeakRss() && hwmWorks;
            rssBeforeKb = statusKb("VmRSS");
            drain();
            peakGrowthKb = std::max(peakGrowthKb, statusKb("VmHWM") - rssBeforeKb);
        });
        if (run.leftOver != 0) {
            state.SkipWithError("the drain left logs behind (or the store did not open)");
            break;
        }
        state.SetIterationTime(double(run.ns) * 1e-9);
        totalMs.push_back(double(run.ns) / 1e6);
        postMs.push_back(double(run.posts.ns) / 1e6);
        restMs.push_back(double(run.ns - run.posts.ns) / 1e6);
        requests.push_back(double(run.posts.posts));
    }
    BenchHost::pointSendsNowhere();
    int64_t delivered = 0;
    for (const IngestProcess::Request& request : ingest.requests())
        delivered += request.logCount;
    const double totalMedianMs = median(totalMs);
    state.counters["median_ms"] = totalMedianMs;
    state.counters["logs_per_second"] = totalMedianMs > 0 ? kDrainLogs / (totalMedianMs / 1000.0) : 0;
    state.counters["requests"] = median(requests);
    state.counters["post_median_ms"] = median(postMs);
    state.counters["rest_median_ms"] = median(restMs);
    state.counters["post_share"] = totalMedianMs > 0 ? median(postMs) / totalMedianMs : 0;
    state.counters["logs_delivered_per_drain"] = state.iterations() > 0 ? double(delivered) / double(state.iterations()) : 0;
    state.counters["mean_log_bytes"] = double(source->logBytes) / kDrainLogs;
    if (hwmWorks) {
        state.counters["peak_rss_growth_mb"] = double(peakGrowthKb) / 1024.0;
        state.counters["peak_rss_growth_x_three_batches"] = double(peakGrowthKb) * 1024.0 / kThreeBatchesBytes;
    }
}
BENCHMARK(BM_Drain100000)->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond);

// The memory of the same drain, sampled: a second thread reads VmRSS and
// RssAnon (the heap and other private memory, without the mapped table files)
// every millisecond while the drain runs; the figures are the largest growth
// over the value just before the drain (free heap given back first, as in
// BM_Drain100000), over all drains. Kept apart from
// BM_Drain100000 because the sampling takes CPU time from the drain.
void BM_Drain100000Memory(benchmark::State& state)
{
    const TemplateStore* source = templateStore();
    IngestProcess ingest;
    if (!ingest.ok()) {
        state.SkipWithError(ingest.error().toUtf8().constData());
        return;
    }
    qputenv("ZP_INGESTION_BASE_URL", ingest.baseUrl().toUtf8());
    int64_t rssGrowthKb = 0;
    int64_t anonGrowthKb = 0;
    int64_t samples = 0;
    for (auto _ : state) {
        const DrainRun run = drainCopy(*source, [&](auto&& drain) {
            resetPeakRss();
            const int64_t rssBeforeKb = statusKb("VmRSS");
            const int64_t anonBeforeKb = statusKb("RssAnon");
            std::atomic<bool> done{false};
            std::thread sampler([&] {
                while (!done.load()) {
                    rssGrowthKb = std::max(rssGrowthKb, statusKb("VmRSS") - rssBeforeKb);
                    anonGrowthKb = std::max(anonGrowthKb, statusKb("RssAnon") - anonBeforeKb);
                    ++samples;
                    std::this_thread::sleep_for(std::chrono::milliseconds(1));
                }
            });
            drain();
            done.store(true);
            sampler.join();
        });
        if (run.leftOver != 0) {
            state.SkipWithError("the drain left logs behind (or the store did not open)");
            break;
        }
        state.SetIterationTime(double(run.ns) * 1e-9);
    }
    BenchHost::pointSendsNowhere();
    state.counters["rss_peak_growth_mb"] = double(rssGrowthKb) / 1024.0;
    state.counters["anon_peak_growth_mb"] = double(anonGrowthKb) / 1024.0;
    state.counters["anon_peak_growth_x_three_batches"] = double(anonGrowthKb) * 1024.0 / kThreeBatchesBytes;
    state.counters["samples"] = double(samples);
}
BENCHMARK(BM_Drain100000Memory)->Iterations(2)->UseManualTime()->Unit(benchmark::kMillisecond);

// ---- Body assembly against a plain copy -----------------------------------

// Both cut the template store's logs into bodies at
// AppCenterLogBatch::kMaxBodyBytes, as the sender does; a pass is the whole
// store (seven bodies). BM_BodyAssembly builds them with AppCenterLogBatch
// (the body's buffer and the batch of deletions); BM_PlainCopy copies the same
// bytes, commas and brackets included, with memcpy into one buffer reserved
// beforehand, so the difference is the cost of the assembly itself. Two
// sources: /store reads the logs through one leveldb iterator, as the sender
// does (block reads and decompression included); /memory takes them from
// copies read into memory before timing, which leaves the copying alone.
// Figures: the median pass (median_ms) and the body bytes per second at that
// median; x_plain_copy is the assembly's median pass over the plain copy's of
// the same source. One untimed pass first, so both start with warm caches.
enum Source { kFromStore, kFromMemory, kSourceCount };

double sPlainCopyMedianMs[kSourceCount] = {};

struct PassResult {
    int64_t bodies = 0;
    int64_t bytes = 0;
};

// The template store's logs, key and value, read once.
const std::vector<std::pair<std::string, std::string>>& logsInMemory()
{
    static std::vector<std::pair<std::string, std::string>> logs;
    if (logs.empty()) {
        std::unique_ptr<leveldb::DB> database(openStore(logsPath(templateStore()->storage)));
        if (database) {
            logs.reserve(kDrainLogs);
            forEachLog(*database, [&](const leveldb::Slice& key, const leveldb::Slice& value) {
                logs.emplace_back(key.ToString(), value.ToString());
            });
        }
    }
    return logs;
}

// Runs the benchmark's passes; `pass(each)` must call `each(key, value)` for
// every log of the chosen source, in store order.
template <typename Pass>
void runPasses(benchmark::State& state, Source source, Pass&& pass)
{
    std::unique_ptr<leveldb::DB> database;
    if (source == kFromStore) {
        database.reset(openStore(logsPath(templateStore()->storage)));
        if (!database) {
            state.SkipWithError("the template store did not open");
            return;
        }
    } else if (logsInMemory().size() != size_t(kDrainLogs)) {
        state.SkipWithError("the template store's logs could not be read");
        return;
    }
    auto walk = [&](auto&& each) {
        if (database) {
            forEachLog(*database, each);
            return;
        }
        for (const auto& [key, value] : logsInMemory())
            each(leveldb::Slice(key), leveldb::Slice(value));
    };
    PassResult result = pass(walk); // warm-up, untimed
    CallTimes passes(state.max_iterations);
    for (auto _ : state)
        passes.time(state, [&] { result = pass(walk); });
    const double medianMs = passes.percentileUs(50) / 1000.0;
    state.counters["median_ms"] = medianMs;
    state.counters["bytes_per_second"] = medianMs > 0 ? double(result.bytes) / (medianMs / 1000.0) : 0;
    state.counters["bodies_per_pass"] = double(result.bodies);
    state.counters["bytes_per_pass"] = double(result.bytes);
}

void BM_PlainCopy(benchmark::State& state, Source source)
{
    std::vector<char> buffer(size_t(AppCenterLogBatch::kMaxBodyBytes) + templateStore()->largestLog + 64);
    runPasses(state, source, [&](auto&& walk) {
        static const char kOpen[] = "{\"logs\":[";
        PassResult result;
        size_t used = 0;
        int count = 0;
        auto close = [&] {
            buffer[used++] = ']';
            buffer[used++] = '}';
            benchmark::DoNotOptimize(buffer.data());
            result.bytes += int64_t(used);
            ++result.bodies;
        };
        walk([&](const leveldb::Slice&, const leveldb::Slice& value) {
            if (count > 0 && used >= size_t(AppCenterLogBatch::kMaxBodyBytes)) {
                close();
                count = 0;
            }
            if (count == 0) {
                std::memcpy(buffer.data(), kOpen, sizeof(kOpen) - 1);
                used = sizeof(kOpen) - 1;
            } else {
                buffer[used++] = ',';
            }
            std::memcpy(buffer.data() + used, value.data(), value.size());
            used += value.size();
            ++count;
        });
        if (count > 0)
            close();
        return result;
    });
    sPlainCopyMedianMs[source] = state.counters["median_ms"];
}
BENCHMARK_CAPTURE(BM_PlainCopy, store, kFromStore)->Iterations(10)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_PlainCopy, memory, kFromMemory)->Iterations(20)->UseManualTime()->Unit(benchmark::kMillisecond);

void BM_BodyAssembly(benchmark::State& state, Source source)
{
    runPasses(state, source, [&](auto&& walk) {
        PassResult result;
        // One batch for the whole pass, cleared between bodies, as a send task does.
        auto batch = std::make_unique<AppCenterLogBatch>();
        auto close = [&] {
            const QByteArray& body = batch->finish();
            benchmark::DoNotOptimize(body.constData());
            result.bytes += body.size();
            ++result.bodies;
        };
        walk([&](const leveldb::Slice& key, const leveldb::Slice& value) {
            if (batch->isFull()) {
                close();
                batch->clear();
            }
            batch->append(key, value);
        });
        if (batch->count() > 0)
            close();
        return result;
    });
    if (sPlainCopyMedianMs[source] > 0)
        state.counters["x_plain_copy"] = state.counters["median_ms"] / sPlainCopyMedianMs[source];
}
BENCHMARK_CAPTURE(BM_BodyAssembly, store, kFromStore)->Iterations(10)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_BodyAssembly, memory, kFromMemory)->Iterations(20)->UseManualTime()->Unit(benchmark::kMillisecond);

// Where BM_BodyAssembly/memory's time goes, each part alone over the same
// in-memory logs and cut points: the body appended to a QByteArray that grows
// as it goes (as AppCenterLogBatch's does), the same with the buffer reserved
// to the limit first, and the batch of deletions alone. Figures: median pass
// of each, in ms (growing_body_ms, reserved_body_ms, deletions_ms).
void BM_BodyAssemblyParts(benchmark::State& state)
{
    const auto& logs = logsInMemory();
    if (logs.size() != size_t(kDrainLogs)) {
        state.SkipWithError("the template store's logs could not be read");
        return;
    }
    auto body = [&](bool reserve) {
        int64_t bytes = 0;
        QByteArray current;
        for (const auto& [key, value] : logs) {
            if (current.isEmpty() || current.size() >= AppCenterLogBatch::kMaxBodyBytes) {
                if (!current.isEmpty()) {
                    current.append("]}");
                    bytes += current.size();
                }
                current = QByteArray();
                if (reserve)
                    current.reserve(AppCenterLogBatch::kMaxBodyBytes + qsizetype(templateStore()->largestLog) + 2);
                current.append("{\"logs\":[");
            } else {
                current.append(',');
            }
            current.append(value.data(), qsizetype(value.size()));
        }
        current.append("]}");
        benchmark::DoNotOptimize(current.constData());
        return bytes + current.size();
    };
    auto deletions = [&] {
        int64_t bytes = 0;
        int64_t bodyBytes = 0;
        auto batch = std::make_unique<leveldb::WriteBatch>();
        for (const auto& [key, value] : logs) {
            if (bodyBytes >= AppCenterLogBatch::kMaxBodyBytes) {
                bytes += int64_t(batch->ApproximateSize());
                batch = std::make_unique<leveldb::WriteBatch>();
                bodyBytes = 0;
            }
            batch->Delete(key);
            bodyBytes += int64_t(value.size()) + 1;
        }
        return bytes + int64_t(batch->ApproximateSize());
    };
    body(false); // warm-up
    CallTimes growing, reserved, deleting;
    for (auto _ : state) {
        int64_t total = 0;
        growing.add(CallTimes::measure([&] { total += body(false); }));
        reserved.add(CallTimes::measure([&] { total += body(true); }));
        deleting.add(CallTimes::measure([&] { total += deletions(); }));
        benchmark::DoNotOptimize(total);
    }
    state.counters["growing_body_ms"] = growing.percentileUs(50) / 1000.0;
    state.counters["reserved_body_ms"] = reserved.percentileUs(50) / 1000.0;
    state.counters["deletions_ms"] = deleting.percentileUs(50) / 1000.0;
    if (sPlainCopyMedianMs[kFromMemory] > 0) {
        state.counters["growing_body_x_plain_copy"] = growing.percentileUs(50) / 1000.0 / sPlainCopyMedianMs[kFromMemory];
        state.counters["reserved_body_x_plain_copy"] =
            reserved.percentileUs(50) / 1000.0 / sPlainCopyMedianMs[kFromMemory];
    }
}
BENCHMARK(BM_BodyAssemblyParts)->Iterations(20)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
