#include <ZpWidgetsLite/VantroMainWindow.h>

#include <QApplication>
#include <QDialog>
#include <QTest>
#include <gtest/gtest.h>

TEST(VantroMainWindow, NoWindowMeansNull)
{
    ASSERT_TRUE(QApplication::topLevelWidgets().isEmpty() || QApplication::activeWindow() == nullptr);
    EXPECT_EQ(VantroMainWindow::activeWindow(), nullptr);
}

TEST(VantroMainWindow, HiddenMainWindowIsNotReported)
{
    VantroMainWindow window;
    EXPECT_EQ(VantroMainWindow::activeWindow(), nullptr);
}

TEST(VantroMainWindow, ReportsTheActiveMainWindow)
{
    VantroMainWindow window;
    window.show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    EXPECT_EQ(VantroMainWindow::activeWindow(), &window);
    EXPECT_EQ(qobject_cast<QMainWindow*>(VantroMainWindow::activeWindow()), &window);
}

TEST(VantroMainWindow, ReportsAnActiveWindowThatIsNotAMainWindow)
{
    QDialog dialog;
    dialog.show();
    dialog.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    EXPECT_EQ(VantroMainWindow::activeWindow(), &dialog);
    EXPECT_EQ(qobject_cast<QMainWindow*>(VantroMainWindow::activeWindow()), nullptr);
}

TEST(VantroMainWindow, FallsBackToAVisiblePlainMainWindowWhenNothingIsActive)
{
    QMainWindow window;
    window.setAttribute(Qt::WA_ShowWithoutActivating);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    if (QApplication::activeWindow() != nullptr)
        QApplication::setActiveWindow(nullptr);
    ASSERT_EQ(QApplication::activeWindow(), nullptr);
    EXPECT_EQ(VantroMainWindow::activeWindow(), &window);
}
