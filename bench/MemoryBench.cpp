// The memory the library adds to a host: resident set (VmRSS), its peak
// (VmHWM) and the anonymous part of it (RssAnon, the heap and stacks, without
// mapped files), read from /proc/self/status of a fresh host child at three
// moments:
//   baseline  the QApplication is up (the library is loaded, nothing started)
//   startup   ZpCrashReportStartupWithUserAppDataPath, ZpAnalyticsStartup-
//             UserAppDataPath and the launch event done, the first send (to
//             the loopback port 9, where nothing listens) failed
//   track     after 100,000 ZpAnalyticsTrackFeature calls
// The counters are the medians over the runs of: the resident baseline, each
// step's growth over the moment before it, and the total growth over the
// baseline, in MiB (2^20 bytes, which "_mb" means in every counter of
// bench/). The benchmark's time is the wall time of the 100,000 calls.
//
// Each run is a child process of its own (this program with --host
// <folder>), so nothing of the benchmark program is counted. Run by hand,
// `zp_memory_bench --host <folder> <events>` tracks another number of events
// and prints the three moments' lines (kB).
#include "BenchHost.h"
#include "ProcessBench.h"

#include "ZpToolboxLite.h"

#include <ZpWidgetsLite/ZpAppDidFinishLaunchingEvent.h>

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QTemporaryDir>
#include <QThreadPool>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <vector>

namespace {

constexpr int kTrackedEvents = 100000;
constexpr int kRuns = 3;
constexpr int kQuickRuns = 1;
constexpr int kHostTimeoutMs = 300000; // liveness only

const char* const kMoments[] = {"baseline", "startup", "track"};
// A field of /proc/self/status and the prefix of its counters.
struct Field {
    const char* status;
    const char* counter;
    bool withBaseline; // the baseline itself is a figure too
};
const Field kFields[] = {{"VmRSS", "rss", true}, {"VmHWM", "hwm", false}, {"RssAnon", "anon", false}};

// ---- Host child -------------------------------------------------------------

// One line per moment: "<moment> VmRSS=<kB> VmHWM=<kB> RssAnon=<kB> ...".
void reportMoment(const char* moment, const QString& extra = QString())
{
    const QMap<QString, qint64> status = ProcessBench::statusKilobytes();
    QString line = QString::fromLatin1(moment);
    for (const Field& field : kFields) {
        const QLatin1String name(field.status);
        line += QStringLiteral(" %1=%2").arg(name).arg(status.value(name, -1));
    }
    if (!extra.isEmpty())
        line += QLatin1Char(' ') + extra;
    std::printf("%s\n", qPrintable(line));
    std::fflush(stdout);
}

// Main (GUI) thread of the child.
int runHost(int argc, char** argv)
{
    ProcessBench::prepareHostEnvironment();
    QApplication app(argc, argv);
    QCoreApplication::processEvents();
    reportMoment(kMoments[0]);

    CFURLRef url = BenchHost::newFolderUrl(QString::fromLocal8Bit(argv[2]));
    ZpCrashReportStartupWithUserAppDataPath(CFSTR("bench-user"), kZpProductDelta, 0, 3, false, url);
    ZpAnalytics* analytics = ZpAnalyticsCreate();
    ZpAnalyticsStartupUserAppDataPath(analytics, kZpProductDelta, 0, 3, url);
    CFRelease(url);
    ZpAppDidFinishLaunchingEvent launched(nullptr);
    QCoreApplication::sendEvent(&app, &launched);
    QThreadPool::globalInstance()->waitForDone();
    QCoreApplication::processEvents();
    reportMoment(kMoments[1]);

    const int events = argc > 3 ? std::atoi(argv[3]) : kTrackedEvents;
    const int64_t start = ProcessBench::monotonicNs();
    for (int i = 0; i < events; ++i)
        ZpAnalyticsTrackFeature(analytics, CFSTR("Crop"));
    const int64_t end = ProcessBench::monotonicNs();
    reportMoment(kMoments[2], QStringLiteral("track_ns=%1").arg(end - start));

    ZpAnalyticsShutdown(analytics);
    ZpAnalyticsRelease(analytics);
    ZpCrashReportShutdown();
    QThreadPool::globalInstance()->waitForDone();
    return 0;
}

// ---- Parent -----------------------------------------------------------------

// The words of the three moments' lines, in kMoments order; empty on failure.
std::vector<QMap<QString, QString>> measureOneHost(QString* error)
{
    QTemporaryDir folder;
    QProcess host;
    host.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    host.start(ProcessBench::selfPath(), {QString::fromLatin1(ProcessBench::kHostArgument), folder.path()});
    if (!host.waitForFinished(kHostTimeoutMs) || host.exitStatus() != QProcess::NormalExit || host.exitCode() != 0) {
        host.kill();
        host.waitForFinished();
        *error = QStringLiteral("host failed: ") + host.errorString();
        return {};
    }
    std::vector<QMap<QString, QString>> moments;
    for (const QString& line : QString::fromUtf8(host.readAllStandardOutput()).split(QLatin1Char('\n'))) {
        const size_t next = moments.size();
        if (next < std::size(kMoments) && line.startsWith(QLatin1String(kMoments[next]) + QLatin1Char(' ')))
            moments.push_back(ProcessBench::words(line));
    }
    if (moments.size() != std::size(kMoments)) {
        *error = QStringLiteral("host reported %1 of 3 moments").arg(moments.size());
        return {};
    }
    return moments;
}

double mib(const QMap<QString, QString>& moment, const char* field)
{
    return moment.value(QLatin1String(field)).toDouble() / 1024.0;
}

void BM_HostMemory(benchmark::State& state)
{
    // counter name -> one value per run
    QMap<QString, std::vector<double>> figures;
    for (auto _ : state) {
        QString error;
        const std::vector<QMap<QString, QString>> moments = measureOneHost(&error);
        if (moments.empty()) {
            state.SkipWithError(error.toUtf8().constData());
            break;
        }
        const double trackNs = moments[2].value(QStringLiteral("track_ns")).toDouble();
        state.SetIterationTime(trackNs * 1e-9);
        for (const Field& field : kFields) {
            const QString name = QString::fromLatin1(field.counter);
            const double baseline = mib(moments[0], field.status);
            const double started = mib(moments[1], field.status);
            const double tracked = mib(moments[2], field.status);
            if (field.withBaseline)
                figures[name + QStringLiteral("_baseline_mb")].push_back(baseline);
            figures[name + QStringLiteral("_startup_delta_mb")].push_back(started - baseline);
            figures[name + QStringLiteral("_track_delta_mb")].push_back(tracked - started);
            figures[name + QStringLiteral("_total_delta_mb")].push_back(tracked - baseline);
        }
    }
    for (auto it = figures.cbegin(); it != figures.cend(); ++it)
        state.counters[it.key().toStdString()] = ProcessBench::percentile(it.value(), 50);
    state.counters["tracked_events"] = kTrackedEvents;
}

} // namespace

int main(int argc, char** argv)
{
    if ((argc == 3 || argc == 4) && std::strcmp(argv[1], ProcessBench::kHostArgument) == 0)
        return runHost(argc, argv);

    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RegisterBenchmark("BM_HostMemory", BM_HostMemory)
        ->Iterations(ProcessBench::quick() ? kQuickRuns : kRuns)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
