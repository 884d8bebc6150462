#pragma once

#include <ZpCore/ZpLog.h>

#include <exception>

// Runs the body of an exported function: no exception may reach the host, so
// one that escapes is logged (with the function's name) and swallowed, and
// the function returns `fallback`.
template <typename Result, typename Body>
Result exportBoundary(const char* function, Result fallback, Body body) noexcept
{
    try {
        return body();
    } catch (const std::exception& error) {
        ZpLogUTF8("%s: internal error: %s", function, error.what());
    } catch (...) {
        ZpLogUTF8("%s: internal error", function);
    }
    return fallback;
}

template <typename Body>
void exportBoundary(const char* function, Body body) noexcept
{
    exportBoundary(function, 0, [&body] {
        body();
        return 0;
    });
}
