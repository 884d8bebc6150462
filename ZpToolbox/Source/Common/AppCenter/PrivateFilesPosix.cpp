#include "AppCenter/PrivateFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>

void PrivateFiles::restrict(const QString& path, bool directory)
{
    ::chmod(QFile::encodeName(path).constData(), directory ? 0700 : 0600);
}

void PrivateFiles::createPrivateFile(const std::string& nativePath)
{
    const int fd = ::open(nativePath.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0)
        return;
    ::fchmod(fd, 0600); // a file left by an earlier run may have had a wider mode
    ::close(fd);
}
