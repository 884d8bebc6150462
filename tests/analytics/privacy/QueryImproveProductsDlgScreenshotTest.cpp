// Renders the dialog to a PNG for people to look at, and checks that nothing
// in it is cut off: every text fits the room the layout gave it.
#include "PrivacyDialogDriver.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QLabel>
#include <QPixmap>
#include <QTest>
#include <gtest/gtest.h>

namespace {

QString screenshotPath(bool windows)
{
    QString path = qEnvironmentVariable("ZP_PRIVACY_SCREENSHOT", QStringLiteral(ZP_PRIVACY_SCREENSHOT_DEFAULT));
    if (windows)
        path.insert(path.lastIndexOf(QLatin1Char('.')), QStringLiteral("-windows"));
    return path;
}

void expectNothingCutOff(const QueryImproveProductsDlg& dialog)
{
    const QRect inside = dialog.rect();
    for (const QWidget* widget : dialog.findChildren<QWidget*>()) {
        EXPECT_TRUE(widget->isVisible()) << widget->objectName().toStdString();
        const QRect placed(widget->mapTo(&dialog, QPoint(0, 0)), widget->size());
        EXPECT_TRUE(inside.contains(placed)) << widget->objectName().toStdString();
    }
    for (const QLabel* label : dialog.findChildren<QLabel*>()) {
        const std::string name = label->objectName().toStdString();
        if (label->wordWrap()) {
            EXPECT_LE(label->heightForWidth(label->width()), label->height()) << name;
        } else {
            EXPECT_LE(label->sizeHint().width(), label->width()) << name;
            EXPECT_LE(label->sizeHint().height(), label->height()) << name;
        }
    }
    for (const QPushButton* button : dialog.findChildren<QPushButton*>()) {
        const std::string name = button->objectName().toStdString();
        EXPECT_LE(button->fontMetrics().horizontalAdvance(button->text()), button->width()) << name;
        // The style's own idea of the room the text and its margins need.
        EXPECT_LE(button->sizeHint().width(), button->width()) << name;
        EXPECT_LE(button->sizeHint().height(), button->height()) << name;
    }
}

class QueryImproveProductsDlgScreenshotTest : public ::testing::TestWithParam<bool> {};

TEST_P(QueryImproveProductsDlgScreenshotTest, RendersWithNothingCutOff)
{
    const WinPlatformOverride platform(GetParam());
    QueryImproveProductsDlg dialog;
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    expectNothingCutOff(dialog);

    const QString path = screenshotPath(GetParam());
    ASSERT_TRUE(QDir().mkpath(QFileInfo(path).absolutePath()));
    const QPixmap shot = dialog.grab();
    ASSERT_FALSE(shot.isNull());
    ASSERT_TRUE(shot.save(path, "PNG")) << path.toStdString();

    const QImage saved(path);
    EXPECT_EQ(saved.size(), dialog.size() * dialog.devicePixelRatio());
    // Text was drawn: the picture is not one flat colour.
    const QRgb background = saved.pixel(0, 0);
    int differing = 0;
    for (int y = 0; y < saved.height(); y += 2) {
        for (int x = 0; x < saved.width(); x += 2)
            differing += saved.pixel(x, y) != background ? 1 : 0;
    }
    EXPECT_GT(differing, 100);
}

INSTANTIATE_TEST_SUITE_P(Platforms, QueryImproveProductsDlgScreenshotTest, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& info) {
                             return info.param ? std::string("Windows") : std::string("Other");
                         });

} // namespace
