// Where CrashReportDialog appears: centred on the screen of a parent window
// that is not shown yet, and wherever Qt puts any dialog otherwise.
#include "CrashReport/CrashReportDialog.h"

#include <QApplication>
#include <QDialog>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRect>
#include <QScreen>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

constexpr Qt::WindowFlags kDialogFlags = Qt::Dialog | Qt::WindowTitleHint | Qt::WindowCloseButtonHint;

// Set in the child process that runs a test on two offscreen screens.
const char* const kTwoScreensChild = "ZP_CRASHDIALOG_TWO_SCREENS_CHILD";

// Top-left corner of a frame of `frame` centred on `area`.
QPoint centredOn(const QRect& area, const QSize& frame)
{
    return QPoint(area.center().x() - frame.width() / 2, area.center().y() - frame.height() / 2);
}

// Where Qt itself places a dialog of `size` with the same flags and parent:
// the reference for "left where the framework places it".
QPoint frameworkPlacement(QWidget* parent, const QSize& size)
{
    QDialog reference(parent, kDialogFlags);
    reference.setFixedSize(size);
    reference.show();
    const QPoint placed = reference.pos();
    reference.hide();
    return placed;
}

} // namespace

TEST(CrashReportDialogPlacement, HiddenParentCentresItOnTheParentsScreen)
{
    QWidget parent;
    parent.setGeometry(0, 0, 160, 120);
    ASSERT_FALSE(parent.isVisible());

    CrashReportDialog dialog(QStringLiteral("Alpha"), &parent);
    dialog.show();
    ASSERT_TRUE(dialog.isVisible());

    const QRect available = parent.screen()->availableGeometry();
    const QPoint expected = centredOn(available, dialog.frameSize());
    EXPECT_EQ(dialog.frameGeometry().topLeft(), expected);
    EXPECT_EQ(dialog.pos(), expected);
    // Qt alone would have put it over the (unshown) parent in the corner.
    EXPECT_NE(frameworkPlacement(&parent, dialog.size()), expected);
}

TEST(CrashReportDialogPlacement, HiddenParentCentresItOnEveryShow)
{
    QWidget parent;
    parent.setGeometry(0, 0, 160, 120);
    CrashReportDialog dialog(QStringLiteral("Alpha"), &parent);
    dialog.show();
    dialog.hide();
    dialog.move(3, 4);
    dialog.show();
    EXPECT_EQ(dialog.pos(), centredOn(parent.screen()->availableGeometry(), dialog.frameSize()));
}

TEST(CrashReportDialogPlacement, VisibleParentLeavesItWhereQtPlacesIt)
{
    QWidget parent;
    parent.setGeometry(20, 30, 160, 120);
    parent.show();
    ASSERT_TRUE(parent.isVisible());

    CrashReportDialog dialog(QStringLiteral("Alpha"), &parent);
    dialog.show();
    const QPoint shownAt = dialog.pos();
    const QSize size = dialog.size();
    dialog.hide();

    EXPECT_EQ(shownAt, frameworkPlacement(&parent, size));
    EXPECT_NE(shownAt, centredOn(parent.screen()->availableGeometry(), dialog.frameSize()));
}

TEST(CrashReportDialogPlacement, NoParentLeavesItWhereQtPlacesIt)
{
    CrashReportDialog dialog(QStringLiteral("Alpha"));
    dialog.show();
    const QPoint shownAt = dialog.pos();
    const QSize size = dialog.size();
    const QPoint centred = centredOn(dialog.screen()->availableGeometry(), dialog.frameSize());
    dialog.hide();

    EXPECT_EQ(shownAt, frameworkPlacement(nullptr, size));
    // Qt's own placement is not the dialog's centring (it allows for a title
    // bar), so this would notice the dialog moving itself.
    EXPECT_NE(shownAt, centred);
}

// Needs a second screen, which the offscreen platform only has when a
// configuration file says so; the test therefore runs itself again in a child
// process started with such a file.
TEST(CrashReportDialogPlacement, HiddenParentOnTheSecondScreenCentresItThere)
{
    if (!qEnvironmentVariableIsSet(kTwoScreensChild)) {
        QTemporaryDir dir;
        ASSERT_TRUE(dir.isValid());
        const QString config = dir.filePath(QStringLiteral("two-screens.json"));
        QFile file(config);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(R"({"screens": [
            {"name": "left",  "x": 0,    "y": 0, "width": 1024, "height": 768},
            {"name": "right", "x": 1024, "y": 0, "width": 1600, "height": 900}]})");
        file.close();

        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QString::fromLatin1(kTwoScreensChild), QStringLiteral("1"));
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen:configfile=") + config);
        QProcess child;
        child.setProcessEnvironment(environment);
        child.setProcessChannelMode(QProcess::MergedChannels);
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        child.start(QCoreApplication::applicationFilePath(),
                    {QStringLiteral("--gtest_filter=%1.%2").arg(QLatin1String(test->test_suite_name()),
                                                                  QLatin1String(test->name()))});
        ASSERT_TRUE(child.waitForFinished(60000)) << "the child process did not finish";
        const QString output = QString::fromLocal8Bit(child.readAll());
        EXPECT_EQ(child.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(child.exitCode(), 0) << output.toStdString();
        EXPECT_TRUE(output.contains(QLatin1String("[  PASSED  ] 1 test"))) << output.toStdString();
        return;
    }

    const QList<QScreen*> screens = QGuiApplication::screens();
    ASSERT_EQ(screens.size(), 2) << "the offscreen platform ignored the screen configuration";
    QScreen* second = QGuiApplication::screenAt(QPoint(1024 + 800, 450));
    ASSERT_NE(second, nullptr);
    ASSERT_NE(second, QGuiApplication::primaryScreen());

    QWidget parent;
    parent.setGeometry(1024 + 40, 40, 300, 200);
    ASSERT_EQ(parent.screen(), second);

    CrashReportDialog dialog(QStringLiteral("Alpha"), &parent);
    dialog.show();
    const QPoint expected = centredOn(second->availableGeometry(), dialog.frameSize());
    EXPECT_EQ(dialog.pos(), expected);
    EXPECT_EQ(dialog.screen(), second);
    EXPECT_NE(expected, centredOn(QGuiApplication::primaryScreen()->availableGeometry(), dialog.frameSize()));
}
