#include <ZpCore/ZpLog.h>

#include "ZpCFStringUtf8.h"
#include "ZpLogger.h"

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

namespace {

// Each returns false when the message could not be formatted (nothing is logged
// then): a CoreFoundation format, and a printf format of UTF-8.
bool formatMessage(CFStringRef format, va_list args, std::string* out)
{
    CFStringRef text = CFStringCreateWithFormatAndArguments(kCFAllocatorDefault, nullptr, format, args);
    if (!text)
        return false;
    *out = ZpCFStringUtf8(text);
    CFRelease(text);
    return true;
}

bool formatMessage(const char* format, va_list args, std::string* out)
{
    va_list measure;
    va_copy(measure, args);
    const int length = std::vsnprintf(nullptr, 0, format, measure);
    va_end(measure);
    if (length < 0)
        return false;
    std::vector<char> buffer(static_cast<size_t>(length) + 1);
    std::vsnprintf(buffer.data(), buffer.size(), format, args);
    out->assign(buffer.data(), static_cast<size_t>(length));
    return true;
}

bool formatPrintfArguments(std::string* out, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const bool formatted = formatMessage(format, args, out);
    va_end(args);
    return formatted;
}

// What the variadic log functions share: formats the message and writes it at
// `level` in `category` (none when NULL). A NULL format, or one that cannot be
// formatted, logs nothing. The caller owns `args` (va_start and va_end).
template <typename Format>
void logFormatted(int32_t level, CFStringRef category, Format format, va_list args)
{
    if (!format)
        return;
    std::string message;
    if (!formatMessage(format, args, &message))
        return;
    const std::string categoryText = ZpCFStringUtf8(category);
    ZpLogger::instance().write(level, category ? categoryText.c_str() : nullptr, message, 0, nullptr, 0);
}

} // namespace

extern "C" {

void ZpLog(CFStringRef format, ...)
{
    va_list args;
    va_start(args, format);
    logFormatted(kZpLogLevelInfo, nullptr, format, args);
    va_end(args);
}

void ZpLogWithParams(int32_t level, CFStringRef category, int32_t flags, CFStringRef format, ...)
{
    (void)flags; // reserved: the product passes 0 and nothing depends on it yet
    va_list args;
    va_start(args, format);
    logFormatted(level, category, format, args);
    va_end(args);
}

void ZpLogUTF8(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    logFormatted(kZpLogLevelInfo, nullptr, format, args);
    va_end(args);
}

void ZpLogEvent(int32_t eventCode, const char* sourcePath, int32_t line)
{
    std::string message;
    if (sourcePath)
        formatPrintfArguments(&message, "event %d at %s:%d", static_cast<int>(eventCode), sourcePath,
                              static_cast<int>(line));
    else
        formatPrintfArguments(&message, "event %d", static_cast<int>(eventCode));
    ZpLogger::instance().write(kZpLogLevelWarning, nullptr, message, eventCode, sourcePath, line);
}

bool ZpLogSetFilePath(const char* utf8Path)
{
    return ZpLogger::instance().setFilePath(utf8Path);
}

void ZpLogSetStandardErrorEnabled(bool enabled)
{
    ZpLogger::instance().setStandardErrorEnabled(enabled);
}

void ZpLogAddSink(ZpLogSink sink, void* context)
{
    ZpLogger::instance().addSink(sink, context);
}

void ZpLogRemoveSink(ZpLogSink sink, void* context)
{
    ZpLogger::instance().removeSink(sink, context);
}

} // extern "C"
