// The question run modally, as ZpAnalyticsQueryUserPrivacy runs it: real key
// presses and clicks, and the 0 (participate) / 1 (anything else) result.
#include "PrivacyDialogDriver.h"
#include "UrlRecorder.h"

#include <QApplication>
#include <QCloseEvent>
#include <QTest>
#include <QWindow>
#include <gtest/gtest.h>

namespace {

class QueryImproveProductsDlgRunTest : public ::testing::TestWithParam<bool> {
protected:
    // Every run is repeated with the Windows button order.
    WinPlatformOverride mPlatform{GetParam()};
    UrlRecorder mBrowser;
};

TEST_P(QueryImproveProductsDlgRunTest, ReturnAcceptsEvenWhenDontParticipateHasFocus)
{
    QString focusedName;
    const int result = runPrivacyQuery(nullptr, [&](QueryImproveProductsDlg& dialog) {
        if (QWidget* focus = QApplication::focusWidget())
            focusedName = focus->objectName();
        pressKey(dialog, Qt::Key_Return);
    });
    EXPECT_EQ(result, 0);
    // The first button in the focus chain has the focus; Return still
    // answers with the default button, not with the focused one.
    EXPECT_EQ(focusedName, QStringLiteral("mDontParticipateButton"));
}

TEST_P(QueryImproveProductsDlgRunTest, EnterOnTheKeypadAccepts)
{
    const int result = runPrivacyQuery(nullptr, [](QueryImproveProductsDlg& dialog) {
        pressKey(dialog, Qt::Key_Enter, Qt::KeypadModifier);
    });
    EXPECT_EQ(result, 0);
}

TEST_P(QueryImproveProductsDlgRunTest, EscapeDeclines)
{
    const int result = runPrivacyQuery(nullptr, [](QueryImproveProductsDlg& dialog) {
        pressKey(dialog, Qt::Key_Escape);
    });
    EXPECT_EQ(result, 1);
}

TEST_P(QueryImproveProductsDlgRunTest, ClickingParticipateAccepts)
{
    const int result = runPrivacyQuery(nullptr, [](QueryImproveProductsDlg& dialog) {
        QTest::mouseClick(participateButton(dialog), Qt::LeftButton);
    });
    EXPECT_EQ(result, 0);
}

TEST_P(QueryImproveProductsDlgRunTest, ClickingDontParticipateDeclines)
{
    const int result = runPrivacyQuery(nullptr, [](QueryImproveProductsDlg& dialog) {
        QTest::mouseClick(dontParticipateButton(dialog), Qt::LeftButton);
    });
    EXPECT_EQ(result, 1);
}

TEST_P(QueryImproveProductsDlgRunTest, SpaceOnFocusedDontParticipateDeclines)
{
    const int result = runPrivacyQuery(nullptr, [](QueryImproveProductsDlg& dialog) {
        ASSERT_EQ(QApplication::focusWidget(), dontParticipateButton(dialog));
        pressKey(dialog, Qt::Key_Space);
    });
    EXPECT_EQ(result, 1);
}

TEST_P(QueryImproveProductsDlgRunTest, CloseDeclines)
{
    const int result = runPrivacyQuery(nullptr, [](QueryImproveProductsDlg& dialog) { dialog.close(); });
    EXPECT_EQ(result, 1);
}

TEST_P(QueryImproveProductsDlgRunTest, WindowSystemCloseDeclines)
{
    // The path of the title bar's close button: the platform window is asked
    // to close and the widget receives a spontaneous close event.
    const int result = runPrivacyQuery(nullptr, [](QueryImproveProductsDlg& dialog) {
        ASSERT_NE(dialog.windowHandle(), nullptr);
        dialog.windowHandle()->close();
    });
    EXPECT_EQ(result, 1);
}

TEST_P(QueryImproveProductsDlgRunTest, CloseEventDeclines)
{
    const int result = runPrivacyQuery(nullptr, [](QueryImproveProductsDlg& dialog) {
        QCloseEvent event;
        QApplication::sendEvent(&dialog, &event);
    });
    EXPECT_EQ(result, 1);
}

TEST_P(QueryImproveProductsDlgRunTest, LearnMoreOpensThePageAndKeepsTheDialogOpen)
{
    bool stillOpen = false;
    bool learnMoreTookFocus = true;
    QWidget* focusAfterClick = nullptr;
    QWidget* focusBeforeClick = nullptr;
    const int result = runPrivacyQuery(nullptr, [&](QueryImproveProductsDlg& dialog) {
        focusBeforeClick = QApplication::focusWidget();
        QTest::mouseClick(learnMoreButton(dialog), Qt::LeftButton);
        QApplication::processEvents();
        stillOpen = dialog.isVisible() && QApplication::activeModalWidget() == &dialog;
        focusAfterClick = QApplication::focusWidget();
        learnMoreTookFocus = learnMoreButton(dialog)->hasFocus();
        // Then answer, to show the dialog still works after the page opened.
        pressKey(dialog, Qt::Key_Return);
    });
    EXPECT_TRUE(stillOpen);
    EXPECT_FALSE(learnMoreTookFocus);
    EXPECT_EQ(focusAfterClick, focusBeforeClick);
    EXPECT_EQ(result, 0);
    ASSERT_EQ(mBrowser.urls().size(), 1);
    EXPECT_EQ(mBrowser.urls().first(), QUrl(QStringLiteral("http://www.example.com/analytics")));
}

TEST_P(QueryImproveProductsDlgRunTest, RunsOverAVisibleHostWindow)
{
    QWidget host;
    host.resize(640, 480);
    host.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&host));
    QWidget* dialogParent = nullptr;
    const int result = runPrivacyQuery(&host, [&](QueryImproveProductsDlg& dialog) {
        dialogParent = dialog.parentWidget();
        QTest::mouseClick(participateButton(dialog), Qt::LeftButton);
    });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(dialogParent, &host);
    // Built on the helper's stack: nothing is left behind under the host.
    EXPECT_TRUE(host.findChildren<QueryImproveProductsDlg*>().isEmpty());
}

TEST_P(QueryImproveProductsDlgRunTest, EachQueryStartsFromScratch)
{
    // The first run declines; the second must still accept with Return,
    // because the dialog keeps nothing between calls.
    EXPECT_EQ(runPrivacyQuery(nullptr, [](QueryImproveProductsDlg& dialog) {
                  QTest::mouseClick(dontParticipateButton(dialog), Qt::LeftButton);
              }),
              1);
    EXPECT_EQ(runPrivacyQuery(nullptr, [](QueryImproveProductsDlg& dialog) {
                  pressKey(dialog, Qt::Key_Return);
              }),
              0);
}

INSTANTIATE_TEST_SUITE_P(Platforms, QueryImproveProductsDlgRunTest, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& info) {
                             return info.param ? std::string("Windows") : std::string("Other");
                         });

} // namespace
