#pragma once

#include "DemoOptions.h"
#include "ScreenshotWriter.h"

#include <QObject>
#include <QPointer>
#include <QTimer>

class QDialog;
class QWidget;

// Host-side scripting for unattended runs: plays the user in front of the
// library's two modal dialogs, so that a script can run the whole workflow.
// A product never does this; its user answers.
//
// It finds the dialogs the way any outside observer can: by polling
// QApplication::activeModalWidget() from a timer (the dialogs run their own
// event loop, in which timers keep firing) and recognising them by object
// name, then fills the fields and presses the buttons by their object names:
// - "QueryImproveProductsDlg": mParticipateButton or mDontParticipateButton;
// - "CrashReportDialog": userNameEdit, userEmailEdit, descriptionEdit, then
//   OK or Cancel in its buttonBox.
// Each dialog is saved as a screenshot first, once it has been on screen for
// one poll, so that the picture shows it laid out and filled in. A dialog
// whose answer is left to the user is only photographed.
//
// GUI thread only.
class DialogAutoAnswer : public QObject {
    Q_OBJECT

public:
    DialogAutoAnswer(const DemoOptions& options, const ScreenshotWriter& screenshots, QObject* parent = nullptr);
    ~DialogAutoAnswer() override;

    // Starts watching; it goes on until the object is destroyed.
    void start();

signals:
    // A line for the host's activity log, e.g. which answer was given.
    void answered(const QString& what);

private:
    void poll();
    void answerPrivacyDialog(QDialog* dialog);
    void answerCrashDialog(QDialog* dialog);

    DemoOptions mOptions;
    ScreenshotWriter mScreenshots;
    QTimer mTimer;
    QPointer<QWidget> mSeen;     // the modal dialog seen on the last poll
    QPointer<QWidget> mHandled;  // the last dialog photographed and answered
};
