#pragma once

#include <QDialog>
#include <QMetaObject>
#include <QString>

#include <memory>

class QShowEvent;
class QWidget;
class Ui_CrashReportDialog;

// Asks the user whether to send the report of a crash of an earlier run, and
// takes an optional name, e-mail address and description to go with it.
//
// The crash workflow creates one dialog per question, may prefill the name and
// e-mail, runs it with exec() and reads the fields before deleting it:
// QDialog::Accepted means "Submit"; anything else (Cancel, Escape, the close
// button) means the user declined. The dialog owns its widgets and its form.
//
// GUI thread only.
class CrashReportDialog : public QDialog {
    Q_OBJECT

public:
    // `applicationName` is the crashed product's display name (e.g. "Alpha"),
    // shown as it stands in the message. `parent` may be null.
    explicit CrashReportDialog(const QString& applicationName, QWidget* parent = nullptr);
    ~CrashReportDialog() override;

    // What is in the fields now; empty when the user left them empty.
    QString userName() const;
    QString userEmail() const;
    QString description() const; // plain text, lines joined by '\n'

    // Prefill the fields, e.g. with what the user entered last time.
    void setUserName(const QString& name);
    void setUserEmail(const QString& email);

protected:
    // While the parent window is still hidden (the host is starting up),
    // Qt would place the dialog over a window that is not on screen; it is
    // centred on that window's screen instead.
    void showEvent(QShowEvent* event) override;

private:
    std::unique_ptr<Ui_CrashReportDialog> mUi;
    QMetaObject::Connection mAcceptedConnection;
    QMetaObject::Connection mRejectedConnection;
};
