#pragma once

#include "DemoOptions.h"
#include "FeatureStep.h"

#include <ZpWidgetsLite/VantroMainWindow.h>

class QLabel;
class QPlainTextEdit;
class QPushButton;
class QSpinBox;

// The demo's main window, a stand-in for a photo editor: buttons for the
// kinds of feature tracking a product does (plain, dotted, timed, once per
// run, with a value), the crash actions, and an activity list of what
// happened. It only asks; DemoHost does the work and reports back through
// appendActivity.
//
// GUI thread only.
class DemoWindow : public VantroMainWindow {
    Q_OBJECT

public:
    explicit DemoWindow(const QString& title, QWidget* parent = nullptr);
    ~DemoWindow() override;

    // One line in the activity list, and in the status bar.
    void appendActivity(const QString& line);
    // The line under the title: identity, analytics and where logs go.
    void setSummary(const QString& text);

signals:
    void stepRequested(const FeatureStep& step);
    void crashRequested(DemoOptions::CrashKind kind);
    void crashDialogTestRequested();

private:
    QPushButton* addStepButton(const QString& label, FeatureStep::Kind kind, CFStringRef code);
    void toggleDetailView();

    QLabel* mSummary = nullptr;
    QPlainTextEdit* mActivity = nullptr;
    QPushButton* mDetailViewButton = nullptr;
    QSpinBox* mPhotoCount = nullptr;
    bool mDetailViewOpen = false;
};
