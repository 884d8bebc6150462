#include "ZpLogFile.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

ZpLogFile::~ZpLogFile()
{
    close();
}

std::error_code ZpLogFile::open(const std::string& path)
{
    close();
    // The log may quote user data: a new file is readable by its owner only.
    // O_APPEND makes every write land at the current end of the file.
    const int fd = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0)
        return std::error_code(errno, std::generic_category());
    mFd = fd;
    return std::error_code();
}

void ZpLogFile::close()
{
    if (mFd >= 0) {
        ::close(mFd);
        mFd = -1;
    }
}

void ZpLogFile::append(const std::string& bytes)
{
    const char* data = bytes.data();
    size_t remaining = bytes.size();
    while (mFd >= 0 && remaining > 0) {
        const ssize_t written = ::write(mFd, data, remaining);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return;
        }
        data += written;
        remaining -= static_cast<size_t>(written);
    }
}
