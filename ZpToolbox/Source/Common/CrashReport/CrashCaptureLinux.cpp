// CRASH-TIME FILE. The signal handler and everything it calls run on the
// crashing thread in a compromised process:
//   - no heap allocation, no Qt, no locks, no stdio, no C++ exceptions;
//   - only async-signal-safe calls (open, write, close, unlink, fchmod,
//     sigaction, pthread_sigmask, nanosleep, syscall) on memory that
//     prepare() filled in before the crash.
// prepare() and install() are start-up code and may allocate.
//
// Why the handler does so little. A crash can come from anywhere: the heap may
// be corrupt, another thread may hold malloc's lock or Qt's, the stack may be
// exhausted. Anything that allocates, locks or unwinds could hang or crash
// again and lose the report. So the paths, the finished crash record and the
// writer's working memory are all made ready at start-up, and at crash time the
// handler only copies bytes into two files with raw system calls:
//
//   signal ─► previous handler (may recover by jumping out: then we are done)
//          ─► first crash only: minidump file ─► crash record file
//          ─► default action restored, signal raised again: the process ends
//             exactly as it would have without us.
//
// Forks. A child forked without exec inherits the handler; its crash ends it
// as usual but writes nothing, because the prepared files belong to the
// parent's session.
//
// Stacks. The handler asks for the alternate signal stack (SA_ONSTACK) so that
// it can still run after a stack overflow. An alternate stack belongs to one
// thread, and a library cannot hook the creation of its host's threads, so
// install() gives one to the calling thread only (normally the main thread).
// Other threads run the handler on their own stack, which works for every
// crash except their own stack overflow; that one ends the process without
// files, as it would have without us. A host that sets up alternate stacks for
// its threads keeps them and gets the same protection there.

#include "CrashReport/CrashCapture.h"

#include "CrashReport/MinidumpWriterLinux.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <mutex>
#include <new>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr int kCrashSignals[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGTRAP, SIGSYS};
constexpr std::size_t kCrashSignalCount = sizeof(kCrashSignals) / sizeof(kCrashSignals[0]);
constexpr std::size_t kAlternateStackSize = 64 * 1024;
// How long a second crashing thread waits for the first one to finish the
// files and end the process before ending it itself.
constexpr int kWaitSteps = 100;
constexpr long kWaitStepNanoseconds = 100 * 1000 * 1000;

// What the handler needs, filled by prepare() on an ordinary thread before
// any crash. The JSON copy and the writer are deliberately never freed at exit:
// a crash during static destruction must still find them.
struct PreparedCrash {
    char dumpPath[CrashCapture::kPathCapacity];
    char jsonPath[CrashCapture::kPathCapacity];
    bool hasDumpPath = false;
    bool hasJsonPath = false;
    char* json = nullptr;
    std::size_t jsonSize = 0;
    MinidumpWriterLinux* writer = nullptr;
};

PreparedCrash gPrepared{};
// Set once gPrepared is complete; the handler reads nothing before seeing it.
std::atomic<bool> gPreparedReady{false};
// The process that prepared the files. A child forked without exec keeps our
// handler and the parent's paths; its crash is not this session's crash and
// must not overwrite or invent the parent's files.
std::atomic<pid_t> gPreparedProcess{0};

// The dispositions in place before install(), one per entry of kCrashSignals.
struct sigaction gPrevious[kCrashSignalCount];

// The thread that is writing the crash files: 0 until the first crash. Also
// tells a fault inside our own writing apart from a second thread's crash.
std::atomic<pid_t> gCrashingThread{0};
static_assert(std::atomic<pid_t>::is_always_lock_free, "used from a signal handler");

enum Phase : int { kIdle, kWritingDump, kWritingJson, kDone };
std::atomic<int> gPhase{kIdle};
// The signal of the crash being recorded; written by the first crashing thread
// before it can fault in our code.
std::atomic<int> gCrashSignal{0};

// Crashing thread.
pid_t currentThreadId()
{
    return static_cast<pid_t>(syscall(SYS_gettid));
}

// Crashing thread.
const struct sigaction* previousAction(int signalNumber)
{
    for (std::size_t i = 0; i < kCrashSignalCount; ++i) {
        if (kCrashSignals[i] == signalNumber)
            return &gPrevious[i];
    }
    return nullptr;
}

// Crashing thread. The mirror of calling the previous unhandled-exception
// filter on Windows. A handler that recovers (siglongjmp) never comes back;
// one that returns lets us record the crash.
void callPreviousHandler(int signalNumber, siginfo_t* info, void* context)
{
    const struct sigaction* previous = previousAction(signalNumber);
    if (previous == nullptr)
        return;
    const bool withInfo = (previous->sa_flags & SA_SIGINFO) != 0;
    const auto handler = previous->sa_handler; // shares storage with sa_sigaction
    if (handler == SIG_DFL || handler == SIG_IGN)
        return;
    // It runs with the mask it asked for, as if the kernel had called it.
    sigset_t saved;
    pthread_sigmask(SIG_BLOCK, &previous->sa_mask, &saved);
    if (withInfo)
        previous->sa_sigaction(signalNumber, info, context);
    else
        previous->sa_handler(signalNumber);
    pthread_sigmask(SIG_SETMASK, &saved, nullptr);
}

// Crashing thread. Blocks or unblocks all crash signals for this thread.
void setCrashSignalsBlocked(bool blocked)
{
    sigset_t set;
    sigemptyset(&set);
    for (int signalNumber : kCrashSignals)
        sigaddset(&set, signalNumber);
    pthread_sigmask(blocked ? SIG_BLOCK : SIG_UNBLOCK, &set, nullptr);
}

// Crashing thread. Creates or truncates a user-only file; fchmod also fixes
// the mode of a file that existed already or that the umask narrowed.
int openPrivateFile(const char* path)
{
    const int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (fd >= 0)
        fchmod(fd, S_IRUSR | S_IWUSR);
    return fd;
}

// Crashing thread. The prepared crash record, in one write. A record that is
// not complete is removed: the next start would not be able to read it.
void writeJsonFile()
{
    if (!gPrepared.hasJsonPath)
        return;
    const int fd = openPrivateFile(gPrepared.jsonPath);
    if (fd < 0)
        return;
    static const char kNothing = 0;
    const char* bytes = gPrepared.json != nullptr ? gPrepared.json : &kNothing;
    ssize_t written = 0;
    do {
        written = write(fd, bytes, gPrepared.jsonSize);
    } while (written < 0 && errno == EINTR);
    bool ok = written >= 0 && static_cast<std::size_t>(written) == gPrepared.jsonSize;
    if (close(fd) != 0)
        ok = false;
    if (!ok)
        unlink(gPrepared.jsonPath);
}

// Crashing thread, first crash only. The minidump, then the crash record; as
// on Windows, a dump that fails is deleted and the record is still written.
void writeCrashFiles(int signalNumber, const siginfo_t& info, const ucontext_t& context)
{
    if (!gPreparedReady.load(std::memory_order_acquire) || gPreparedProcess.load() != getpid())
        return;
    gPhase.store(kWritingDump);
    MinidumpWriterLinux* writer = gPrepared.writer;
    if (gPrepared.hasDumpPath && writer != nullptr && writer->isUsable()) {
        const int fd = openPrivateFile(gPrepared.dumpPath);
        if (fd >= 0) {
            bool written = writer->write(fd, signalNumber, info, context);
            if (close(fd) != 0)
                written = false;
            if (!written)
                unlink(gPrepared.dumpPath);
        }
    }
    gPhase.store(kWritingJson);
    writeJsonFile();
    gPhase.store(kDone);
}

// Crashing thread. Restores the default action and sends the signal again to
// this thread. It is held blocked until the handler returns; the kernel then
// restores the interrupted context with a mask that lets it through, so the
// process ends by this signal with the registers of the crash (as a core dump
// would show them), whether the signal came from a fault or from raise().
void endProcess(int signalNumber, ucontext_t* context)
{
    struct sigaction defaultAction;
    std::memset(&defaultAction, 0, sizeof(defaultAction));
    defaultAction.sa_handler = SIG_DFL;
    sigemptyset(&defaultAction.sa_mask);
    sigaction(signalNumber, &defaultAction, nullptr);

    sigset_t only;
    sigemptyset(&only);
    sigaddset(&only, signalNumber);
    pthread_sigmask(SIG_BLOCK, &only, nullptr);
    sigdelset(&context->uc_sigmask, signalNumber);
    syscall(SYS_tgkill, getpid(), currentThreadId(), signalNumber);
}

// Crashing thread, when our own file writing faulted on the thread that owns
// the crash. An unfinished dump is dropped and the record still written, as
// when the dump fails; an unfinished record is dropped.
void finishAfterOwnFault(ucontext_t* context)
{
    const int phase = gPhase.load();
    if (phase == kWritingDump) {
        unlink(gPrepared.dumpPath);
        gPhase.store(kWritingJson);
        writeJsonFile();
        gPhase.store(kDone);
    } else if (phase == kWritingJson) {
        unlink(gPrepared.jsonPath);
        gPhase.store(kDone);
    }
    endProcess(gCrashSignal.load(), context);
}

// Crashing thread. A second thread crashed while the first writes the files:
// it must not touch them. The first one ends the process; this waits for that,
// and only if it never comes (the first is stuck) ends the process itself.
void waitForFirstCrash()
{
    for (int step = 0; step < kWaitSteps; ++step) {
        timespec pause{0, kWaitStepNanoseconds};
        nanosleep(&pause, nullptr);
    }
}

// Crashing thread: the handler for every signal in kCrashSignals.
void onCrashSignal(int signalNumber, siginfo_t* info, void* rawContext)
{
    auto* context = static_cast<ucontext_t*>(rawContext);
    const pid_t self = currentThreadId();
    if (gCrashingThread.load() == self) {
        finishAfterOwnFault(context);
        return;
    }

    callPreviousHandler(signalNumber, info, rawContext);

    pid_t nobody = 0;
    if (!gCrashingThread.compare_exchange_strong(nobody, self)) {
        waitForFirstCrash();
        endProcess(signalNumber, context);
        return;
    }
    gCrashSignal.store(signalNumber);
    // From here a fault in our own code must come back to this handler (and
    // be recognised by gCrashingThread) instead of killing the process with
    // the crash record unwritten.
    setCrashSignalsBlocked(false);
    writeCrashFiles(signalNumber, *info, *context);
    endProcess(signalNumber, context);
}

// Start-up. Copies a NUL-terminated path if it fits, terminator included.
bool copyPath(const char* path, char* destination)
{
    destination[0] = '\0';
    if (path == nullptr)
        return false;
    const std::size_t length = strnlen(path, CrashCapture::kPathCapacity);
    if (length == 0 || length >= CrashCapture::kPathCapacity)
        return false;
    std::memcpy(destination, path, length + 1);
    return true;
}

// Start-up, on the thread that calls install(). Keeps an alternate stack the
// host already set up; otherwise maps one with a guard page below it so that
// overrunning it faults instead of overwriting other memory. It stays mapped
// for the life of the process.
void installAlternateStack()
{
    stack_t current;
    if (sigaltstack(nullptr, &current) == 0 && (current.ss_flags & SS_DISABLE) == 0)
        return;
    const long pageSize = sysconf(_SC_PAGESIZE);
    const std::size_t page = pageSize > 0 ? static_cast<std::size_t>(pageSize) : 4096;
    std::size_t size = kAlternateStackSize;
    const long minimum = sysconf(_SC_SIGSTKSZ);
    if (minimum > 0)
        size = std::max(size, static_cast<std::size_t>(minimum));
    size = (size + page - 1) / page * page;
    void* memory = mmap(nullptr, size + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        return;
    mprotect(memory, page, PROT_NONE);
    stack_t stack{};
    stack.ss_sp = static_cast<char*>(memory) + page;
    stack.ss_size = size;
    stack.ss_flags = 0;
    if (sigaltstack(&stack, nullptr) != 0)
        munmap(memory, size + page);
}

} // namespace

// Start-up.
bool CrashCapture::prepare(const char* dumpPath, const char* jsonPath, const char* json, std::size_t jsonSize)
{
    gPreparedReady.store(false, std::memory_order_release);

    const bool dumpFits = copyPath(dumpPath, gPrepared.dumpPath);
    const bool jsonFits = copyPath(jsonPath, gPrepared.jsonPath);
    gPrepared.hasDumpPath = dumpFits;
    gPrepared.hasJsonPath = jsonFits;

    delete[] gPrepared.json;
    gPrepared.json = nullptr;
    gPrepared.jsonSize = 0;
    if (json != nullptr && jsonSize > 0) {
        gPrepared.json = new (std::nothrow) char[jsonSize];
        if (gPrepared.json != nullptr) {
            std::memcpy(gPrepared.json, json, jsonSize);
            gPrepared.jsonSize = jsonSize;
        } else {
            gPrepared.hasJsonPath = false; // better no record than a wrong one
        }
    }

    if (gPrepared.writer == nullptr)
        gPrepared.writer = new (std::nothrow) MinidumpWriterLinux;

    gPreparedProcess.store(getpid());
    gPreparedReady.store(true, std::memory_order_release);
    return dumpFits && jsonFits;
}

// Start-up.
void CrashCapture::install()
{
    static std::once_flag once;
    std::call_once(once, [] {
        installAlternateStack();
        struct sigaction action;
        std::memset(&action, 0, sizeof(action));
        action.sa_sigaction = onCrashSignal;
        action.sa_flags = SA_SIGINFO | SA_ONSTACK;
        sigemptyset(&action.sa_mask);
        for (std::size_t i = 0; i < kCrashSignalCount; ++i) {
            // Read the previous disposition before replacing it, so that a
            // crash on another thread right after the replacement finds it.
            sigaction(kCrashSignals[i], nullptr, &gPrevious[i]);
            sigaction(kCrashSignals[i], &action, nullptr);
        }
    });
}
