#include "Analytics/QueryImproveProductsDlg.h"

#include "ui_QueryImproveProductsDlg.h"

#include <ZpQtCoreLite/ZpQtSysInfo.h>

#include <QDesktopServices>
#include <QScreen>
#include <QShowEvent>
#include <QUrl>

QueryImproveProductsDlg::QueryImproveProductsDlg(QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowCloseButtonHint)
    , mUi(std::make_unique<Ui::QueryImproveProductsDlg>())
{
    mUi->setupUi(this);

    // Windows puts the affirmative button first. Only the pair of answers is
    // mirrored; Learn More stays at the far left on every platform.
    if (ZpQtSysInfo::isWinPlatform())
        mUi->mSwapButtonsWidget->setLayoutDirection(Qt::RightToLeft);

    connect(mUi->mParticipateButton, SIGNAL(clicked()), this, SLOT(accept()));
    connect(mUi->mDontParticipateButton, SIGNAL(clicked()), this, SLOT(reject()));
    connect(mUi->mLearnMoreButton, SIGNAL(clicked()), this, SLOT(onLearnMoreButtonClicked()));
}

QueryImproveProductsDlg::~QueryImproveProductsDlg()
{
    // The buttons belong to QWidget's child list and die only in ~QWidget,
    // after this class is gone; cut them off from our slots before the form
    // that points at them is deleted.
    disconnect(mUi->mParticipateButton, SIGNAL(clicked()), this, SLOT(accept()));
    disconnect(mUi->mDontParticipateButton, SIGNAL(clicked()), this, SLOT(reject()));
    disconnect(mUi->mLearnMoreButton, SIGNAL(clicked()), this, SLOT(onLearnMoreButtonClicked()));
}

int QueryImproveProductsDlg::queryUserPrivacy(QWidget* parent)
{
    QueryImproveProductsDlg dialog(parent);
    return dialog.exec() == QDialog::Accepted ? 0 : 1;
}

void QueryImproveProductsDlg::onLearnMoreButtonClicked()
{
    // Translatable so that a localised build can point at its own page.
    QDesktopServices::openUrl(QUrl(tr("http://www.example.com/analytics"), QUrl::TolerantMode));
}

void QueryImproveProductsDlg::showEvent(QShowEvent* event)
{
    // A host may ask before its main window is shown. QDialog would then centre
    // on the hidden parent's stale geometry (often the screen's corner); on
    // Windows that lands the question where the user does not look. Moving
    // here also marks the position as chosen, so QDialog keeps it.
    QWidget* parent = parentWidget();
    if (ZpQtSysInfo::isWinPlatform() && parent && !parent->isVisible()) {
        if (const QScreen* screen = parent->screen()) {
            const QPoint centre = screen->availableGeometry().center();
            const QSize frame = frameSize();
            move(centre.x() - frame.width() / 2, centre.y() - frame.height() / 2);
        }
    }
    QDialog::showEvent(event);
}
