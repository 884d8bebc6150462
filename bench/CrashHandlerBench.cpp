// How long a host's crash takes to leave its files, and how big the minidump
// is, measured from outside the crashing process.
//
// Each run starts a fresh host child (this program with --host <folder>
// idle|busy): a
// QApplication that arms crash reporting as a host does
// (ZpCrashReportStartupWithUserAppDataPath, then the launch event), holds
// 100 MiB of touched heap and runs eight threads of its own. When told, one
// of them stamps CLOCK_MONOTONIC on the pipe to the parent and writes through
// a null pointer. The parent watches the crashes folder with inotify: the
// handler writes the minidump, closes it, then writes and closes the crash
// record, so the record's IN_CLOSE_WRITE is the moment both files are
// complete. The times, all from the fault's stamp, median and p99 over the
// runs (with up to 50 runs the p99 is the slowest run):
//   median_ms, p99_ms             both files closed (the manual time)
//   dump_closed_*_ms              the minidump closed (when both closes come
//                                 in one read, this is the later moment)
//   process_ended_*_ms            the child reaped (re-raise, default action,
//                                 the kernel tearing the process down)
// and the sizes of the minidump (dump_bytes: median, dump_max_bytes) and of
// the crash record (record_bytes), the threads the dump lists, and the host's
// resident set before the crash (host_rss_mb).
// Two hosts: in BM_CrashHandler/idle the other seven threads sit on a
// condition variable, as a host's workers mostly do; in /busy they keep
// rewriting their share of the heap, as a host in the middle of an image
// operation does, so on a machine with fewer cores than threads the handler
// competes for a core. The handler does not stop them in either case. No core
// file is written (the child sets RLIMIT_CORE to 0), so the time to the end of
// the process is the handler's re-raise and the kernel's teardown only.
#include "BenchHost.h"
#include "ProcessBench.h"

#include "MinidumpReader.h"

#include "ZpToolboxLite.h"

#include <ZpWidgetsLite/ZpAppDidFinishLaunchingEvent.h>

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QThreadPool>
#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>
#include <poll.h>
#include <string>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kHostThreads = 8;
constexpr char kIdle[] = "idle";
constexpr char kBusy[] = "busy";
constexpr size_t kHeapBlocks = 100;
constexpr size_t kHeapBlockBytes = size_t(1) << 20;
constexpr int kRuns = 20;
constexpr int kQuickRuns = 3;
// Bounds for liveness only: a host that never gets ready or never leaves its
// files fails the run instead of hanging the benchmark.
constexpr int kStartTimeoutMs = 60000;
constexpr int kFilesTimeoutMs = 20000;

// ---- Host child -------------------------------------------------------------

// Kept from UndefinedBehaviorSanitizer in a sanitizer build: it would end the
// process with its own report before the crash handler sees the fault.
[[gnu::noinline]] __attribute__((no_sanitize("undefined"))) void crashByNullWrite()
{
    // Both volatile: the compiler can neither prove the pointer null (and
    // plant a trap instruction, SIGILL) nor drop the store as unread.
    volatile int* volatile target = nullptr;
    *target = 1;
}

void writeLine(const std::string& line)
{
    const std::string text = line + "\n";
    const ssize_t written = write(STDOUT_FILENO, text.data(), text.size());
    (void)written;
}

// Heap the host holds, resident: every page written.
std::vector<std::unique_ptr<char[]>> touchedHeap()
{
    std::vector<std::unique_ptr<char[]>> blocks;
    for (size_t i = 0; i < kHeapBlocks; ++i) {
        blocks.emplace_back(new char[kHeapBlockBytes]);
        std::memset(blocks.back().get(), int(i % 251) + 1, kHeapBlockBytes);
    }
    return blocks;
}

// A busy host thread: rewrites every kHostThreads-th block of the heap,
// starting at `first`, until the process ends.
[[noreturn]] void keepWriting(const std::vector<std::unique_ptr<char[]>>& heap, size_t first)
{
    for (int pass = 0;; ++pass) {
        for (size_t block = first; block < heap.size(); block += kHostThreads)
            std::memset(heap[block].get(), pass & 0xff, kHeapBlockBytes);
    }
}

// Main (GUI) thread of the child. Never returns normally: the last host
// thread crashes the process once the parent writes a byte to its stdin.
int runHost(int argc, char** argv)
{
    const bool busy = std::strcmp(argv[3], kBusy) == 0;
    // The default action after the handler would otherwise dump the 100 MiB
    // into a core file, which is not the library's cost.
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    ProcessBench::prepareHostEnvironment();
    QApplication app(argc, argv);
    const QString folder = QString::fromLocal8Bit(argv[2]);

    CFURLRef url = BenchHost::newFolderUrl(folder);
    ZpCrashReportStartupWithUserAppDataPath(CFSTR("bench-user"), kZpProductDelta, 0, 3, false, url);
    CFRelease(url);
    // The main window is up: the crash service starts and installs the handler.
    ZpAppDidFinishLaunchingEvent launched(nullptr);
    QCoreApplication::sendEvent(&app, &launched);
    QThreadPool::globalInstance()->waitForDone(); // the send to port 9 has failed

    const std::vector<std::unique_ptr<char[]>> heap = touchedHeap();

    std::mutex mutex;
    std::condition_variable wake;
    bool crashNow = false;
    std::atomic<int> waiting{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kHostThreads; ++i) {
        const bool crashes = i == kHostThreads - 1;
        threads.emplace_back([&, crashes, i] {
            std::unique_lock<std::mutex> lock(mutex);
            waiting.fetch_add(1);
            if (busy && !crashes) {
                lock.unlock();
                keepWriting(heap, size_t(i));
            }
            // The others wait for good, as idle workers of a host do.
            wake.wait(lock, [&] { return crashes && crashNow; });
            lock.unlock();
            writeLine("stamp=" + std::to_string(ProcessBench::monotonicNs()));
            crashByNullWrite();
        });
    }
    while (waiting.load() < kHostThreads)
        std::this_thread::yield();

    const QMap<QString, qint64> status = ProcessBench::statusKilobytes();
    writeLine("ready rss_kb=" + std::to_string(status.value(QStringLiteral("VmRSS"))));
    char go = 0;
    if (read(STDIN_FILENO, &go, 1) != 1)
        _exit(3); // the parent went away; no exit(): busy threads still run
    {
        const std::lock_guard<std::mutex> lock(mutex);
        crashNow = true;
    }
    wake.notify_all();
    for (std::thread& thread : threads)
        thread.join();
    return 4; // not reached: the crash ends the process
}

// ---- Parent -----------------------------------------------------------------

struct Run {
    QString error; // empty when the run succeeded
    double filesMs = 0;
    double dumpMs = 0;
    double exitMs = 0;
    double dumpBytes = 0;
    double jsonBytes = 0;
    double dumpThreads = 0;
    double hostRssMib = 0;
};

Run failed(const QString& error)
{
    Run run;
    run.error = error;
    return run;
}

// An inotify watch for files closed after writing in one folder, for one run;
// the descriptor is closed with the object, whatever the run's outcome.
// Parent's main thread.
class Watch {
public:
    explicit Watch(const QString& directory)
        : mFd(inotify_init1(IN_CLOEXEC | IN_NONBLOCK))
    {
        if (mFd >= 0 && inotify_add_watch(mFd, QFile::encodeName(directory).constData(), IN_CLOSE_WRITE) < 0) {
            close(mFd);
            mFd = -1;
        }
    }
    ~Watch()
    {
        if (mFd >= 0)
            close(mFd);
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    bool ok() const { return mFd >= 0; }

    // Waits until the crash record has been closed after writing; sets
    // *dumpNs / *jsonNs to the moment the .dmp / .json close was read.
    // False on timeout.
    bool waitForJson(int64_t* dumpNs, int64_t* jsonNs, int timeoutMs)
    {
        const int64_t deadline = ProcessBench::monotonicNs() + int64_t(timeoutMs) * 1000000;
        alignas(inotify_event) char buffer[8192];
        while (*jsonNs == 0) {
            const int64_t left = (deadline - ProcessBench::monotonicNs()) / 1000000;
            pollfd descriptor{mFd, POLLIN, 0};
            if (left <= 0 || poll(&descriptor, 1, int(left)) <= 0)
                return false;
            const int64_t now = ProcessBench::monotonicNs();
            const ssize_t size = read(mFd, buffer, sizeof(buffer));
            for (ssize_t offset = 0; offset < size;) {
                const auto* event = reinterpret_cast<const inotify_event*>(buffer + offset);
                const QByteArray name(event->len > 0 ? event->name : "");
                if (name.endsWith(".dmp") && *dumpNs == 0)
                    *dumpNs = now;
                else if (name.endsWith(".json"))
                    *jsonNs = now;
                offset += ssize_t(sizeof(inotify_event) + event->len);
            }
        }
        return true;
    }

private:
    int mFd;
};

double msBetween(int64_t fromNs, int64_t toNs)
{
    return double(toNs - fromNs) / 1e6;
}

Run crashOneHost(const char* threads)
{
    QTemporaryDir folder;
    if (!folder.isValid())
        return failed(QStringLiteral("no temporary folder"));
    QProcess host;
    host.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    host.start(ProcessBench::selfPath(),
               {QString::fromLatin1(ProcessBench::kHostArgument), folder.path(), QString::fromLatin1(threads)});
    if (!host.waitForStarted(kStartTimeoutMs))
        return failed(QStringLiteral("host did not start: ") + host.errorString());
    const QMap<QString, QString> ready = ProcessBench::words(ProcessBench::readLine(host, kStartTimeoutMs));
    if (!ready.contains(QStringLiteral("rss_kb"))) {
        host.kill();
        host.waitForFinished();
        return failed(QStringLiteral("host did not get ready"));
    }

    // The service made the folder when it started; the handler makes the files.
    const QString crashes = folder.filePath(QStringLiteral("AppCenter/crashes"));
    Watch watch(crashes);
    if (!watch.ok()) {
        host.kill();
        host.waitForFinished();
        return failed(QStringLiteral("cannot watch ") + crashes);
    }
    host.write("g");
    host.waitForBytesWritten();
    int64_t dumpNs = 0;
    int64_t jsonNs = 0;
    const bool written = watch.waitForJson(&dumpNs, &jsonNs, kFilesTimeoutMs);
    const bool ended = host.waitForFinished(kFilesTimeoutMs);
    const int64_t exitNs = ProcessBench::monotonicNs();
    if (!ended) {
        host.kill();
        host.waitForFinished();
        return failed(QStringLiteral("host did not end after its crash"));
    }
    if (!written)
        return failed(QStringLiteral("no crash record within the time limit"));
    if (host.exitStatus() != QProcess::CrashExit)
        return failed(QStringLiteral("host did not crash"));
    const QMap<QString, QString> stamp = ProcessBench::words(QString::fromUtf8(host.readAllStandardOutput()));
    bool stamped = false;
    const int64_t faultNs = stamp.value(QStringLiteral("stamp")).toLongLong(&stamped);
    if (!stamped)
        return failed(QStringLiteral("no stamp from the crashing thread"));

    const QFileInfoList dumps = QDir(crashes).entryInfoList({QStringLiteral("*.dmp")}, QDir::Files);
    const QFileInfoList records = QDir(crashes).entryInfoList({QStringLiteral("*.json")}, QDir::Files);
    if (dumps.size() != 1 || records.size() != 1)
        return failed(QStringLiteral("expected one .dmp and one .json in ") + crashes);
    QFile dumpFile(dumps.first().filePath());
    QFile recordFile(records.first().filePath());
    if (!dumpFile.open(QIODevice::ReadOnly) || !recordFile.open(QIODevice::ReadOnly))
        return failed(QStringLiteral("crash files unreadable"));
    const QByteArray dumpBytes = dumpFile.readAll();
    const MinidumpReader dump(dumpBytes.toStdString());
    if (!dump.hasValidHeader())
        return failed(QStringLiteral("the .dmp is not a minidump"));
    const QByteArray record = recordFile.readAll();
    if (QJsonDocument::fromJson(record).isNull())
        return failed(QStringLiteral("the .json is not JSON"));

    Run run;
    run.filesMs = msBetween(faultNs, jsonNs);
    run.dumpMs = msBetween(faultNs, dumpNs != 0 ? dumpNs : jsonNs);
    run.exitMs = msBetween(faultNs, exitNs);
    run.dumpBytes = double(dumpBytes.size());
    run.jsonBytes = double(record.size());
    run.dumpThreads = double(dump.threads().size());
    run.hostRssMib = ready.value(QStringLiteral("rss_kb")).toDouble() / 1024.0;
    return run;
}

// `threads`: kIdle or kBusy, what the host's other threads do.
void BM_CrashHandler(benchmark::State& state, const char* threads)
{
    std::vector<Run> runs;
    for (auto _ : state) {
        Run run = crashOneHost(threads);
        if (!run.error.isEmpty()) {
            state.SkipWithError(run.error.toUtf8().constData());
            break;
        }
        state.SetIterationTime(run.filesMs / 1000.0);
        runs.push_back(run);
    }
    if (runs.empty())
        return;
    auto figure = [&runs](double Run::*field) {
        std::vector<double> values;
        for (const Run& run : runs)
            values.push_back(run.*field);
        return values;
    };
    using ProcessBench::percentile;
    state.counters["median_ms"] = percentile(figure(&Run::filesMs), 50);
    state.counters["p99_ms"] = percentile(figure(&Run::filesMs), 99);
    state.counters["dump_closed_median_ms"] = percentile(figure(&Run::dumpMs), 50);
    state.counters["dump_closed_p99_ms"] = percentile(figure(&Run::dumpMs), 99);
    state.counters["process_ended_median_ms"] = percentile(figure(&Run::exitMs), 50);
    state.counters["process_ended_p99_ms"] = percentile(figure(&Run::exitMs), 99);
    state.counters["dump_bytes"] = percentile(figure(&Run::dumpBytes), 50);
    state.counters["dump_max_bytes"] = percentile(figure(&Run::dumpBytes), 100);
    state.counters["record_bytes"] = percentile(figure(&Run::jsonBytes), 50);
    state.counters["dump_threads"] = percentile(figure(&Run::dumpThreads), 50);
    state.counters["host_rss_mb"] = percentile(figure(&Run::hostRssMib), 50);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 4 && std::strcmp(argv[1], ProcessBench::kHostArgument) == 0)
        return runHost(argc, argv);

    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    for (const char* threads : {kIdle, kBusy}) {
        benchmark::RegisterBenchmark((std::string("BM_CrashHandler/") + threads).c_str(), BM_CrashHandler, threads)
            ->Iterations(ProcessBench::quick() ? kQuickRuns : kRuns)
            ->UseManualTime()
            ->Unit(benchmark::kMillisecond);
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
