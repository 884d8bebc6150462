#ifndef ZPCORE_ZPLOGFILE_H
#define ZPCORE_ZPLOGFILE_H

#include <string>
#include <system_error>

// An append-only log file. An append is one write at the current end of the
// file (more only if the system writes short), so lines stay whole even when
// another process appends to the same file.
// Not thread-safe: ZpLogger serialises every use. Implemented once per platform.
class ZpLogFile {
public:
    ZpLogFile() = default;
    ~ZpLogFile();
    ZpLogFile(const ZpLogFile&) = delete;
    ZpLogFile& operator=(const ZpLogFile&) = delete;

    // Closes the current file, then opens path for appending, creating it with
    // user-only permissions if it does not exist. Leaves the object closed and
    // returns the reason on failure.
    std::error_code open(const std::string& path);
    void close();
    bool isOpen() const { return mFd >= 0; }

    // Writes bytes in one piece; failures (a full disk) are dropped, since the
    // log has nowhere to report its own trouble.
    void append(const std::string& bytes);

private:
    int mFd = -1;
};

#endif
