#pragma once

#include <cstdint>

// What the benchmark program's HTTP posts cost, seen from outside the library:
// PostTimer.cpp defines ZpHttp::post in the benchmark program itself. The
// static link binds the product's calls (its objects are linked into the
// program) to that definition rather than to the shared ZpQtCoreLite's, and
// it forwards each call to the real one, found with dlsym(RTLD_NEXT), timing
// it. So the sender runs unchanged and only its posts are clocked.
//
// Linux (ELF, the Itanium C++ ABI) only, and benchmark programs only. Every
// member may be read from any thread while posts run on others.
class PostTimer {
public:
    // Sums since the start of the program (or the last reset()).
    struct Totals {
        int64_t posts = 0;
        int64_t ns = 0; // time inside post()
        int64_t bodyBytes = 0;
    };

    static Totals totals();
    static void reset();

    // True from the moment a post starts until it returns.
    static bool inFlight();
    // How many posts have returned, and the steady clock (ns since its epoch)
    // and HTTP status of the last one; 0 before the first.
    static int64_t finished();
    static int64_t lastReturnNs();
    static int lastStatus();

    // The steady clock now, in the same unit as lastReturnNs().
    static int64_t nowNs();
};
