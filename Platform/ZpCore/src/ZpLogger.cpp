#include "ZpLogger.h"

#include "ZpUtcTime.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>

namespace {

void appendLevelTag(std::string& out, int32_t level)
{
    switch (level) {
    case kZpLogLevelWarning: out += 'W'; break;
    case kZpLogLevelNotice: out += 'N'; break;
    case kZpLogLevelStatus: out += 'S'; break;
    case kZpLogLevelInfo: out += 'I'; break;
    default: {
        // Not std::to_string: libstdc++'s helper tables would leak into the exports.
        char number[16];
        std::snprintf(number, sizeof number, "%d", static_cast<int>(level));
        out += number;
        break;
    }
    }
}

void appendTimestamp(std::string& out, std::chrono::system_clock::time_point time)
{
    using namespace std::chrono;
    const auto sinceEpoch = floor<milliseconds>(time.time_since_epoch());
    const auto wholeSeconds = floor<seconds>(sinceEpoch);
    const auto millis = (sinceEpoch - wholeSeconds).count();
    std::tm fields{};
    if (!ZpUtcTimeBreakDown(static_cast<std::time_t>(wholeSeconds.count()), &fields)) {
        out += "0000-00-00T00:00:00.000Z";
        return;
    }
    char buffer[40];
    const size_t length = std::strftime(buffer, sizeof buffer, "%Y-%m-%dT%H:%M:%S", &fields);
    out.append(buffer, length);
    std::snprintf(buffer, sizeof buffer, ".%03dZ", static_cast<int>(millis));
    out += buffer;
}

// One call must stay one line: inner line breaks become visible escapes and
// trailing ones (printf habits) are dropped.
void appendSingleLine(std::string& out, const std::string& message)
{
    const size_t end = message.find_last_not_of("\r\n");
    if (end == std::string::npos)
        return;
    for (size_t i = 0; i <= end; ++i) {
        const char c = message[i];
        if (c == '\n')
            out += "\\n";
        else if (c == '\r')
            out += "\\r";
        else
            out += c;
    }
}

// The line as written, without its '\n'; see ZpLog.h for the format.
std::string formatLine(std::chrono::system_clock::time_point time, int32_t level, const char* category,
                       const std::string& message)
{
    std::string line;
    line.reserve(40 + message.size());
    appendTimestamp(line, time);
    line += " [";
    appendLevelTag(line, level);
    line += "] ";
    if (category && *category) {
        appendSingleLine(line, category);
        line += ": ";
    }
    appendSingleLine(line, message);
    return line;
}

} // namespace

ZpLogger& ZpLogger::instance()
{
    static ZpLogger* const logger = new ZpLogger;
    return *logger;
}

void ZpLogger::write(int32_t level, const char* category, const std::string& message, int32_t eventCode,
                     const char* sourcePath, int32_t line)
{
    if (category && !*category)
        category = nullptr;

    std::lock_guard<std::recursive_mutex> lock(mMutex);
    // Stamped under the lock so that the lines of the file are in time order.
    const std::string text = formatLine(std::chrono::system_clock::now(), level, category, message);
    const std::string terminated = text + '\n';
    if (mStandardError)
        std::fwrite(terminated.data(), 1, terminated.size(), stderr);
    if (mFile.isOpen())
        mFile.append(terminated);

    if (mDispatchDepth > 0 || mSinks.empty())
        return;
    const ZpLogRecord record = {level, category, message.c_str(), eventCode, sourcePath, line, text.c_str()};
    ++mDispatchDepth;
    // A sink may add or remove sinks: walk a snapshot, skipping any removed meanwhile.
    const std::vector<Sink> snapshot = mSinks;
    for (const Sink& sink : snapshot) {
        if (isRegistered(sink))
            sink.first(sink.second, &record);
    }
    --mDispatchDepth;
}

bool ZpLogger::setFilePath(const char* path)
{
    std::error_code error;
    {
        std::lock_guard<std::recursive_mutex> lock(mMutex);
        if (!path) {
            mFile.close();
            return true;
        }
        error = mFile.open(path);
    }
    if (!error)
        return true;
    write(kZpLogLevelWarning, "ZpLog", std::string("cannot open log file ") + path + ": " + error.message(), 0,
          nullptr, 0);
    return false;
}

void ZpLogger::setStandardErrorEnabled(bool enabled)
{
    std::lock_guard<std::recursive_mutex> lock(mMutex);
    mStandardError = enabled;
}

void ZpLogger::addSink(ZpLogSink sink, void* context)
{
    if (!sink)
        return;
    std::lock_guard<std::recursive_mutex> lock(mMutex);
    if (!isRegistered(Sink(sink, context)))
        mSinks.emplace_back(sink, context);
}

void ZpLogger::removeSink(ZpLogSink sink, void* context)
{
    std::lock_guard<std::recursive_mutex> lock(mMutex);
    mSinks.erase(std::remove(mSinks.begin(), mSinks.end(), Sink(sink, context)), mSinks.end());
}

bool ZpLogger::isRegistered(const Sink& sink) const
{
    return std::find(mSinks.begin(), mSinks.end(), sink) != mSinks.end();
}
