#include "CrashReport/CrashPath.h"

#include <QDir>
#include <QFile>

std::basic_string<CrashPathChar> toCrashPath(const QString& path)
{
    return QFile::encodeName(QDir::toNativeSeparators(path)).toStdString();
}
