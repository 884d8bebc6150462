#pragma once

// Helpers of the Linux crash-capture tests: running a child process and
// looking at what it left behind from the outside.

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace CrashTestSupport {

struct ProcessResult {
    bool started = false;
    bool finished = false;   // false: it was killed after the time-out
    int pid = 0;
    int status = 0;          // as waitpid reports it
    std::string output;      // standard output and error, interleaved
    std::chrono::steady_clock::time_point reapedAt;
};

// Runs `arguments` (the program first) with the current environment plus
// `extraEnvironment` ("NAME=value" entries), its output going to `outputFile`.
// Waits at most `timeout`; a child still running then is killed.
ProcessResult runProcess(const std::vector<std::string>& arguments, const std::vector<std::string>& extraEnvironment,
                         const std::string& outputFile, std::chrono::milliseconds timeout);

// A fresh private directory under the system's temporary directory, removed
// with everything in it when the object goes.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    const std::string& path() const { return mPath; }

private:
    std::string mPath;
};

std::optional<std::string> readFile(const std::string& path);
// The names of the directory's entries, sorted.
std::vector<std::string> listDirectory(const std::string& path);

// The GNU build id of an ELF file, read from its note sections on disk.
std::vector<std::uint8_t> readElfBuildId(const std::string& path);

// The first of `names` found in PATH, as a full path.
std::optional<std::string> findExecutable(const std::vector<std::string>& names);

} // namespace CrashTestSupport
