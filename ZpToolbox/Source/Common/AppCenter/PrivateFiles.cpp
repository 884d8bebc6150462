#include "AppCenter/PrivateFiles.h"

#include <QDir>
#include <QFileInfo>
#include <QStringList>

bool PrivateFiles::makeDirectory(const QString& path)
{
    // Find the missing tail of the path first, so that only directories made
    // here are restricted, never a parent the user already had.
    QStringList missing;
    QFileInfo info(QDir::cleanPath(path));
    while (!info.exists() && !info.filePath().isEmpty() && info.filePath() != info.path()) {
        missing.prepend(info.filePath());
        info = QFileInfo(info.path());
    }
    if (!QDir().mkpath(path))
        return false;
    for (const QString& made : missing)
        restrict(made, true);
    return true;
}

void PrivateFiles::restrictDirectory(const QString& path)
{
    restrict(path, true);
    const QStringList files = QDir(path).entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot);
    for (const QString& name : files)
        restrict(QDir(path).filePath(name), false);
}
