#include "DialogAutoAnswer.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTextEdit>

namespace {

constexpr int kPollIntervalMs = 150;

const QString kPrivacyDialog = QStringLiteral("QueryImproveProductsDlg");
const QString kCrashDialog = QStringLiteral("CrashReportDialog");

void setLineText(QDialog* dialog, const char* objectName, const QString& text)
{
    auto* edit = dialog->findChild<QLineEdit*>(QLatin1String(objectName));
    if (edit && !text.isEmpty())
        edit->setText(text);
}

} // namespace

DialogAutoAnswer::DialogAutoAnswer(const DemoOptions& options, const ScreenshotWriter& screenshots, QObject* parent)
    : QObject(parent)
    , mOptions(options)
    , mScreenshots(screenshots)
{
    mTimer.setInterval(kPollIntervalMs);
    connect(&mTimer, &QTimer::timeout, this, &DialogAutoAnswer::poll);
}

DialogAutoAnswer::~DialogAutoAnswer() = default;

void DialogAutoAnswer::start()
{
    mTimer.start();
}

void DialogAutoAnswer::poll()
{
    QWidget* modal = QApplication::activeModalWidget();
    auto* dialog = qobject_cast<QDialog*>(modal);
    // Wait one poll after a dialog appears: it is then shown and laid out.
    const bool seenBefore = dialog && dialog == mSeen;
    mSeen = modal;
    if (!seenBefore || !dialog->isVisible() || dialog == mHandled)
        return;
    mHandled = dialog;

    if (dialog->objectName() == kPrivacyDialog)
        answerPrivacyDialog(dialog);
    else if (dialog->objectName() == kCrashDialog)
        answerCrashDialog(dialog);
}

void DialogAutoAnswer::answerPrivacyDialog(QDialog* dialog)
{
    mScreenshots.save(dialog, QStringLiteral("privacy-dialog"));
    const char* buttonName = nullptr;
    if (mOptions.privacy == DemoOptions::Privacy::Participate)
        buttonName = "mParticipateButton";
    else if (mOptions.privacy == DemoOptions::Privacy::Decline)
        buttonName = "mDontParticipateButton";
    if (!buttonName)
        return; // the user answers
    auto* button = dialog->findChild<QAbstractButton*>(QLatin1String(buttonName));
    if (!button) {
        emit answered(QStringLiteral("the privacy dialog has no %1; left to the user").arg(QLatin1String(buttonName)));
        return;
    }
    emit answered(QStringLiteral("privacy question: pressed \"%1\" (scripted)").arg(button->text()));
    button->click();
}

void DialogAutoAnswer::answerCrashDialog(QDialog* dialog)
{
    const bool scripted = mOptions.crashAnswer != DemoOptions::CrashAnswer::User;
    if (scripted) {
        setLineText(dialog, "userNameEdit", mOptions.userName);
        setLineText(dialog, "userEmailEdit", mOptions.userEmail);
        auto* description = dialog->findChild<QTextEdit*>(QStringLiteral("descriptionEdit"));
        if (description && !mOptions.description.isEmpty())
            description->setPlainText(mOptions.description);
    }
    mScreenshots.save(dialog, QStringLiteral("crash-dialog"));
    if (!scripted)
        return;

    auto* buttons = dialog->findChild<QDialogButtonBox*>(QStringLiteral("buttonBox"));
    const bool send = mOptions.crashAnswer == DemoOptions::CrashAnswer::Send;
    QAbstractButton* button = buttons ? buttons->button(send ? QDialogButtonBox::Ok : QDialogButtonBox::Cancel) : nullptr;
    if (!button) {
        emit answered(QStringLiteral("the crash dialog has no buttonBox with OK and Cancel; left to the user"));
        return;
    }
    emit answered(QStringLiteral("crash dialog: filled in name, e-mail and description, pressed \"%1\" (scripted)")
                      .arg(button->text().remove(QLatin1Char('&'))));
    button->click();
}
