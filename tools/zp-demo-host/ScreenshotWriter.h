#pragma once

#include <QString>

class QWidget;

// Saves what a widget shows as "<dir>/<name>.png", for the README's pictures.
// QWidget::grab renders the widget itself (without the window manager's
// frame), so it works the same under Xvfb and on the offscreen platform.
// With an empty folder it saves nothing.
//
// GUI thread only.
class ScreenshotWriter {
public:
    explicit ScreenshotWriter(const QString& dir);

    bool isEnabled() const;
    // The path written, or empty when disabled or the file could not be saved.
    QString save(QWidget* widget, const QString& name) const;

private:
    QString mDir;
};
