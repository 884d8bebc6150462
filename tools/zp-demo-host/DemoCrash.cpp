#include "DemoCrash.h"

#include <ZpToolboxLite.h>

#include <QtGlobal>
#include <cstdlib>

void DemoCrash::crash(DemoOptions::CrashKind kind)
{
    if (kind == DemoOptions::CrashKind::TestCrash)
        ZpCrashReportTestCrash();
    writeThroughNullPointer();
}

// Kept from UndefinedBehaviorSanitizer in a sanitizer build: it would end the
// process with its own report before the crash handler sees the fault.
Q_NEVER_INLINE __attribute__((no_sanitize("undefined"))) void DemoCrash::writeThroughNullPointer()
{
    // Both volatile: the pointer so that the compiler cannot prove it null
    // (and put a trap instruction there, which would arrive as SIGILL rather
    // than the SIGSEGV a real bug gives), the target so that the store is not
    // dropped as one nobody reads before the process ends.
    volatile int* volatile target = nullptr;
    *target = 0x2b;
    // Not reached; the SIGSEGV handler re-raises and the process ends.
    std::abort();
}
