// The Windows crash-time core, checked from outside: each test runs the
// mingw-w64 victim under Wine as a child process, lets it crash (or survive),
// and reads the files it left in a fresh directory.

#include "VictimContract.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QtEndian>

#include <cstdint>
#include <iostream>
#include <string>

namespace {

constexpr int kVictimTimeoutMs = 60000; // liveness only
constexpr std::uint32_t kAccessViolation = 0xC0000005u;
constexpr std::uint32_t kMinidumpExceptionStream = 6;
// The header, directory and streams of even the smallest real dump exceed this.
constexpr qint64 kSmallestPlausibleDump = 4096;

struct VictimRun {
    bool finished = false;
    QProcess::ExitStatus exitStatus = QProcess::CrashExit;
    int exitCode = -1;
    QByteArray out;
    qint64 crashToExitMs = -1;

    // The value after `prefix` on the first line that starts with it; empty if none.
    QByteArray value(const char* prefix) const
    {
        for (const QByteArray& line : out.split('\n')) {
            if (line.startsWith(prefix))
                return line.mid(int(qstrlen(prefix)));
        }
        return {};
    }
};

// Wine's new prefix maps drive Z: to the Unix root.
QString windowsPath(const QString& unixPath)
{
    QString path = QStringLiteral("Z:") + QDir::cleanPath(unixPath);
    path.replace(QLatin1Char('/'), QLatin1Char('\\'));
    return path;
}

QString sessionFile(const QString& directory, const char* suffix)
{
    return directory + QLatin1Char('/') + QLatin1String(Victim::kSession) + QLatin1String(suffix);
}

VictimRun runVictim(const QString& directory, const char* mode)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("WINEPREFIX"), QStringLiteral(ZP_CRASHWIN_WINEPREFIX));
    environment.insert(QStringLiteral("WINEDEBUG"), QStringLiteral("-all"));
    environment.insert(QStringLiteral("WINEDLLOVERRIDES"), QStringLiteral("mscoree,mshtml="));
    // Wine turns the command line and file names into UTF-16 through the
    // locale's character set.
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    environment.remove(QStringLiteral("DISPLAY"));
    environment.remove(QStringLiteral("WAYLAND_DISPLAY"));

    QProcess victim;
    victim.setProcessEnvironment(environment);
    victim.setProcessChannelMode(QProcess::SeparateChannels);
    victim.start(QStringLiteral(ZP_WINE),
                 {QStringLiteral(ZP_CRASHWIN_VICTIM), windowsPath(directory), QString::fromLatin1(mode)});

    VictimRun run;
    run.finished = victim.waitForFinished(kVictimTimeoutMs);
    const qint64 exitedAtMs = QDateTime::currentMSecsSinceEpoch();
    if (!run.finished) {
        victim.kill();
        victim.waitForFinished();
    }
    run.exitStatus = victim.exitStatus();
    run.exitCode = victim.exitCode();
    run.out = victim.readAllStandardOutput();

    bool ok = false;
    const qulonglong crashAt = run.value(Victim::kCrashAtLine).toULongLong(&ok);
    if (ok) {
        // FILETIME: 100 ns units since 1601-01-01 UTC.
        constexpr qulonglong kUnixEpochAsFileTime = 116444736000000000ull;
        run.crashToExitMs = exitedAtMs - qint64((crashAt - kUnixEpochAsFileTime) / 10000);
    }
    return run;
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

QStringList entries(const QString& directory)
{
    return QDir(directory).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

QByteArray preparedJson()
{
    return QByteArray(Victim::kCrashJson, int(Victim::kCrashJsonSize));
}

// Figures for the record, never assertions.
void note(const char* key, qint64 value)
{
    ::testing::Test::RecordProperty(key, std::to_string(value));
    std::cout << "[   NOTE   ] " << key << " = " << value << std::endl;
}

struct DumpException {
    bool found = false;
    std::uint32_t threadId = 0;
    std::uint32_t code = 0;
};

// Finds the exception stream through the minidump's stream directory.
DumpException exceptionOf(const QByteArray& dump)
{
    DumpException result;
    const auto u32 = [&dump](qint64 offset) -> std::uint32_t {
        if (offset < 0 || offset + 4 > dump.size())
            return 0;
        return qFromLittleEndian<std::uint32_t>(dump.constData() + offset);
    };
    const std::uint32_t streamCount = u32(8);
    const std::uint32_t directory = u32(12);
    for (std::uint32_t i = 0; i < streamCount && qint64(directory) + 12 * (i + 1) <= dump.size(); ++i) {
        const qint64 entry = qint64(directory) + 12 * i;
        if (u32(entry) != kMinidumpExceptionStream)
            continue;
        const qint64 stream = u32(entry + 8);
        if (u32(entry + 4) < 16 || stream + 16 > dump.size())
            return result;
        result.found = true;
        result.threadId = u32(stream);
        result.code = u32(stream + 8); // after ThreadId and its alignment word
        return result;
    }
    return result;
}

// The victim returns 4 if a crash it provoked did not end it; a crash that our
// filter handled ends it with the exception code as its exit status.
void expectEndedByCrash(const VictimRun& run)
{
    ASSERT_TRUE(run.finished);
    EXPECT_EQ(run.exitStatus, QProcess::NormalExit);
    EXPECT_NE(run.exitCode, 0);
    EXPECT_NE(run.exitCode, 4) << "the crash did not end the process";
    EXPECT_FALSE(run.value(Victim::kCrashAtLine).isEmpty()) << run.out.constData();
}

// A crash that our filter handled: the process ended (not normally from the
// program's own return), both files are there, the dump is a minidump of
// this exception on the crashing thread, and the JSON is the prepared bytes.
void expectCrashFiles(const VictimRun& run, const QString& directory)
{
    expectEndedByCrash(run);
    EXPECT_TRUE(run.out.contains(QByteArray(Victim::kPreparedLine) + "1\n")) << run.out.constData();

    const QByteArray dump = readAll(sessionFile(directory, ".dmp"));
    EXPECT_GT(dump.size(), kSmallestPlausibleDump);
    EXPECT_TRUE(dump.startsWith("MDMP"));
    const DumpException exception = exceptionOf(dump);
    EXPECT_TRUE(exception.found);
    EXPECT_EQ(exception.code, kAccessViolation);
    EXPECT_EQ(QByteArray::number(exception.threadId), run.value(Victim::kCrashThreadLine));

    EXPECT_EQ(readAll(sessionFile(directory, ".json")), preparedJson());
    EXPECT_EQ(entries(directory).size(), 2) << entries(directory).join(QLatin1Char(' ')).toStdString();

    note("dump_bytes", dump.size());
    note("crash_to_exit_ms", run.crashToExitMs);
}

// A directory below `base` whose Windows form makes "<directory>\<session>.dmp"
// exactly `units` UTF-16 units long.
QString directoryForDumpPathLength(const QString& base, int units)
{
    const int fileUnits = 1 + int(qstrlen(Victim::kSession)) + 4; // "\<session>.dmp"
    QString directory = base;
    int remaining = units - fileUnits - int(windowsPath(base).size());
    while (remaining > 0) {
        int name = qMin(remaining - 1, 200); // each level costs a separator
        if (remaining - (name + 1) == 1)
            --name;
        directory += QLatin1Char('/') + QString(name, QLatin1Char('p'));
        remaining -= name + 1;
    }
    if (!QDir().mkpath(directory))
        return {};
    return directory;
}

class CrashCaptureWin : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(mTemp.isValid()); }

    QString dir() const { return mTemp.path(); }

    QTemporaryDir mTemp;
};

TEST_F(CrashCaptureWin, AccessViolationWritesMinidumpAndPreparedJson)
{
    const VictimRun run = runVictim(dir(), Victim::kCrash);
    expectCrashFiles(run, dir());
}

TEST_F(CrashCaptureWin, NonAsciiDirectoryIsUsedAsWidePath)
{
    const QString directory = dir() + QStringLiteral("/crash-\u00e9t\u00e9-\u5199\u771f");
    ASSERT_TRUE(QDir().mkpath(directory));

    const VictimRun run = runVictim(directory, Victim::kCrash);

    expectCrashFiles(run, directory);
}

TEST_F(CrashCaptureWin, CrashOnSecondThreadIsDumpedForThatThread)
{
    const VictimRun run = runVictim(dir(), Victim::kCrashOnThread);

    expectCrashFiles(run, dir());
    EXPECT_NE(run.value(Victim::kCrashThreadLine), run.value(Victim::kMainThreadLine));
}

TEST_F(CrashCaptureWin, PreviousFilterThatContinuesSuppressesBothFiles)
{
    const VictimRun run = runVictim(dir(), Victim::kPreviousContinues);

    ASSERT_TRUE(run.finished);
    EXPECT_EQ(run.exitStatus, QProcess::NormalExit);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.value(Victim::kPreviousLine), "dump-absent");
    EXPECT_TRUE(run.out.contains(QByteArray(Victim::kContinuedLine) + '\n')) << run.out.constData();
    EXPECT_TRUE(entries(dir()).isEmpty()) << entries(dir()).join(QLatin1Char(' ')).toStdString();
}

TEST_F(CrashCaptureWin, PreviousFilterThatContinuesRaisedExceptionSuppressesBothFiles)
{
    const VictimRun run = runVictim(dir(), Victim::kPreviousContinuesRaise);

    ASSERT_TRUE(run.finished);
    EXPECT_EQ(run.exitStatus, QProcess::NormalExit);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.value(Victim::kPreviousLine), "dump-absent");
    EXPECT_TRUE(run.out.contains(QByteArray(Victim::kContinuedLine) + '\n')) << run.out.constData();
    EXPECT_TRUE(entries(dir()).isEmpty()) << entries(dir()).join(QLatin1Char(' ')).toStdString();
}

TEST_F(CrashCaptureWin, PreviousFilterThatSearchesIsCalledFirstAndFilesAreWritten)
{
    const VictimRun run = runVictim(dir(), Victim::kPreviousSearches);

    EXPECT_EQ(run.value(Victim::kPreviousLine), "dump-absent");
    expectCrashFiles(run, dir());
}

TEST_F(CrashCaptureWin, PreviousFilterThatExecutesHandlerIsCalledFirstAndFilesAreWritten)
{
    const VictimRun run = runVictim(dir(), Victim::kPreviousExecutes);

    EXPECT_EQ(run.value(Victim::kPreviousLine), "dump-absent");
    expectCrashFiles(run, dir());
}

TEST_F(CrashCaptureWin, SecondInstallKeepsTheFirstChain)
{
    // Were the second call to chain our filter to itself, the crash would
    // recurse until the stack ran out and leave no files.
    const VictimRun run = runVictim(dir(), Victim::kInstallTwice);

    expectCrashFiles(run, dir());
}

TEST_F(CrashCaptureWin, LaterPrepareReplacesPathsAndJson)
{
    // The second prepare() has an empty dump path and the final JSON.
    const VictimRun run = runVictim(dir(), Victim::kPrepareTwice);

    expectEndedByCrash(run);
    EXPECT_FALSE(QFile::exists(sessionFile(dir(), ".dmp")));
    EXPECT_EQ(readAll(sessionFile(dir(), ".json")), preparedJson());
}

TEST_F(CrashCaptureWin, DumpPathOf259UnitsFitsAndJsonPathOf260DoesNot)
{
    const QString directory = directoryForDumpPathLength(dir(), 259);
    ASSERT_FALSE(directory.isEmpty());
    ASSERT_EQ(windowsPath(sessionFile(directory, ".dmp")).size(), 259);

    const VictimRun run = runVictim(directory, Victim::kCrash);

    expectEndedByCrash(run);
    EXPECT_EQ(run.value(Victim::kPreparedLine), "0");
    EXPECT_TRUE(readAll(sessionFile(directory, ".dmp")).startsWith("MDMP"));
    EXPECT_FALSE(QFile::exists(sessionFile(directory, ".json")));
}

TEST_F(CrashCaptureWin, PathsLongerThan259UnitsWriteNothing)
{
    const QString directory = directoryForDumpPathLength(dir(), 260);
    ASSERT_FALSE(directory.isEmpty());
    ASSERT_EQ(windowsPath(sessionFile(directory, ".dmp")).size(), 260);

    const VictimRun run = runVictim(directory, Victim::kCrash);

    expectEndedByCrash(run);
    EXPECT_EQ(run.value(Victim::kPreparedLine), "0");
    EXPECT_TRUE(entries(directory).isEmpty()) << entries(directory).join(QLatin1Char(' ')).toStdString();
}

TEST_F(CrashCaptureWin, MissingDirectoryLeavesNoFilesAndProcessStillEnds)
{
    const QString missing = dir() + QStringLiteral("/not-created");

    const VictimRun run = runVictim(missing, Victim::kCrash);

    expectEndedByCrash(run);
    EXPECT_TRUE(entries(dir()).isEmpty()) << entries(dir()).join(QLatin1Char(' ')).toStdString();
}

} // namespace
