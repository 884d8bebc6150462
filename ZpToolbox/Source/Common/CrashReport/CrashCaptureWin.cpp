// The Windows crash-time core: an unhandled-exception filter that writes this
// run's minidump and crash JSON.
//
// Rules for this file (crashExceptionFilter and everything it calls):
//   1. It runs on the crashing thread of a damaged process while other threads
//      may still run: the heap, the loader lock and any lock of ours may be
//      held by someone who will never release them.
//   2. So: no allocation, no Qt, no C++ library, no CRT stdio, no locks. Only
//      reads of the storage below and plain Win32 / dbghelp calls.
//   3. Everything the filter needs is prepared before the crash, by prepare(),
//      on an ordinary thread; the filter never computes a path or a byte.
// prepare() and install() are start-up code and may use the heap.
//
// The files' names come from Crashes::start (the session identifier). The
// next launch finds a crash by its ".json" file only, so the JSON is written
// even when the minidump could not be.

#include "CrashCapture.h"

#include <windows.h>

#include <dbghelp.h>

#include <atomic>
#include <cstring>
#include <cwchar>
#include <memory>
#include <new>
#include <utility>

namespace {

// Crash-time storage. An empty path (first unit NUL) means "not stored: do not
// write that file". Zero-initialised and without destructors, so it stays
// valid for a crash during static destruction.
wchar_t gDumpPath[CrashCapture::kPathCapacity];
wchar_t gJsonPath[CrashCapture::kPathCapacity];

// The finished crash JSON. Owned here and deliberately never freed except when
// a later prepare() replaces it: the filter may read it at any moment until
// the process is gone.
char* gJson = nullptr;
DWORD gJsonSize = 0;

// The filter that was in place before ours (may be null). Written once by
// install(), read by the filter.
LPTOP_LEVEL_EXCEPTION_FILTER gPreviousFilter = nullptr;
std::atomic<bool> gInstalled{false};

// Start-up context. Copies `path` into `slot` if it fits with its NUL;
// otherwise leaves `slot` empty so that the filter skips that file. Never
// reads past kPathCapacity units of `path`.
bool storePath(wchar_t (&slot)[CrashCapture::kPathCapacity], const wchar_t* path)
{
    slot[0] = L'\0';
    if (!path)
        return false;
    const std::size_t length = wcsnlen(path, CrashCapture::kPathCapacity);
    if (length == CrashCapture::kPathCapacity)
        return false;
    std::wmemcpy(slot, path, length + 1);
    return true;
}

// Crash-time context (rules above). Opens one of this run's crash files for
// writing, replacing an older one. Returns null when the path was not stored.
// Other failures come back as INVALID_HANDLE_VALUE, which callers do not tell
// apart from success: writes to it fail and the file simply does not appear.
HANDLE openCrashFile(const wchar_t* path)
{
    if (path[0] == L'\0')
        return nullptr;
    return CreateFileW(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                       CREATE_ALWAYS, 0, nullptr);
}

// Crash-time context (rules above), on the crashing thread. Installed by
// install() as the process's top-level filter.
LONG WINAPI crashExceptionFilter(EXCEPTION_POINTERS* exceptionInfo)
{
    // The filter we replaced goes first; if it repaired the fault, this is no
    // crash and must leave no trace.
    if (gPreviousFilter) {
        if (gPreviousFilter(exceptionInfo) == EXCEPTION_CONTINUE_EXECUTION)
            return EXCEPTION_CONTINUE_EXECUTION;
    }

    HANDLE dumpFile = openCrashFile(gDumpPath);
    if (dumpFile != nullptr) {
        MINIDUMP_EXCEPTION_INFORMATION exceptionParam;
        exceptionParam.ThreadId = GetCurrentThreadId();
        exceptionParam.ExceptionPointers = exceptionInfo;
        exceptionParam.ClientPointers = TRUE;
        const BOOL dumped = MiniDumpWriteDump(GetCurrentProcess(), GetCurrentProcessId(), dumpFile, MiniDumpNormal,
                                              &exceptionParam, nullptr, nullptr);
        CloseHandle(dumpFile);
        // A partial minidump would be sent as if it were whole.
        if (!dumped)
            DeleteFileW(gDumpPath);
    }

    HANDLE jsonFile = openCrashFile(gJsonPath);
    if (jsonFile == nullptr)
        return EXCEPTION_EXECUTE_HANDLER;
    DWORD written = 0;
    const BOOL wrote = WriteFile(jsonFile, gJson, gJsonSize, &written, nullptr);
    CloseHandle(jsonFile);
    // A truncated record would be found and sent by the next launch.
    if (!wrote)
        DeleteFileW(gJsonPath);
    return EXCEPTION_EXECUTE_HANDLER;
}

} // namespace

// Start-up context, on the thread that starts the crash service. A JSON that
// one WriteFile cannot carry (4 GiB or more) or that cannot be copied is not
// kept, and the JSON path is then dropped too: no file is better than a
// truncated one.
bool CrashCapture::prepare(const wchar_t* dumpPath, const wchar_t* jsonPath, const char* json, std::size_t jsonSize)
{
    const bool dumpStored = storePath(gDumpPath, dumpPath);
    bool jsonStored = storePath(gJsonPath, jsonPath);

    std::unique_ptr<char[]> copy;
    if (jsonSize <= MAXDWORD && (json || jsonSize == 0))
        copy.reset(new (std::nothrow) char[jsonSize == 0 ? 1 : jsonSize]);
    if (copy) {
        if (jsonSize != 0)
            std::memcpy(copy.get(), json, jsonSize);
        delete[] std::exchange(gJson, copy.release());
        gJsonSize = static_cast<DWORD>(jsonSize);
    } else {
        gJsonPath[0] = L'\0';
        jsonStored = false;
    }
    return dumpStored && jsonStored;
}

// Start-up context. The first call wins; a second one must not chain our
// filter to itself.
void CrashCapture::install()
{
    if (gInstalled.exchange(true))
        return;
    gPreviousFilter = SetUnhandledExceptionFilter(crashExceptionFilter);
}
