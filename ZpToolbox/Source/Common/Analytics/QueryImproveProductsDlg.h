#pragma once

#include <QDialog>
#include <memory>

QT_BEGIN_NAMESPACE
class QShowEvent;
QT_END_NAMESPACE

namespace Ui {
class QueryImproveProductsDlg;
}

// The modal question whether anonymous usage data may be sent. It only asks:
// it stores nothing and changes no analytics setting; recording the answer is
// the host's business. Accepted means the user agreed to participate; any
// other way out (Don't Participate, Escape, the close button) is a refusal.
//
// GUI thread only, like every widget. Built from QueryImproveProductsDlg.ui;
// the object names there (typo in "mExplainationLabel" included) are part of
// the dialog's identity for hosts that style or script it, so keep them.
class QueryImproveProductsDlg : public QDialog {
    Q_OBJECT

public:
    explicit QueryImproveProductsDlg(QWidget* parent = nullptr);
    ~QueryImproveProductsDlg() override;
    QueryImproveProductsDlg(const QueryImproveProductsDlg&) = delete;
    QueryImproveProductsDlg& operator=(const QueryImproveProductsDlg&) = delete;

    // Asks the question modally over `parent` (may be null) and blocks until
    // it is answered. Returns 0 when the user chose to participate, 1 in every
    // other case: the value ZpAnalyticsQueryUserPrivacy hands to the host.
    static int queryUserPrivacy(QWidget* parent);

public slots:
    // Opens the vendor's page about analytics in the user's browser. Whether
    // that worked is not reported, and the dialog stays open.
    void onLearnMoreButtonClicked();

protected:
    void showEvent(QShowEvent* event) override;

private:
    std::unique_ptr<Ui::QueryImproveProductsDlg> mUi;
};
