#include "AppCenter/PrivateFiles.h"

#include <sys/stat.h>

#include <QFile>

void PrivateFiles::restrict(const QString& path, bool directory)
{
    ::chmod(QFile::encodeName(path).constData(), directory ? 0700 : 0600);
}
