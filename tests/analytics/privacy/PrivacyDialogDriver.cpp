#include "PrivacyDialogDriver.h"

#include <ZpQtCoreLite/ZpQtSysInfo.h>

#include <QApplication>
#include <QPointer>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

WinPlatformOverride::WinPlatformOverride(std::optional<bool> windows)
{
    ZpQtSysInfo::setWinPlatformOverride(windows);
}

WinPlatformOverride::~WinPlatformOverride()
{
    ZpQtSysInfo::setWinPlatformOverride(std::nullopt);
}

namespace {

QPushButton* button(const QWidget& dialog, const char* name)
{
    auto* found = dialog.findChild<QPushButton*>(QLatin1String(name));
    EXPECT_NE(found, nullptr) << name;
    return found;
}

} // namespace

QPushButton* participateButton(const QWidget& dialog)
{
    return button(dialog, "mParticipateButton");
}

QPushButton* dontParticipateButton(const QWidget& dialog)
{
    return button(dialog, "mDontParticipateButton");
}

QPushButton* learnMoreButton(const QWidget& dialog)
{
    return button(dialog, "mLearnMoreButton");
}

void pressKey(QWidget& dialog, Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    QWidget* focus = QApplication::focusWidget();
    EXPECT_NE(focus, nullptr) << "nothing has the keyboard focus";
    QTest::keyClick(focus ? focus : &dialog, key, modifiers);
}

int runPrivacyQuery(QWidget* parent, const std::function<void(QueryImproveProductsDlg&)>& drive)
{
    QTimer::singleShot(0, [&drive] {
        QPointer<QueryImproveProductsDlg> dialog =
            qobject_cast<QueryImproveProductsDlg*>(QApplication::activeModalWidget());
        if (!dialog) {
            ADD_FAILURE() << "no modal QueryImproveProductsDlg is showing";
            return;
        }
        EXPECT_TRUE(QTest::qWaitForWindowActive(dialog));
        if (dialog)
            drive(*dialog);
    });
    QTimer watchdog;
    watchdog.setSingleShot(true);
    QObject::connect(&watchdog, &QTimer::timeout, [] {
        if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
            ADD_FAILURE() << "the dialog was still open; rejecting it";
            dialog->reject();
        }
    });
    watchdog.start(10000);
    return QueryImproveProductsDlg::queryUserPrivacy(parent);
}
