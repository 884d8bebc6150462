#ifndef ZPCORE_ZPUTCTIME_H
#define ZPCORE_ZPUTCTIME_H

#include <ctime>

// Splits a time into UTC calendar fields without touching shared static state
// (std::gmtime is not thread-safe). Returns false when the time cannot be
// represented. Implemented once per platform.
bool ZpUtcTimeBreakDown(std::time_t time, std::tm* out);

#endif
