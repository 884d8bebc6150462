// A Windows program that prepares the crash-time core, installs it and then
// crashes (or survives) the way its mode says. Built with mingw-w64 and run
// under Wine by CrashCaptureWinTest, which reads what it left behind.
//
//   victim.exe <directory> <mode>
//
// The directory is a Windows path; the files are <directory>\<session>.dmp and
// .json. Everything before the crash may use the CRT; the previous filters
// below run at crash time and use only Win32 calls.

#include "CrashCapture.h"
#include "VictimContract.h"

#include <windows.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace {

std::wstring gDumpPath;

void say(const char* text)
{
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text, static_cast<DWORD>(std::strlen(text)), &written, nullptr);
}

void sayNumber(const char* prefix, unsigned long long value)
{
    char line[64];
    std::snprintf(line, sizeof line, "%s%llu\n", prefix, value);
    say(line);
}

std::wstring widen(const char* ascii)
{
    return std::wstring(ascii, ascii + std::strlen(ascii));
}

void sayCrashAt()
{
    FILETIME now;
    GetSystemTimePreciseAsFileTime(&now);
    sayNumber(Victim::kCrashAtLine, (static_cast<unsigned long long>(now.dwHighDateTime) << 32) | now.dwLowDateTime);
}

// A store through a null pointer that the compiler can neither see through
// nor drop.
void crashWithNullWrite()
{
    sayNumber(Victim::kCrashThreadLine, GetCurrentThreadId());
    sayCrashAt();
    volatile int* volatile target = nullptr;
    *target = 1;
}

DWORD WINAPI crashingThread(void*)
{
    crashWithNullWrite();
    return 0;
}

// The faulting store of faultAndResume(): movl $1, (%rax) with rax = 0. The
// previous filter recognises these bytes and resumes after them.
constexpr unsigned char kFaultingStore[] = {0xc7, 0x00, 0x01, 0x00, 0x00, 0x00};

__attribute__((noinline)) void faultAndResume()
{
    asm volatile("xorl %%eax, %%eax\n\t"
                 "movl $1, (%%rax)"
                 :
                 :
                 : "rax", "memory");
}

void reportPreviousCalled()
{
    // Run before our filter, the dump of this crash cannot exist yet.
    const bool dumpExists = GetFileAttributesW(gDumpPath.c_str()) != INVALID_FILE_ATTRIBUTES;
    say(Victim::kPreviousLine);
    say(dumpExists ? "dump-present\n" : "dump-absent\n");
}

// Crash-time context: previous filters, installed before ours.
LONG WINAPI previousContinues(EXCEPTION_POINTERS* info)
{
    reportPreviousCalled();
    const EXCEPTION_RECORD* record = info->ExceptionRecord;
    const auto* pc = reinterpret_cast<const unsigned char*>(info->ContextRecord->Rip);
    if (record->ExceptionCode != EXCEPTION_ACCESS_VIOLATION || std::memcmp(pc, kFaultingStore, sizeof kFaultingStore) != 0)
        return EXCEPTION_CONTINUE_SEARCH;
    info->ContextRecord->Rip += sizeof kFaultingStore;
    return EXCEPTION_CONTINUE_EXECUTION;
}

LONG WINAPI previousContinuesRaise(EXCEPTION_POINTERS* info)
{
    reportPreviousCalled();
    return info->ExceptionRecord->ExceptionCode == Victim::kSoftwareException ? EXCEPTION_CONTINUE_EXECUTION
                                                                              : EXCEPTION_CONTINUE_SEARCH;
}

LONG WINAPI previousSearches(EXCEPTION_POINTERS*)
{
    reportPreviousCalled();
    return EXCEPTION_CONTINUE_SEARCH;
}

LONG WINAPI previousExecutes(EXCEPTION_POINTERS*)
{
    reportPreviousCalled();
    return EXCEPTION_EXECUTE_HANDLER;
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: victim <directory> <mode>\n");
        return 2;
    }
    const std::wstring base = std::wstring(argv[1]) + L"\\" + widen(Victim::kSession);
    gDumpPath = base + L".dmp";
    const std::wstring jsonPath = base + L".json";
    const std::wstring mode = argv[2];
    bool known = false;
    for (const char* name : {Victim::kCrash, Victim::kCrashOnThread, Victim::kInstallTwice, Victim::kPrepareTwice,
                             Victim::kPreviousContinues, Victim::kPreviousContinuesRaise, Victim::kPreviousSearches,
                             Victim::kPreviousExecutes})
        known = known || mode == widen(name);
    if (!known) {
        std::fprintf(stderr, "victim: unknown mode\n");
        return 2;
    }

    bool prepared = false;
    if (mode == widen(Victim::kPrepareTwice)) {
        CrashCapture::prepare(gDumpPath.c_str(), jsonPath.c_str(), Victim::kStaleJson, std::strlen(Victim::kStaleJson));
        prepared = CrashCapture::prepare(L"", jsonPath.c_str(), Victim::kCrashJson, Victim::kCrashJsonSize);
    } else {
        prepared = CrashCapture::prepare(gDumpPath.c_str(), jsonPath.c_str(), Victim::kCrashJson, Victim::kCrashJsonSize);
    }
    sayNumber(Victim::kPreparedLine, prepared ? 1 : 0);
    sayNumber(Victim::kMainThreadLine, GetCurrentThreadId());

    LPTOP_LEVEL_EXCEPTION_FILTER previous = nullptr;
    if (mode == widen(Victim::kPreviousContinues))
        previous = previousContinues;
    else if (mode == widen(Victim::kPreviousContinuesRaise))
        previous = previousContinuesRaise;
    else if (mode == widen(Victim::kPreviousSearches))
        previous = previousSearches;
    else if (mode == widen(Victim::kPreviousExecutes))
        previous = previousExecutes;
    if (previous)
        SetUnhandledExceptionFilter(previous);

    CrashCapture::install();
    if (mode == widen(Victim::kInstallTwice))
        CrashCapture::install();

    if (mode == widen(Victim::kPreviousContinues)) {
        sayCrashAt();
        faultAndResume();
        say(Victim::kContinuedLine);
        say("\n");
        return 0;
    }
    if (mode == widen(Victim::kPreviousContinuesRaise)) {
        sayCrashAt();
        RaiseException(Victim::kSoftwareException, 0, 0, nullptr);
        say(Victim::kContinuedLine);
        say("\n");
        return 0;
    }
    if (mode == widen(Victim::kCrashOnThread)) {
        HANDLE thread = CreateThread(nullptr, 0, crashingThread, nullptr, 0, nullptr);
        if (!thread)
            return 3;
        WaitForSingleObject(thread, INFINITE);
        return 4; // not reached: the crash ends the process
    }
    crashWithNullWrite();
    return 4;
}
