#include <ZpWidgetsLite/VantroMainWindow.h>

#include <QApplication>

VantroMainWindow::VantroMainWindow(QWidget* parent, Qt::WindowFlags flags)
    : QMainWindow(parent, flags)
{
}

QWidget* VantroMainWindow::activeWindow()
{
    if (!qobject_cast<QApplication*>(QCoreApplication::instance()))
        return nullptr;
    if (QWidget* active = QApplication::activeWindow())
        return active;
    // Offscreen and minimised sessions may have no active window; the main
    // window is still the right parent for a dialog.
    const QWidgetList topLevels = QApplication::topLevelWidgets();
    for (QWidget* widget : topLevels) {
        if (widget->isVisible() && qobject_cast<QMainWindow*>(widget))
            return widget;
    }
    return nullptr;
}
