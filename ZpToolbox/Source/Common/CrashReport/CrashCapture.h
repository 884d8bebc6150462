#pragma once

// The crash-time core's interface: what must be ready before a crash, and the
// installation of the process-wide crash handler.
//
// Everything here is free of Qt and of heap allocation at crash time. The
// preparation functions run at start-up on an ordinary thread; the handler
// behind them runs on the crashing thread in a compromised process and only
// reads the storage filled here.

#include <cstddef>

#ifdef _WIN32
using CrashPathChar = wchar_t; // UTF-16, as CreateFileW takes it
#else
using CrashPathChar = char; // UTF-8 bytes, as open(2) takes them
#endif

namespace CrashCapture {

// Capacity of each path array, terminating NUL included.
#ifdef _WIN32
constexpr std::size_t kPathCapacity = 260;
#else
constexpr std::size_t kPathCapacity = 4096;
#endif

// Copies the two NUL-terminated native paths and the crash JSON bytes into
// fixed process-wide storage that the handler reads. A path that does not fit
// kPathCapacity is not stored: that file is then not written at crash time.
// Returns whether both paths fit. `json` is copied; the copy is made with the
// heap here, never at crash time. Not thread-safe with itself; call it before
// install() or while no crash can happen concurrently.
bool prepare(const CrashPathChar* dumpPath, const CrashPathChar* jsonPath, const char* json, std::size_t jsonSize);

// Installs the handler once per process and keeps whatever handler was in
// place before it, which the handler calls first. Later calls do nothing.
void install();

} // namespace CrashCapture
