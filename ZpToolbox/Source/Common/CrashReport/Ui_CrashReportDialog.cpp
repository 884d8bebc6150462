#include "CrashReport/Ui_CrashReportDialog.h"

#include <ZpWidgetsLite/VantroBorderStyle.h>
#include <ZpWidgetsLite/VantroLineEdit.h>
#include <ZpWidgetsLite/VantroTextEdit.h>

#include <QCoreApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMetaObject>
#include <QSizePolicy>
#include <QVBoxLayout>
#include <QWidget>

namespace {

// The name and e-mail edits share the row and grow alike; the height-for-width
// flag stays whatever a line edit has by default.
void setShareTheRowPolicy(QWidget* edit)
{
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHorizontalStretch(0);
    policy.setVerticalStretch(0);
    policy.setHeightForWidth(edit->sizePolicy().hasHeightForWidth());
    edit->setSizePolicy(policy);
}

} // namespace

void Ui_CrashReportDialog::setupUi(QDialog* dialog)
{
    if (dialog->objectName().isEmpty())
        dialog->setObjectName("CrashReportDialog");
    // The layout below fixes the final size; this is only the starting size.
    dialog->resize(504, 299);

    verticalLayout = new QVBoxLayout(dialog);
    verticalLayout->setObjectName("verticalLayout");
    verticalLayout->setSizeConstraint(QLayout::SetFixedSize);

    message = new QLabel(dialog);
    message->setObjectName("message");
    message->setWordWrap(true);
    verticalLayout->addWidget(message);

    queryMessage = new QLabel(dialog);
    queryMessage->setObjectName("queryMessage");
    queryMessage->setWordWrap(true);
    verticalLayout->addWidget(queryMessage);

    userNameAndEmailWidget = new QWidget(dialog);
    userNameAndEmailWidget->setObjectName("userNameAndEmailWidget");
    horizontalLayout = new QHBoxLayout(userNameAndEmailWidget);
    horizontalLayout->setObjectName("horizontalLayout");
    horizontalLayout->setContentsMargins(0, 0, 0, 0);

    userNameEdit = new VantroLineEdit(userNameAndEmailWidget);
    userNameEdit->setObjectName("userNameEdit");
    setShareTheRowPolicy(userNameEdit);
    userNameEdit->setBorderStyle(kVantroBorderStyleThin);
    horizontalLayout->addWidget(userNameEdit);

    userEmailEdit = new VantroLineEdit(userNameAndEmailWidget);
    userEmailEdit->setObjectName("userEmailEdit");
    setShareTheRowPolicy(userEmailEdit);
    userEmailEdit->setBorderStyle(kVantroBorderStyleThin);
    horizontalLayout->addWidget(userEmailEdit);

    verticalLayout->addWidget(userNameAndEmailWidget);

    descriptionEdit = new VantroTextEdit(dialog);
    descriptionEdit->setObjectName("descriptionEdit");
    descriptionEdit->setBorderStyle(kVantroBorderStyleThin);
    verticalLayout->addWidget(descriptionEdit);

    buttonBox = new QDialogButtonBox(dialog);
    buttonBox->setObjectName("buttonBox");
    buttonBox->setStandardButtons(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    verticalLayout->addWidget(buttonBox);

    retranslateUi(dialog);

    QMetaObject::connectSlotsByName(dialog);
}

void Ui_CrashReportDialog::retranslateUi(QDialog* dialog)
{
    dialog->setWindowTitle(QCoreApplication::translate("CrashReportDialog", "Report a Problem"));
    message->setText(QCoreApplication::translate("CrashReportDialog", "%1 quit unexpectedly."));
    queryMessage->setText(QCoreApplication::translate(
        "CrashReportDialog",
        "Would you like to send a crash report to Zephra? This will help us identify issues so we can fix "
        "them in the future."));
    userNameEdit->setPlaceholderText(QCoreApplication::translate("CrashReportDialog", "Your Name (optional)"));
    userEmailEdit->setPlaceholderText(QCoreApplication::translate("CrashReportDialog", "Email Address (optional)"));
    descriptionEdit->setPlaceholderText(QCoreApplication::translate(
        "CrashReportDialog", "Tell us what you were doing just before the crash (optional)"));
}
