#pragma once

// What crash_victim and its tests agree on: the crash record it prepares, the
// session its files are named after, and how it is asked to crash.
//
//   crash_victim <mode> <directory> [extra arguments, ignored]
//
// It prepares <directory>/<kVictimSession>.dmp and .json with kVictimCrashJson,
// installs the crash handler, prints "prepared=<0|1>" and
// "stamp=<steady clock, ns>" (the moment just before the crash) on standard
// output, and crashes as the mode says.

namespace CrashVictim {

constexpr char kSession[] = "3f2c9a1e-8d41-4b7a-9c0e-5a6b7c8d9e0f";

// Compact, no trailing newline, with non-ASCII bytes so that a transcoding
// slip would show.
constexpr char kCrashJson[] =
    "{\"appLaunchTimestamp\":\"2024-05-01T10:00:00.000Z\",\"device\":{\"locale\":\"de_DE\",\"model\":\"Z\xC3\xBCrich "
    "Workstation\"},\"errorThreadName\":\"main\",\"fatal\":true,\"id\":\"8b7a6c5d-4e3f-4a2b-9c1d-0e1f2a3b4c5d\","
    "\"process\":\"crash_victim\",\"timestamp\":\"2024-05-01T10:00:00.000Z\",\"type\":\"managedError\"}";

// Modes.
constexpr char kNullWrite[] = "null-write";         // SIGSEGV at address 0
constexpr char kAbort[] = "abort";                  // abort(): SIGABRT
constexpr char kDivideByZero[] = "divide-by-zero";  // integer division: SIGFPE
constexpr char kIllegal[] = "illegal";              // ud2: SIGILL
constexpr char kBusError[] = "bus-error";           // a page past the end of a mapped file: SIGBUS
constexpr char kBreakpoint[] = "breakpoint";        // int3: SIGTRAP
constexpr char kBadSystemCall[] = "bad-system-call"; // raise(SIGSYS)
constexpr char kTerminate[] = "terminate";          // an exception leaves a noexcept function: SIGABRT
constexpr char kSecondThread[] = "second-thread";   // null write on a thread of its own
constexpr char kTwoThreads[] = "two-threads";       // two threads null-write at the same moment
constexpr char kStackOverflow[] = "stack-overflow"; // unbounded recursion on the main thread
constexpr char kInstallTwice[] = "install-twice";   // install() twice, then a null write
constexpr char kRecovered[] = "recovered";          // an earlier SIGSEGV handler siglongjmp's out: exit 0
constexpr char kPreviousReturns[] = "previous-returns"; // an earlier handler returns; it leaves a marker file
constexpr char kLongPaths[] = "long-paths";         // both paths longer than the capacity
constexpr char kLongDumpPath[] = "long-dump-path";  // only the dump path too long
constexpr char kDumpFails[] = "dump-fails";         // a file size limit makes the dump write fail
constexpr char kForkedChild[] = "forked-child";     // a child forked without exec null-writes; the
                                                    // victim prints "child-signal=<n>" and exits 0

// Written by the earlier handler in kPreviousReturns mode: whether the dump
// existed yet when it ran.
constexpr char kPreviousMarkerFile[] = "previous-handler-ran";

} // namespace CrashVictim
