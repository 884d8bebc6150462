// Runs the README's main job (scripts/demo.sh) once against this build and
// checks what it printed: what zp-ingest received from the three runs of
// zp-demo-host, and the backtrace LLDB read from the minidump. The script
// must also leave nothing behind: no process and no file in its temporary
// folder.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QMap>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QStringList>
#include <QTemporaryDir>

#include <ostream>

// Lets GoogleTest print Qt strings (and lists and maps of them) as text.
void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

namespace {

struct Attachment {
    QString fileName;
    QString contentType;
    qint64 bytes = 0;
};

// What the script printed, taken apart once for every test.
struct MainJobResult {
    bool finished = false;
    int exitCode = -1;
    QString output; // standard output and error, interleaved
    QStringList lines;
    QString temporaryRoot; // TMPDIR of the script
};

MainJobResult* gResult = nullptr;

// The lines after `header` that start with `indent`, up to the first that does not.
QStringList blockAfter(const QStringList& lines, const QString& header, const QString& indent = QStringLiteral("  "))
{
    QStringList block;
    const qsizetype start = lines.indexOf(header);
    if (start < 0)
        return block;
    for (qsizetype i = start + 1; i < lines.size() && lines.at(i).startsWith(indent); ++i)
        block << lines.at(i);
    return block;
}

// "  Name with spaces   3" lines of the summary's "events by name:" block.
QMap<QString, int> eventsByName(const QStringList& lines)
{
    static const QRegularExpression kLine(QStringLiteral("^  (.+?)\\s+(\\d+)$"));
    QMap<QString, int> events;
    for (const QString& line : blockAfter(lines, QStringLiteral("events by name:"))) {
        const QRegularExpressionMatch match = kLine.match(line);
        if (match.hasMatch())
            events.insert(match.captured(1), match.captured(2).toInt());
    }
    return events;
}

QList<Attachment> attachments(const QStringList& lines)
{
    static const QRegularExpression kLine(QStringLiteral("^    attachment (\\S+)\\s+(\\S+)\\s+(\\d+) bytes$"));
    QList<Attachment> result;
    for (const QString& line : lines) {
        const QRegularExpressionMatch match = kLine.match(line);
        if (match.hasMatch())
            result.append({match.captured(1), match.captured(2), match.captured(3).toLongLong()});
    }
    return result;
}

// Processes whose command line mentions `text`.
QStringList processesMentioning(const QString& text)
{
    QStringList found;
    const QStringList pids = QDir(QStringLiteral("/proc")).entryList({QStringLiteral("[0-9]*")}, QDir::Dirs);
    for (const QString& pid : pids) {
        QFile cmdline(QStringLiteral("/proc/%1/cmdline").arg(pid));
        if (!cmdline.open(QIODevice::ReadOnly))
            continue;
        const QString arguments = QString::fromLocal8Bit(cmdline.readAll().replace('\0', ' '));
        if (arguments.contains(text))
            found << pid + QLatin1Char(' ') + arguments;
    }
    return found;
}

class DemoMainJobTest : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        static QTemporaryDir temporaryRoot;
        ASSERT_TRUE(temporaryRoot.isValid());
        gResult = new MainJobResult;
        gResult->temporaryRoot = temporaryRoot.path();

        QProcess script;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("ZP_DEMO_SKIP_SETUP"), QStringLiteral("1"));
        environment.insert(QStringLiteral("ZP_DEMO_BUILD_DIR"), QStringLiteral(ZP_DEMO_BUILD_DIR));
        environment.insert(QStringLiteral("TMPDIR"), temporaryRoot.path());
        script.setProcessEnvironment(environment);
        script.setProcessChannelMode(QProcess::MergedChannels);
        script.start(QStringLiteral("bash"), {QStringLiteral(ZP_DEMO_SCRIPT)});
        // A bound for liveness only; the job takes seconds.
        gResult->finished = script.waitForFinished(110000);
        if (!gResult->finished)
            script.kill();
        script.waitForFinished(5000);
        gResult->exitCode = script.exitStatus() == QProcess::NormalExit ? script.exitCode() : -1;
        gResult->output = QString::fromUtf8(script.readAll());
        gResult->lines = gResult->output.split(QLatin1Char('\n'));
    }

    static void TearDownTestSuite()
    {
        delete gResult;
        gResult = nullptr;
    }

    const MainJobResult& result() const { return *gResult; }
};

TEST_F(DemoMainJobTest, FinishesWithSuccess)
{
    ASSERT_TRUE(result().finished) << result().output.toStdString();
    EXPECT_EQ(result().exitCode, 0) << result().output.toStdString();
    EXPECT_TRUE(result().output.contains(QStringLiteral("zp-demo: done in"))) << result().output.toStdString();
}

TEST_F(DemoMainJobTest, EveryTrackedEventArrivedOnce)
{
    // The scripted features of run 1, as the library names its events: the
    // dotted codes by their first part, the timed one as Start and End, the
    // second once-per-run call dropped; "System" is the start-up description.
    const QMap<QString, int> expected{
        {QStringLiteral("System"), 1},
        {QStringLiteral("Welcome Dialog Automatic"), 1},
        {QStringLiteral("Application"), 1},
        {QStringLiteral("Tethered Shooting"), 2},
        {QStringLiteral("DetailView SessionStart"), 1},
        {QStringLiteral("DetailView SessionEnd"), 1},
        {QStringLiteral("Cataloged Photo Count"), 1},
        {QStringLiteral("Import"), 1},
    };
    EXPECT_EQ(eventsByName(result().lines), expected) << result().output.toStdString();
    EXPECT_TRUE(result().lines.contains(QStringLiteral("duplicate ids: none"))) << result().output.toStdString();
}

TEST_F(DemoMainJobTest, OneCrashReportWithItsThreeAttachments)
{
    ASSERT_TRUE(result().lines.contains(QStringLiteral("crash reports: 1"))) << result().output.toStdString();
    const QList<Attachment> found = attachments(result().lines);
    ASSERT_EQ(found.size(), 3) << result().output.toStdString();

    // The minidump, the product log and the crash description.
    const QRegularExpression productFile(QStringLiteral("^Beta\\.\\d{4}-\\d\\d-\\d\\d_\\d\\d-\\d\\d-\\d\\dZ\\.(log|txt)$"));
    QStringList kinds;
    for (const Attachment& attachment : found) {
        EXPECT_GT(attachment.bytes, 0) << attachment.fileName.toStdString();
        if (attachment.fileName == QLatin1String("minidump.dmp")) {
            kinds << QStringLiteral("dmp");
            EXPECT_EQ(attachment.contentType, QLatin1String("application/octet-stream"));
        } else {
            const QRegularExpressionMatch match = productFile.match(attachment.fileName);
            ASSERT_TRUE(match.hasMatch()) << attachment.fileName.toStdString();
            kinds << match.captured(1);
            EXPECT_EQ(attachment.contentType, match.captured(1) == QLatin1String("txt")
                                                  ? QLatin1String("text/plain")
                                                  : QLatin1String("application/octet-stream"));
        }
    }
    kinds.sort();
    EXPECT_EQ(kinds, (QStringList{QStringLiteral("dmp"), QStringLiteral("log"), QStringLiteral("txt")}));
}

TEST_F(DemoMainJobTest, BacktraceShowsTheCrashingFunction)
{
    const QStringList frames = blockAfter(
        result().lines, QStringLiteral("The crashed thread, read from the minidump by LLDB (top frames):"),
        QStringLiteral("  frame #"));
    ASSERT_FALSE(frames.isEmpty()) << result().output.toStdString();
    EXPECT_TRUE(frames.constFirst().startsWith(QLatin1String("  frame #0:"))) << frames.constFirst().toStdString();
    EXPECT_TRUE(frames.constFirst().contains(QLatin1String("DemoCrash::writeThroughNullPointer")))
        << frames.join(QLatin1Char('\n')).toStdString();
}

TEST_F(DemoMainJobTest, LeavesNothingRunningAndNoFiles)
{
    ASSERT_TRUE(result().finished);
    EXPECT_EQ(QDir(result().temporaryRoot).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
              QStringList());
    EXPECT_EQ(processesMentioning(result().temporaryRoot), QStringList());
}

} // namespace

int main(int argc, char** argv)
{
    // QProcess needs the application object's event dispatcher.
    QCoreApplication app(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
