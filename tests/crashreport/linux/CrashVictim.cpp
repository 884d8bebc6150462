// crash_victim: a program that installs the crash handler and then crashes in
// the way its first argument names (see CrashVictimProtocol.h). The tests run
// it as a child process and inspect what it leaves behind.
//
// The crashing functions are kept out of line (noinline, no sibling calls) so
// that each is a frame of its own in a backtrace.

#include "CrashReport/CrashCapture.h"
#include "CrashVictimProtocol.h"

#include <atomic>
#include <chrono>
#include <csetjmp>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

sigjmp_buf gRecoverPoint;
std::string gDumpPath;
std::string gMarkerPath;
std::atomic<int> gThreadsReady{0};

void recoveringHandler(int)
{
    siglongjmp(gRecoverPoint, 1);
}

// Runs before the crash handler, as a host's own handler would.
void markingHandler(int, siginfo_t*, void*)
{
    const char* state = access(gDumpPath.c_str(), F_OK) == 0 ? "dump-present" : "dump-absent";
    const int fd = open(gMarkerPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (fd >= 0) {
        const ssize_t written = write(fd, state, std::strlen(state));
        (void)written;
        close(fd);
    }
}

void installEarlierHandler(bool recovers)
{
    struct sigaction action;
    std::memset(&action, 0, sizeof(action));
    sigemptyset(&action.sa_mask);
    if (recovers) {
        action.sa_handler = recoveringHandler;
    } else {
        action.sa_sigaction = markingHandler;
        action.sa_flags = SA_SIGINFO;
    }
    sigaction(SIGSEGV, &action, nullptr);
}

void printLine(const std::string& line)
{
    std::fputs((line + "\n").c_str(), stdout);
    std::fflush(stdout);
}

void stampCrashMoment()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    printLine("stamp=" + std::to_string(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count()));
}

[[noreturn]] void thrower()
{
    throw std::runtime_error("leaves a noexcept function");
}

} // namespace

// Global, out-of-line functions, so that LLDB names them plainly. The faults
// that are undefined behaviour are kept from UndefinedBehaviorSanitizer (in a
// sanitizer build): it would end the process with its own report before the
// crash handler under test sees the signal.

__attribute__((noinline, no_sanitize("undefined"))) void crashByNullWrite()
{
    volatile int* volatile target = nullptr;
    *target = 42;
}

__attribute__((noinline)) void crashByAbort()
{
    std::abort();
}

__attribute__((noinline, no_sanitize("undefined"))) int crashByDivisionByZero(int numerator)
{
    volatile int zero = 0;
    return numerator / zero;
}

__attribute__((noinline)) void crashByIllegalInstruction()
{
    __builtin_trap();
}

__attribute__((noinline)) void crashByBusError(const std::string& directory)
{
    // A shared mapping of an empty file: touching its first page is SIGBUS.
    const std::string path = directory + "/bus-error.bin";
    const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
    void* page = mmap(nullptr, 4096, PROT_READ, MAP_SHARED, fd, 0);
    close(fd);
    unlink(path.c_str());
    const volatile char* bytes = static_cast<const volatile char*>(page);
    (void)bytes[0];
}

__attribute__((noinline)) void crashByBreakpoint()
{
    __asm__ volatile("int3");
}

__attribute__((noinline)) void crashByBadSystemCall()
{
    raise(SIGSYS);
}

__attribute__((noinline)) void crashByTerminate() noexcept
{
    thrower();
}

__attribute__((noinline)) void crashOnSecondThread()
{
    std::thread worker([] { crashByNullWrite(); });
    worker.join();
}

__attribute__((noinline)) void crashOnTwoThreadsAtOnce()
{
    auto crashTogether = [] {
        gThreadsReady.fetch_add(1);
        while (gThreadsReady.load() < 2) {
        }
        crashByNullWrite();
    };
    std::thread first(crashTogether);
    std::thread second(crashTogether);
    first.join();
    second.join();
}

// The child inherits the handler and the prepared paths, but not the session.
int crashInForkedChild()
{
    const pid_t child = fork();
    if (child == 0) {
        crashByNullWrite();
        _exit(3);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFSIGNALED(status))
        printLine("child-signal=" + std::to_string(WTERMSIG(status)));
    else
        printLine("child-exit=" + std::to_string(WEXITSTATUS(status)));
    return 0;
}

__attribute__((noinline)) int overflowStack(int depth)
{
    volatile char frame[4096];
    frame[0] = static_cast<char>(depth);
    if (depth >= 0)
        return overflowStack(depth + 1) + frame[0];
    return frame[0];
}

int main(int argc, char** argv)
{
    if (argc < 3) {
        std::fputs("usage: crash_victim <mode> <directory>\n", stderr);
        return 2;
    }
    const std::string mode = argv[1];
    const std::string directory = argv[2];

    std::string dumpPath = directory + "/" + CrashVictim::kSession + ".dmp";
    std::string jsonPath = directory + "/" + CrashVictim::kSession + ".json";
    const std::string tooLong = directory + "/" + std::string(CrashCapture::kPathCapacity, 'x');
    if (mode == CrashVictim::kLongPaths) {
        dumpPath = tooLong + ".dmp";
        jsonPath = tooLong + ".json";
    } else if (mode == CrashVictim::kLongDumpPath) {
        dumpPath = tooLong + ".dmp";
    }
    gDumpPath = dumpPath;
    gMarkerPath = directory + "/" + CrashVictim::kPreviousMarkerFile;

    if (mode == CrashVictim::kRecovered)
        installEarlierHandler(true);
    else if (mode == CrashVictim::kPreviousReturns)
        installEarlierHandler(false);

    const bool prepared = CrashCapture::prepare(dumpPath.c_str(), jsonPath.c_str(), CrashVictim::kCrashJson,
                                                sizeof(CrashVictim::kCrashJson) - 1);
    printLine(std::string("prepared=") + (prepared ? "1" : "0"));
    CrashCapture::install();
    if (mode == CrashVictim::kInstallTwice)
        CrashCapture::install();

    if (mode == CrashVictim::kDumpFails) {
        // Large enough for the crash record, far too small for a minidump.
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{4096, 4096};
        setrlimit(RLIMIT_FSIZE, &limit);
    }

    if (mode == CrashVictim::kRecovered && sigsetjmp(gRecoverPoint, 1) != 0) {
        printLine("recovered");
        return 0;
    }

    stampCrashMoment();
    if (mode == CrashVictim::kNullWrite || mode == CrashVictim::kRecovered || mode == CrashVictim::kPreviousReturns
        || mode == CrashVictim::kInstallTwice || mode == CrashVictim::kLongPaths || mode == CrashVictim::kLongDumpPath
        || mode == CrashVictim::kDumpFails)
        crashByNullWrite();
    else if (mode == CrashVictim::kAbort)
        crashByAbort();
    else if (mode == CrashVictim::kDivideByZero)
        crashByDivisionByZero(argc);
    else if (mode == CrashVictim::kIllegal)
        crashByIllegalInstruction();
    else if (mode == CrashVictim::kBusError)
        crashByBusError(directory);
    else if (mode == CrashVictim::kBreakpoint)
        crashByBreakpoint();
    else if (mode == CrashVictim::kBadSystemCall)
        crashByBadSystemCall();
    else if (mode == CrashVictim::kTerminate)
        crashByTerminate();
    else if (mode == CrashVictim::kSecondThread)
        crashOnSecondThread();
    else if (mode == CrashVictim::kTwoThreads)
        crashOnTwoThreadsAtOnce();
    else if (mode == CrashVictim::kStackOverflow)
        return overflowStack(argc);
    else if (mode == CrashVictim::kForkedChild)
        return crashInForkedChild();
    else
        return 2;
    printLine("survived");
    return 3;
}
