// POSIX: forward-slash paths; a private folder is mode 0700.

#include "ZpQtPathUtilsPlatform.h"

#include <QFileInfo>

CFURLPathStyle ZpQtPathUtilsPlatform::nativePathStyle()
{
    return kCFURLPOSIXPathStyle;
}

bool ZpQtPathUtilsPlatform::makePrivateDirectory(const QDir& parent, const QString& name)
{
    // mkdir() fails when another process made the folder first; that is fine.
    parent.mkdir(name, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return QFileInfo(parent.filePath(name)).isDir();
}
