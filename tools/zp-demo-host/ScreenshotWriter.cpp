#include "ScreenshotWriter.h"

#include <QDir>
#include <QPixmap>
#include <QWidget>

ScreenshotWriter::ScreenshotWriter(const QString& dir)
    : mDir(dir)
{
}

bool ScreenshotWriter::isEnabled() const
{
    return !mDir.isEmpty();
}

QString ScreenshotWriter::save(QWidget* widget, const QString& name) const
{
    if (!isEnabled() || !widget || !QDir().mkpath(mDir))
        return QString();
    const QString path = QDir(mDir).filePath(name + QStringLiteral(".png"));
    return widget->grab().save(path, "PNG") ? path : QString();
}
