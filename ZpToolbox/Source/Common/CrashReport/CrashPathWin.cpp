#include "CrashReport/CrashPath.h"

#include <QDir>

std::basic_string<CrashPathChar> toCrashPath(const QString& path)
{
    return QDir::toNativeSeparators(path).toStdWString();
}
