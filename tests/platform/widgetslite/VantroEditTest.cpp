#include <ZpWidgetsLite/VantroLineEdit.h>
#include <ZpWidgetsLite/VantroTextEdit.h>

#include <QImage>
#include <QTest>
#include <gtest/gtest.h>

namespace {

// The widget as it is drawn on screen.
QImage rendered(QWidget& widget)
{
    widget.resize(160, 40);
    widget.ensurePolished();
    return widget.grab().toImage();
}

} // namespace

TEST(VantroLineEdit, StartsWithThePlatformFrame)
{
    VantroLineEdit edit;
    EXPECT_EQ(edit.borderStyle(), kVantroBorderStyleDefault);
    EXPECT_TRUE(edit.styleSheet().isEmpty());
}

TEST(VantroLineEdit, BorderStyleOneDrawsAThinBorder)
{
    VantroLineEdit edit;
    const QImage before = rendered(edit);
    edit.setBorderStyle(1);
    EXPECT_EQ(edit.borderStyle(), kVantroBorderStyleThin);
    EXPECT_TRUE(edit.styleSheet().contains(QLatin1String("1px solid")));
    EXPECT_NE(rendered(edit), before);
}

TEST(VantroLineEdit, UnknownBorderStyleFallsBackToThePlatformFrame)
{
    VantroLineEdit edit;
    edit.setBorderStyle(1);
    edit.setBorderStyle(42);
    EXPECT_EQ(edit.borderStyle(), kVantroBorderStyleDefault);
    EXPECT_TRUE(edit.styleSheet().isEmpty());
    edit.setBorderStyle(-1);
    EXPECT_EQ(edit.borderStyle(), kVantroBorderStyleDefault);
}

TEST(VantroLineEdit, BorderStyleTwoRemovesTheFrame)
{
    VantroLineEdit edit;
    edit.setBorderStyle(2);
    EXPECT_EQ(edit.borderStyle(), kVantroBorderStyleNone);
    EXPECT_TRUE(edit.styleSheet().contains(QLatin1String("border: none")));
}

TEST(VantroLineEdit, TakesTypedText)
{
    VantroLineEdit edit;
    edit.setBorderStyle(1);
    edit.show();
    QTest::keyClicks(&edit, QStringLiteral("Zo"));
    // keyClicks speaks ASCII only; a non-ASCII key press carries its text.
    QTest::sendKeyEvent(QTest::Click, &edit, Qt::Key_unknown, QStringLiteral("ë"), Qt::NoModifier);
    EXPECT_EQ(edit.text(), QStringLiteral("Zoë"));
}

TEST(VantroTextEdit, BorderStyleOneDrawsAThinBorder)
{
    VantroTextEdit edit;
    EXPECT_EQ(edit.borderStyle(), kVantroBorderStyleDefault);
    const QImage before = rendered(edit);
    edit.setBorderStyle(1);
    EXPECT_EQ(edit.borderStyle(), kVantroBorderStyleThin);
    EXPECT_TRUE(edit.styleSheet().startsWith(QLatin1String("QTextEdit")));
    EXPECT_NE(rendered(edit), before);
}

TEST(VantroTextEdit, TakesTypedLinesAndFallsBackOnUnknownStyle)
{
    VantroTextEdit edit;
    edit.setBorderStyle(3);
    EXPECT_EQ(edit.borderStyle(), kVantroBorderStyleDefault);
    edit.show();
    QTest::keyClicks(&edit, QStringLiteral("first"));
    QTest::keyClick(&edit, Qt::Key_Return);
    QTest::keyClicks(&edit, QStringLiteral("second"));
    EXPECT_EQ(edit.toPlainText(), QStringLiteral("first\nsecond"));
}
