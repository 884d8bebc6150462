#pragma once

// CRASH-TIME FILE. Rules for everything that runs on the crashing thread:
//   - no heap allocation (all memory is reserved by the constructor),
//   - no Qt, no locks, no stdio, no C++ exceptions, no thread-local state,
//   - only async-signal-safe calls: raw system calls and the plain memory and
//     string functions that POSIX lists as async-signal-safe.
// The constructor and destructor run at start-up and are ordinary code.

#include <csignal>
#include <cstddef>
#include <ucontext.h>

// Writes a minidump of the calling process, Linux flavour, for a crash that a
// signal handler caught: system information with the Linux platform id, the
// crashing thread with its full AMD64 context and stack memory, the mapped ELF
// modules with their build ids, the exception (signal, si_code, fault
// address) and raw copies of /proc/self/status, cmdline, auxv and maps. The
// environment is never written: it may hold secrets.
//
// Only the crashing thread is recorded. Capturing the other threads' registers
// needs ptrace from a helper process (Breakpad's approach), which is more than
// this in-process handler should attempt while the process is compromised.
//
// Thread safety: write() uses one scratch area and must not run on two threads
// at once; the crash handler guarantees that by letting only the first crash
// through.
class MinidumpWriterLinux {
public:
    // Start-up. Reserves the scratch memory and notes the facts that cannot be
    // asked for safely at crash time. On allocation failure the writer is not
    // usable and write() refuses.
    MinidumpWriterLinux();
    // Start-up. Must not run while a crash may be in write().
    ~MinidumpWriterLinux();

    MinidumpWriterLinux(const MinidumpWriterLinux&) = delete;
    MinidumpWriterLinux& operator=(const MinidumpWriterLinux&) = delete;

    // Any thread: whether the scratch memory was reserved.
    bool isUsable() const;

    // Crashing thread, inside the signal handler. Writes the whole dump to
    // `fd`, an empty file open for writing, for the signal described by
    // `signalNumber`, `info` and `context` (the handler's own arguments).
    // Returns false if any part could not be written; the file is then
    // incomplete and the caller should delete it. Memory that cannot be read
    // (an unmapped stack page) is written as zeros and is not a failure.
    bool write(int fd, int signalNumber, const siginfo_t& info, const ucontext_t& context);

    // Upper bound of the stack bytes recorded for the crashing thread.
    static constexpr std::size_t kMaxStackBytes = 256 * 1024;
    // Most modules listed; a process with more lists the first ones.
    static constexpr std::size_t kMaxModules = 1024;

private:
    struct Scratch;
    Scratch* mScratch = nullptr;
    unsigned mProcessorCount = 0;
};
