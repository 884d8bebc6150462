// What arming crash reporting costs the host on its GUI thread, in its two
// steps: ZpCrashReportStartup (through its storage-folder form, as hosts that
// keep their data in a folder of their own call it), and the launch event the
// host posts once its main window is up, on which the "Crashes" service starts
// (App Center client and store opened, this run's crash files prepared, the
// crash handler installed, earlier runs' crash files looked for).
//
// Cold: a new storage folder each time. Warm: one folder that an earlier run
// left its store (a hundred pending logs) and crash folder in, without crash
// files, so no dialog comes up. The process-wide state (App Center client,
// crash-report controller, "Crashes" service) is reset between calls, as in a
// new process; the crash handler, installed once per process, stays, so only
// the first launch of the program pays for its installation. The first
// startup and launch of the process are therefore timed once in main(), before
// the benchmarks, and reported apart (first_us of the cold benchmarks).
//
// Sends go to the loopback port 9, where nothing listens; the send that
// opening the store starts runs on the pool beside the timed call and is
// waited for before the next. Figures per call, steady clock: median_us and
// p99_us (nearest rank); the time column is their mean.
#include "ZpToolboxLite.h"

#include "AppCenter/AppCenter.h"
#include "AppCenter/AppCenterQueue.h"
#include "CallTimes.h"
#include "CrashReport/CrashReportController.h"

#include <ZpQtCoreLite/ZpQtStringUtils.h>
#include <ZpWidgetsLite/ZpAppDidFinishLaunchingEvent.h>

#include "BenchHost.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QJsonObject>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThreadPool>

namespace {

// Calls timed per benchmark; each makes a store, so fewer than for tracking.
constexpr int64_t kCalls = 50;



// As in a new process, with the pool's send (if any) finished.
void resetProcessState()
{
    ZpCrashReportShutdown();
    CrashReportController::resetForTesting();
    AppCenter::resetForTesting();
    QThreadPool::globalInstance()->waitForDone();
}

void startup(CFURLRef folder)
{
    ZpCrashReportStartupWithUserAppDataPath(CFSTR("user-1"), kZpProductDelta, 0, 3, false, folder);
}

void launch()
{
    ZpAppDidFinishLaunchingEvent launched(nullptr);
    QCoreApplication::sendEvent(qApp, &launched);
}

// A folder as an earlier run leaves it: the store with a hundred pending
// logs, the crash folder without crash files.
void runEarlierSession(const QString& folder)
{
    resetProcessState();
    CFURLRef url = BenchHost::newFolderUrl(folder);
    startup(url);
    launch();
    CFRelease(url);
    if (std::shared_ptr<AppCenterQueue> queue = AppCenter::instance().queue()) {
        for (int i = 0; i < 100; ++i) {
            QJsonObject log{{"type", "event"}, {"name", "Crop"}};
            queue->enqueue(log, QString());
        }
    }
    resetProcessState();
}

enum Step { kStartup, kLaunch, kStepCount };

// The first startup and the first launch of the process, in µs, taken in
// main() before any benchmark: the first launch installs the crash handler,
// the first startup sets up the identifier tables. -1 until measured.
double sFirstUs[kStepCount] = {-1, -1};

// One benchmark: `step` timed, the startup before a launch untimed.
void runCrashStartup(benchmark::State& state, Step step, bool warm)
{
    BenchHost::pointSendsNowhere();
    QTemporaryDir warmDir;
    if (warm)
        runEarlierSession(warmDir.path());
    CallTimes times(state.max_iterations);
    for (auto _ : state) {
        resetProcessState();
        QTemporaryDir coldDir;
        CFURLRef url = BenchHost::newFolderUrl(warm ? warmDir.path() : coldDir.path());
        if (step == kLaunch)
            startup(url);
        times.time(state, [&] { step == kStartup ? startup(url) : launch(); });
        CFRelease(url);
        const bool armed = CrashReportController::instance().eventFilter() != nullptr;
        const bool started = bool(AppCenter::instance().queue());
        if (!armed || (step == kLaunch && !started)) {
            state.SkipWithError(armed ? "the launch event did not start the service" : "startup did not arm");
            break;
        }
    }
    resetProcessState();
    times.report(state);
    if (!warm && sFirstUs[step] >= 0)
        state.counters["first_us"] = sFirstUs[step];
}

// Both steps once in a new folder, timed, before anything else of the process.
void measureFirstInProcess()
{
    BenchHost::pointSendsNowhere();
    QTemporaryDir dir;
    CFURLRef url = BenchHost::newFolderUrl(dir.path());
    sFirstUs[kStartup] = double(CallTimes::measure([&] { startup(url); })) / 1000.0;
    sFirstUs[kLaunch] = double(CallTimes::measure(launch)) / 1000.0;
    CFRelease(url);
    resetProcessState();
}

// ZpCrashReportStartup alone: identity kept, the product's app secret and
// bundle identifier looked up, the launch event filter installed.
void BM_CrashReportStartup(benchmark::State& state, bool warm)
{
    runCrashStartup(state, kStartup, warm);
}
BENCHMARK_CAPTURE(BM_CrashReportStartup, cold, false)
    ->Iterations(kCalls)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_CrashReportStartup, warm, true)
    ->Iterations(kCalls)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

// The launch event after ZpCrashReportStartup: the "Crashes" service's start.
void BM_CrashReportLaunch(benchmark::State& state, bool warm)
{
    runCrashStartup(state, kLaunch, warm);
}
BENCHMARK_CAPTURE(BM_CrashReportLaunch, cold, false)
    ->Iterations(kCalls)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_CrashReportLaunch, warm, true)
    ->Iterations(kCalls)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv)
{
    BenchHost::prepareProcess();
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    measureFirstInProcess();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
