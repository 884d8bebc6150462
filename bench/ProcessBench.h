#pragma once

// What the whole-process benchmarks share: each runs a fresh copy of its own
// program as a "host" child (so that nothing the benchmark process loaded or
// allocated pollutes the figure) and reads what the child reports on its
// standard output, one "key=value" word per figure.
//
// Parent side: the benchmark's main thread only. Host side: the child's main
// (GUI) thread, unless a function says otherwise.

#include <CoreFoundation/CoreFoundation.h>

#include <QMap>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <vector>

namespace ProcessBench {

// The first argument that turns a benchmark program into its host child.
constexpr char kHostArgument[] = "--host";

// ZP_BENCH_QUICK set and not "0": fewer runs, for smoke tests of the
// benchmark machinery. The figures of a quick run are not the ones to quote.
bool quick();

// CLOCK_MONOTONIC in nanoseconds: one clock for every process of the
// machine, so a stamp taken in the child compares with one taken here.
// Async-signal-safe.
int64_t monotonicNs();

// Nearest-rank percentile (0..100) of `values`; 0 when there are none.
// With up to 50 values the 99th percentile is the largest.
double percentile(std::vector<double> values, double percent);

// The host's side of start-up: the offscreen platform unless the
// environment names another, Qt's test locations, and sends pointed at the
// loopback port 9, where nothing listens, so nothing leaves the machine.
// Call before the application object exists.
void prepareHostEnvironment();

// The kilobyte fields of /proc/self/status ("VmRSS", "VmHWM", "RssAnon",
// ...) by name; empty if the file cannot be read. Any thread.
QMap<QString, qint64> statusKilobytes();

// Reads the next line the child writes, waiting up to `timeoutMs`; empty
// when the child wrote none in time or ended.
QString readLine(QProcess& child, int timeoutMs);

// "key=value" words of `line` (other words ignored).
QMap<QString, QString> words(const QString& line);

// The benchmark program itself, for running its host child.
QString selfPath();

} // namespace ProcessBench
