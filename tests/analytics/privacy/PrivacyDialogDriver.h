#pragma once

#include "Analytics/QueryImproveProductsDlg.h"

#include <QPushButton>
#include <functional>
#include <optional>

// Forces ZpQtSysInfo::isWinPlatform() for the lifetime of the guard and gives
// the real answer back afterwards, so one test cannot leak its platform into
// the next.
class WinPlatformOverride {
public:
    explicit WinPlatformOverride(std::optional<bool> windows);
    ~WinPlatformOverride();
    WinPlatformOverride(const WinPlatformOverride&) = delete;
    WinPlatformOverride& operator=(const WinPlatformOverride&) = delete;
};

// The dialog's named parts, looked up the way a host's style sheet or an
// accessibility tool would: by object name.
QPushButton* participateButton(const QWidget& dialog);
QPushButton* dontParticipateButton(const QWidget& dialog);
QPushButton* learnMoreButton(const QWidget& dialog);

// Presses and releases `key` on the widget that has the keyboard focus, as a
// user would. Fails the test (and types into `dialog` instead) when nothing
// has the focus.
void pressKey(QWidget& dialog, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);

// Runs QueryImproveProductsDlg::queryUserPrivacy(parent) and, once its modal
// loop is running, hands the dialog found through
// QApplication::activeModalWidget() (already active, so it has keyboard focus)
// to `drive`. Returns the helper's result. If the dialog is still open ten
// seconds later the test fails and the dialog is rejected, so a broken driver
// cannot hang the suite.
int runPrivacyQuery(QWidget* parent, const std::function<void(QueryImproveProductsDlg&)>& drive);
