#include "CrashReport/CrashReportDialog.h"

#include "CrashReport/Ui_CrashReportDialog.h"

#include <ZpWidgetsLite/VantroLineEdit.h>
#include <ZpWidgetsLite/VantroTextEdit.h>

#include <QDialogButtonBox>
#include <QFontMetricsF>
#include <QLabel>
#include <QLatin1String>
#include <QLineEdit>
#include <QMargins>
#include <QPushButton>
#include <QRect>
#include <QScreen>
#include <QSize>
#include <QStyle>
#include <QStyleOptionFrame>
#include <QtMath>

namespace {

// QLineEdit keeps this much room free on each side of its text.
constexpr int kLineEditHorizontalMargin = 2;

// The width `edit` needs to show its whole placeholder, asked of the style so
// that the edit's border style and padding are part of it.
int widthShowingPlaceholder(QLineEdit* edit)
{
    edit->ensurePolished();
    QStyleOptionFrame option;
    option.initFrom(edit);
    option.rect = edit->contentsRect();
    option.lineWidth = edit->hasFrame() ? edit->style()->pixelMetric(QStyle::PM_DefaultFrameWidth, &option, edit) : 0;
    option.midLineWidth = 0;
    option.state |= QStyle::State_Sunken;
    option.features = QStyleOptionFrame::None;

    const QMargins text = edit->textMargins();
    const QMargins contents = edit->contentsMargins();
    // Fractional advance rounded up: QLineEdit elides with fractional widths.
    const int textWidth = qCeil(QFontMetricsF(edit->font()).horizontalAdvance(edit->placeholderText()));
    const int width = textWidth + 2 * kLineEditHorizontalMargin + text.left() + text.right() + contents.left()
                      + contents.right();
    return edit->style()
        ->sizeFromContents(QStyle::CT_LineEdit, &option, QSize(width, edit->sizeHint().height()), edit)
        .width();
}

} // namespace

CrashReportDialog::CrashReportDialog(const QString& applicationName, QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowCloseButtonHint)
    , mUi(std::make_unique<Ui_CrashReportDialog>())
{
    mUi->setupUi(this);

    // A literal replacement, not QString::arg(): a name such as "50% Off" or
    // "%2" must appear exactly as given.
    QString message = mUi->message->text();
    message.replace(QLatin1String("%1"), applicationName);
    mUi->message->setText(message);

    mUi->buttonBox->button(QDialogButtonBox::Ok)->setText(tr("Submit"));

    // The layout fixes the dialog at its size hint, and a line edit's own hint
    // is a set number of characters, too few for "Email Address (optional)"
    // and most translations of the placeholders. The two edits share the row
    // at one width, wide enough for the longer placeholder.
    const int editWidth = qMax(widthShowingPlaceholder(mUi->userNameEdit), widthShowingPlaceholder(mUi->userEmailEdit));
    mUi->userNameEdit->setMinimumWidth(editWidth);
    mUi->userEmailEdit->setMinimumWidth(editWidth);

    mAcceptedConnection = connect(mUi->buttonBox, &QDialogButtonBox::accepted, this, &QDialog::accept);
    mRejectedConnection = connect(mUi->buttonBox, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

CrashReportDialog::~CrashReportDialog()
{
    disconnect(mAcceptedConnection);
    disconnect(mRejectedConnection);
    mUi.reset();
}

QString CrashReportDialog::userName() const
{
    return mUi->userNameEdit->text();
}

QString CrashReportDialog::userEmail() const
{
    return mUi->userEmailEdit->text();
}

QString CrashReportDialog::description() const
{
    return mUi->descriptionEdit->toPlainText();
}

void CrashReportDialog::setUserName(const QString& name)
{
    mUi->userNameEdit->setText(name);
}

void CrashReportDialog::setUserEmail(const QString& email)
{
    mUi->userEmailEdit->setText(email);
}

void CrashReportDialog::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);

    QWidget* parent = parentWidget();
    if (!parent || parent->isVisible())
        return;
    const QScreen* screen = parent->screen();
    if (!screen)
        return;
    const QRect available = screen->availableGeometry();
    const QSize frame = frameSize();
    move(available.center().x() - frame.width() / 2, available.center().y() - frame.height() / 2);
}
