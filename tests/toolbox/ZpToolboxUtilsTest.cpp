// ZpToolboxUtils in a process with an application object (the QApplication of
// zp_test_qt_main). CTest runs every test in a process of its own, so each
// test sees the shared manager before its first creation. The test of racing
// first calls skips itself when the program runs all tests in one process.
#include "ZpToolboxUtils.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDeadlineTimer>
#include <QFileInfo>
#include <QFuture>
#include <QList>
#include <QMutexLocker>
#include <QNetworkAccessManager>
#include <QRegularExpression>
#include <QSysInfo>
#include <QThread>
#include <QtConcurrent>
#include <atomic>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

// Read before main(), once the library has been loaded and initialised.
const bool gNoManagerAtStart = ZpToolboxUtils::sNetworkAccessManager == nullptr;

constexpr const char* kNeedsItsOwnProcess = "the manager was made by an earlier test; run through CTest";

const QRegularExpression kTimestampForm(
    QRegularExpression::anchoredPattern(QStringLiteral(R"(\d{4}-\d{2}-\d{2}T\d{2}:\d{2}:\d{2}\.\d{3}Z)")));

QNetworkAccessManager* managerFromAnotherThread()
{
    return QtConcurrent::run(&ZpToolboxUtils::sharedNetworkAccessManager).result();
}

// Counts Qt's warning that a QObject was made in one thread with a parent in
// another: each manager made outside the application's thread gives one.
class CrossThreadParentWarnings {
public:
    CrossThreadParentWarnings()
    {
        sCount = 0;
        sPrevious = qInstallMessageHandler(&CrossThreadParentWarnings::handle);
    }
    ~CrossThreadParentWarnings() { qInstallMessageHandler(sPrevious); }
    CrossThreadParentWarnings(const CrossThreadParentWarnings&) = delete;
    CrossThreadParentWarnings& operator=(const CrossThreadParentWarnings&) = delete;
    int count() const { return sCount; }

private:
    static void handle(QtMsgType type, const QMessageLogContext& context, const QString& message)
    {
        if (type == QtWarningMsg && message.contains(QLatin1String("Cannot create children for a parent")))
            ++sCount;
        else if (sPrevious)
            sPrevious(type, context, message);
    }
    static inline std::atomic<int> sCount{0};
    static inline QtMessageHandler sPrevious = nullptr;
};

} // namespace

TEST(ZpToolboxUtilsManager, TwoCallsGiveTheSameManager)
{
    QNetworkAccessManager* first = ZpToolboxUtils::sharedNetworkAccessManager();
    QNetworkAccessManager* second = ZpToolboxUtils::sharedNetworkAccessManager();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first, second);
    EXPECT_EQ(ZpToolboxUtils::sNetworkAccessManager, first);
}

TEST(ZpToolboxUtilsManager, IsNullUntilFirstRequested)
{
    EXPECT_TRUE(gNoManagerAtStart);
    ZpToolboxUtils::sharedNetworkAccessManager();
    EXPECT_NE(ZpToolboxUtils::sNetworkAccessManager, nullptr);
}

TEST(ZpToolboxUtilsManager, ItsParentIsTheApplicationObject)
{
    ASSERT_NE(QCoreApplication::instance(), nullptr);
    QNetworkAccessManager* manager = ZpToolboxUtils::sharedNetworkAccessManager();
    EXPECT_EQ(manager->parent(), QCoreApplication::instance());
    EXPECT_EQ(manager->thread(), QCoreApplication::instance()->thread());
}

TEST(ZpToolboxUtilsManager, OtherThreadsGetTheManagerAndNoSecondOneIsMade)
{
    QNetworkAccessManager* manager = ZpToolboxUtils::sharedNetworkAccessManager();
    EXPECT_EQ(managerFromAnotherThread(), manager);
    EXPECT_EQ(managerFromAnotherThread(), manager);
    EXPECT_EQ(QCoreApplication::instance()->findChildren<QNetworkAccessManager*>(Qt::FindDirectChildrenOnly),
              QList<QNetworkAccessManager*>{manager});
}

TEST(ZpToolboxUtilsManager, ConcurrentFirstCallsWaitForTheLockAndShareOneManager)
{
    if (ZpToolboxUtils::sNetworkAccessManager)
        GTEST_SKIP() << kNeedsItsOwnProcess;
    CrossThreadParentWarnings warnings;
    QList<QFuture<QNetworkAccessManager*>> calls;
    {
        // Held by the test, the lock keeps every first call waiting.
        QMutexLocker hold(&ZpToolboxUtils::sManagerLock);
        for (int i = 0; i < 4; ++i)
            calls << QtConcurrent::run(&ZpToolboxUtils::sharedNetworkAccessManager);
        QThread::msleep(20);
        for (const auto& call : calls)
            EXPECT_FALSE(call.isFinished()) << "a call went ahead without the lock";
    }
    QNetworkAccessManager* manager = calls.first().result();
    ASSERT_NE(manager, nullptr);
    for (const auto& call : calls)
        EXPECT_EQ(call.result(), manager);
    EXPECT_EQ(ZpToolboxUtils::sharedNetworkAccessManager(), manager);
    // Each manager made in a pool thread was refused the application object
    // as its parent, with one warning: one warning, one manager.
    EXPECT_EQ(warnings.count(), 1);
    EXPECT_NE(manager->thread(), QCoreApplication::instance()->thread());
}

TEST(ZpToolboxUtilsTimestamp, IsUtcIsoTextWithThreeDigitsOfMillisecondsAndZ)
{
    for (int i = 0; i < 2000; ++i) {
        const QDateTime before = QDateTime::currentDateTimeUtc();
        const QString stamp = ZpToolboxUtils::timestamp();
        const QDateTime after = QDateTime::currentDateTimeUtc();
        ASSERT_TRUE(kTimestampForm.match(stamp).hasMatch()) << stamp.toStdString();

        const QDateTime parsed = QDateTime::fromString(stamp, Qt::ISODateWithMs);
        ASSERT_TRUE(parsed.isValid()) << stamp.toStdString();
        EXPECT_EQ(parsed.timeSpec(), Qt::UTC);
        EXPECT_EQ(parsed.toString(Qt::ISODateWithMs), stamp);
        // The current time in UTC, not local time written with a "Z".
        EXPECT_LE(before, parsed) << stamp.toStdString();
        EXPECT_LE(parsed, after) << stamp.toStdString();
    }
}

TEST(ZpToolboxUtilsTimestamp, ZeroMillisecondsAreWrittenAsThreeZeros)
{
    // Wait for the start of a second (bounded, for liveness only).
    const QDeadlineTimer deadline(10000);
    QString onTheSecond;
    while (onTheSecond.isEmpty() && !deadline.hasExpired()) {
        const qint64 toNextSecond = 1000 - QDateTime::currentMSecsSinceEpoch() % 1000;
        if (toNextSecond > 3)
            QThread::msleep(static_cast<unsigned long>(toNextSecond - 3));
        for (int i = 0; i < 200000 && onTheSecond.isEmpty(); ++i) {
            const QString stamp = ZpToolboxUtils::timestamp();
            if (QDateTime::fromString(stamp, Qt::ISODateWithMs).time().msec() == 0)
                onTheSecond = stamp;
        }
    }
    ASSERT_FALSE(onTheSecond.isEmpty()) << "no call fell on a whole second";
    EXPECT_TRUE(onTheSecond.endsWith(QLatin1String(".000Z"))) << onTheSecond.toStdString();
    EXPECT_TRUE(kTimestampForm.match(onTheSecond).hasMatch()) << onTheSecond.toStdString();
}

TEST(ZpToolboxUtilsProcess, NameIsTheExecutablesFileName)
{
    const QString name = ZpToolboxUtils::processName();
    EXPECT_EQ(name, QFileInfo(QCoreApplication::applicationFilePath()).fileName());
    EXPECT_TRUE(name.startsWith(QLatin1String("zptoolbox_utils_tests"))) << name.toStdString();
}

TEST(ZpToolboxUtilsProcess, PidIsTheOperatingSystemsId)
{
    EXPECT_EQ(ZpToolboxUtils::processPID(), static_cast<int32_t>(getpid()));
}

TEST(ZpToolboxUtilsProcess, ArchitectureIsQtsNameForIt)
{
    const QString architecture = ZpToolboxUtils::processArchitecture();
    EXPECT_FALSE(architecture.isEmpty());
    EXPECT_EQ(architecture, QSysInfo::currentCpuArchitecture());
}

TEST(ZpToolboxUtilsValue, CopyAndMoveAssignmentReturnTheObject)
{
    ZpToolboxUtils target;
    ZpToolboxUtils source;
    ZpToolboxUtils& copied = (target = source);
    EXPECT_EQ(&copied, &target);
    ZpToolboxUtils& moved = (target = std::move(source));
    EXPECT_EQ(&moved, &target);
    ZpToolboxUtils copy(target);
    (void)copy;
}
