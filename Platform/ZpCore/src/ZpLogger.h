#ifndef ZPCORE_ZPLOGGER_H
#define ZPCORE_ZPLOGGER_H

#include <ZpCore/ZpLog.h>

#include "ZpLogFile.h"

#include <mutex>
#include <string>
#include <utility>
#include <vector>

// The process-wide state behind the ZpLog* functions: where lines go and who
// listens. Thread-safe: every member function takes the one lock, which is
// recursive so that a sink may log or change the sinks from inside its call.
class ZpLogger {
public:
    // Never destroyed, so that code running during static destruction can still
    // log.
    static ZpLogger& instance();

    // One line; see ZpLog.h for its format. category and sourcePath may be NULL.
    void write(int32_t level, const char* category, const std::string& message, int32_t eventCode,
               const char* sourcePath, int32_t line);

    bool setFilePath(const char* path);
    void setStandardErrorEnabled(bool enabled);
    void addSink(ZpLogSink sink, void* context);
    void removeSink(ZpLogSink sink, void* context);

private:
    ZpLogger() = default;

    using Sink = std::pair<ZpLogSink, void*>;
    bool isRegistered(const Sink& sink) const;

    std::recursive_mutex mMutex;
    // Everything below is guarded by mMutex.
    ZpLogFile mFile;
    bool mStandardError = true;
    std::vector<Sink> mSinks;
    // Non-zero while sinks are being called; lines logged by a sink are not handed
    // to sinks again, which could otherwise recurse without end.
    int mDispatchDepth = 0;
};

#endif
