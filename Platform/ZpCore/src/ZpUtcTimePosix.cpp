#include "ZpUtcTime.h"

bool ZpUtcTimeBreakDown(std::time_t time, std::tm* out)
{
    return gmtime_r(&time, out) != nullptr;
}
