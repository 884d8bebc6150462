#pragma once

#include "DemoOptions.h"

// The crashes the demo can have. Neither returns: the library's crash
// handler writes the minidump and the crash record, then the process ends by
// the signal, as it would have without the handler.
//
// GUI thread (any thread would do; the demo crashes from its window).
class DemoCrash {
public:
    DemoCrash() = delete;

    [[noreturn]] static void crash(DemoOptions::CrashKind kind);

    // A store through a null pointer, in the host's own code: the frame a
    // backtrace of the dump should show on top. Kept out of line under its
    // own name so that it does.
    [[noreturn]] static void writeThroughNullPointer();
};
