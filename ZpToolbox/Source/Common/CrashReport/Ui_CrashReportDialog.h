#pragma once

class QDialog;
class QDialogButtonBox;
class QHBoxLayout;
class QLabel;
class QVBoxLayout;
class QWidget;
class VantroLineEdit;
class VantroTextEdit;

// The widgets of CrashReportDialog, kept apart from its behaviour the way a
// form class generated from a Designer file would be. setupUi() creates every
// widget as a child of the dialog, so the dialog owns them; this object only
// holds pointers and may be deleted before the dialog.
//
// GUI thread only.
class Ui_CrashReportDialog {
public:
    QVBoxLayout* verticalLayout = nullptr;
    QLabel* message = nullptr;
    QLabel* queryMessage = nullptr;
    QWidget* userNameAndEmailWidget = nullptr;
    QHBoxLayout* horizontalLayout = nullptr;
    VantroLineEdit* userNameEdit = nullptr;
    VantroLineEdit* userEmailEdit = nullptr;
    VantroTextEdit* descriptionEdit = nullptr;
    QDialogButtonBox* buttonBox = nullptr;

    // Builds the widgets on `dialog` (in the order above) and translates
    // their texts, then connects the dialog's on_<object>_<signal> slots.
    void setupUi(QDialog* dialog);
    // Sets every text in the translation context "CrashReportDialog". The
    // message keeps its "%1"; the dialog fills it in.
    void retranslateUi(QDialog* dialog);
};
