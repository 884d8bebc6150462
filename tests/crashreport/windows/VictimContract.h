#pragma once

// What the crash victim and the test that runs it agree on: the session whose
// files the victim writes, the JSON it prepares, its modes and the lines it
// prints. Plain C++, so that both the mingw-w64 victim and the host test
// include it.

#include <cstddef>

namespace Victim {

// This run's session identifier, as Crashes::start names the files after it.
constexpr char kSession[] = "3f2c9a1e-8d41-4b7a-9c0e-5a6b7c8d9e0f";

// The prepared crash JSON: compact, no trailing newline, with non-ASCII UTF-8
// so that the bytes, not just the text, have to come back unchanged.
constexpr char kCrashJson[] =
    "{\"appLaunchTimestamp\":\"2024-05-01T10:00:00.123Z\",\"architecture\":\"x64\","
    "\"exception\":{\"type\":\"EXCEPTION_ACCESS_VIOLATION\",\"wrapperSdkName\":\"appcenter.wpf\"},"
    "\"fatal\":true,\"id\":\"9b1d2e34-5f60-4a7b-8c9d-0e1f2a3b4c5d\",\"processId\":4242,"
    "\"processName\":\"Zp \xc3\x89" "dition \xe5\x86\x99\xe7\x9c\x9f.exe\",\"type\":\"managedError\"}";
constexpr std::size_t kCrashJsonSize = sizeof(kCrashJson) - 1;

// A JSON that a later prepare() must replace.
constexpr char kStaleJson[] = "{\"stale\":true}";

// Modes: argv[2]. argv[1] is the directory (a Windows path) of the two files.
constexpr char kCrash[] = "crash";                           // null write on the main thread
constexpr char kCrashOnThread[] = "crash-on-thread";         // null write on a second thread
constexpr char kInstallTwice[] = "install-twice";            // install() twice, then crash
constexpr char kPrepareTwice[] = "prepare-twice";            // a second prepare() without a dump path
constexpr char kPreviousContinues[] = "previous-continues";  // previous filter skips the faulting store, -1
constexpr char kPreviousContinuesRaise[] = "previous-continues-raise"; // RaiseException, previous -1
constexpr char kPreviousSearches[] = "previous-searches";     // previous filter returns 0
constexpr char kPreviousExecutes[] = "previous-executes";     // previous filter returns 1

// The software exception raised in kPreviousContinuesRaise.
constexpr unsigned long kSoftwareException = 0xE05A5001ul;

// Lines on standard output, each ending in '\n'.
constexpr char kPreparedLine[] = "prepared ";        // + 1 or 0: what prepare() returned
constexpr char kMainThreadLine[] = "main-thread ";   // + the main thread's id
constexpr char kCrashThreadLine[] = "crash-thread "; // + the id of the thread about to crash
constexpr char kCrashAtLine[] = "crash-at ";         // + FILETIME (100 ns since 1601, UTC) just before
constexpr char kPreviousLine[] = "previous-called "; // + dump-absent / dump-present, from the previous filter
constexpr char kContinuedLine[] = "continued";       // execution went on after the exception

} // namespace Victim
