// The crash description: its seventeen lines, which of them are optional, the
// two dates of its making, and the secret it must never carry.
#include "WorkflowFixture.h"

#include <ZpCore/ZpProcess.h>
#include <ZpQtCoreLite/ZpQtSysInfo.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSysInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <ctime>
#include <optional>

namespace {

// A machine with a firmware identity and one display adapter, so that the
// hardware lines carry known, distinct texts.
class FakeMachine {
public:
    FakeMachine()
    {
        EXPECT_TRUE(mRoot.isValid());
        write(QStringLiteral("sys/class/dmi/id/product_name"), "Workstation 9000\n");
        write(QStringLiteral("sys/class/dmi/id/sys_vendor"), "Example Computers\n");
        const QString adapter = QStringLiteral("sys/bus/pci/devices/0000:00:02.0/");
        write(adapter + QStringLiteral("class"), "0x030000\n");
        write(adapter + QStringLiteral("vendor"), "0x1234\n");
        write(adapter + QStringLiteral("device"), "0x1111\n");
        write(adapter + QStringLiteral("boot_vga"), "1\n");
        ZpQtSysInfo::setSystemRootOverride(mRoot.path());
    }
    ~FakeMachine() { ZpQtSysInfo::setSystemRootOverride(std::nullopt); }

private:
    void write(const QString& relativePath, const QByteArray& content)
    {
        const QString path = mRoot.filePath(relativePath);
        ASSERT_TRUE(QDir().mkpath(QFileInfo(path).path()));
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    QTemporaryDir mRoot;
};

// A local time zone far from UTC, so that the two date lines differ.
class LocalTimeZone {
public:
    explicit LocalTimeZone(const QByteArray& zone)
        : mHad(qEnvironmentVariableIsSet("TZ"))
        , mPrevious(qgetenv("TZ"))
    {
        qputenv("TZ", zone);
        tzset();
    }
    ~LocalTimeZone()
    {
        if (mHad)
            qputenv("TZ", mPrevious);
        else
            qunsetenv("TZ");
        tzset();
    }

private:
    bool mHad;
    QByteArray mPrevious;
};

class BuildString {
public:
    explicit BuildString(CFStringRef build) { ZpProcessSetBuildString(build); }
    ~BuildString() { ZpProcessSetBuildString(nullptr); }
};

class CrashDescriptionTest : public WorkflowFixture {
protected:
    void SetUp() override
    {
        WorkflowFixture::SetUp();
        startAlpha();
    }

    // Makes the description, checks both date lines (local first, then UTC,
    // each naming the moment of making) and returns the text with each date
    // replaced by "<date>"; `bytes` receives what the controller returned.
    QString describeWithDatesChecked(QByteArray* bytes = nullptr)
    {
        const QDateTime before = QDateTime::fromSecsSinceEpoch(QDateTime::currentSecsSinceEpoch());
        const QByteArray made = controller().crashDescription();
        const QDateTime after = QDateTime::currentDateTimeUtc();
        if (bytes)
            *bytes = made;

        QString text = QString::fromLocal8Bit(made);
        static const QRegularExpression dateLine(QStringLiteral("^Date: (.*)$"),
                                                 QRegularExpression::MultilineOption);
        QStringList dates;
        for (const QRegularExpressionMatch& match : dateLine.globalMatch(text))
            dates << match.captured(1);
        EXPECT_EQ(dates.size(), 2);
        if (dates.size() == 2) {
            // Qt's default text form, e.g. "Sat Nov 21 20:44:11 2026", and for UTC the same with " GMT".
            static const QRegularExpression textDate(
                QStringLiteral("^[A-Z][a-z]{2} [A-Z][a-z]{2} [ 0-9]?\\d \\d\\d:\\d\\d:\\d\\d \\d{4}$"));
            EXPECT_TRUE(textDate.match(dates.at(0)).hasMatch()) << dates.at(0).toStdString();
            EXPECT_TRUE(dates.at(1).endsWith(QLatin1String(" GMT"))) << dates.at(1).toStdString();
            EXPECT_TRUE(textDate.match(dates.at(1).chopped(4)).hasMatch()) << dates.at(1).toStdString();

            const QDateTime local = QDateTime::fromString(dates.at(0), Qt::TextDate);
            const QDateTime utc = QDateTime::fromString(dates.at(1), Qt::TextDate);
            EXPECT_EQ(local.timeSpec(), Qt::LocalTime);
            EXPECT_EQ(utc.timeSpec(), Qt::UTC);
            for (const QDateTime& when : {local, utc}) {
                EXPECT_TRUE(when.isValid());
                EXPECT_LE(before, when);
                EXPECT_GE(after, when);
            }
        }
        text.replace(dateLine, QStringLiteral("Date: <date>"));
        return text;
    }

    // Lines 5 to 17: the part that has no condition.
    static QString machinePart()
    {
        return QStringLiteral("Date: <date>\n"
                              "Date: <date>\n\n"
                              "Package: %1\n"
                              "Process: %2\n"
                              "Path: %3\n"
                              "Version: 7.1.0 (4711)\n\n"
                              "OS: %4\n"
                              "OS Version: %5 (%6)\n\n"
                              "Manufacturer: Example Computers\n"
                              "Model: Workstation 9000\n"
                              "CPU Architecture: %7\n\n"
                              "Video Card: %8\n"
                              "%9")
            .arg(alphaBundleIdentifier(), QFileInfo(QCoreApplication::applicationFilePath()).fileName(),
                 QCoreApplication::applicationFilePath(), ZpQtSysInfo::osName(), ZpQtSysInfo::osVersion(),
                 ZpQtSysInfo::osBuildVersion(), QSysInfo::currentCpuArchitecture(), ZpQtSysInfo::videoCard(),
                 ZpQtSysInfo::videoDescription());
    }

    FakeMachine mMachine;
    LocalTimeZone mZone{"Asia/Kolkata"};
    BuildString mBuild{CFSTR("7.1.0 (4711)")};
};

} // namespace

TEST_F(CrashDescriptionTest, HasAllSeventeenLinesWhenTheUserSaidEverything)
{
    // The description comes from the dialog; name and e-mail too, here.
    {
        DialogUser user(DialogUser::submit(QStringLiteral("Zoë Ångström"), QStringLiteral("zoe@example.com"),
                                           QStringLiteral("I pressed Save\ntwice")));
        ASSERT_TRUE(controller().askUser());
    }
    ASSERT_FALSE(ZpQtSysInfo::videoCard().isEmpty());
    ASSERT_FALSE(ZpQtSysInfo::videoDescription().isEmpty());
    ASSERT_FALSE(ZpQtSysInfo::osName().isEmpty());

    QByteArray bytes;
    const QString text = describeWithDatesChecked(&bytes);
    EXPECT_EQ(text, QStringLiteral("User ID: user-42\n"
                                   "User Name: Zoë Ångström\n"
                                   "User Email: zoe@example.com\n"
                                   "Description: I pressed Save\ntwice\n\n")
                        + machinePart());
    EXPECT_FALSE(bytes.endsWith('\n'));
    // The bytes are the text in the local 8-bit encoding.
    EXPECT_EQ(QString::fromLocal8Bit(bytes).toLocal8Bit(), bytes);
    EXPECT_TRUE(bytes.contains(QStringLiteral("Zoë Ångström").toLocal8Bit()));
}

TEST_F(CrashDescriptionTest, LeavesOutWhatTheUserDidNotGive)
{
    EXPECT_EQ(describeWithDatesChecked(), QStringLiteral("User ID: user-42\n") + machinePart());
}

TEST_F(CrashDescriptionTest, EachUserLineHasItsOwnCondition)
{
    controller().setUserEmail(QStringLiteral("only@example.com"));
    EXPECT_EQ(describeWithDatesChecked(),
              QStringLiteral("User ID: user-42\nUser Email: only@example.com\n") + machinePart());
    controller().setUserEmail(QString());
    controller().setUserName(QStringLiteral("Only Name"));
    EXPECT_EQ(describeWithDatesChecked(), QStringLiteral("User ID: user-42\nUser Name: Only Name\n") + machinePart());
}

TEST_F(CrashDescriptionTest, PercentSignsInWhatTheUserTypedStayAsTheyAre)
{
    controller().setUserName(QStringLiteral("%1 %2 100%"));
    EXPECT_EQ(describeWithDatesChecked(), QStringLiteral("User ID: user-42\nUser Name: %1 %2 100%\n") + machinePart());
}

TEST_F(CrashDescriptionTest, NeverCarriesTheAppSecret)
{
    ASSERT_FALSE(alphaSecret().isEmpty());
    ASSERT_EQ(controller().appSecret(), alphaSecret());
    const QString text = QString::fromLocal8Bit(controller().crashDescription());
    EXPECT_FALSE(text.contains(alphaSecret()));
}
