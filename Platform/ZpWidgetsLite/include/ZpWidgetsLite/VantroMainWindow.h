#pragma once

#include <QMainWindow>
#include <ZpWidgetsLite/ZpWidgetsLiteExport.h>

// The vendor's main-window base class. Hosts may derive their main window from
// it; the static helper works with any top-level window.
class ZPWIDGETSLITE_EXPORT VantroMainWindow : public QMainWindow {
    Q_OBJECT

public:
    explicit VantroMainWindow(QWidget* parent = nullptr, Qt::WindowFlags flags = {});

    // The window the user works in: the application's active window if there is
    // one, otherwise the first visible top-level QMainWindow, otherwise null.
    // The result is not necessarily a QMainWindow; callers that need one cast
    // it with qobject_cast. GUI thread only; null without a QApplication.
    static QWidget* activeWindow();
};
