// Everything the library writes below the host's data folder is the user's
// alone: directories 0700, files 0600, at every stage of a store's life and
// after a crash. The process runs with the common umask 022, which by itself
// would leave new files readable by everyone.
#include "SecurityHostProcess.h"

#include "ZpToolboxLite.h"

#include "AppCenter/AppCenterQueue.h"

#include "AppCenterStoreFixture.h"
#include "IngestProcess.h"

#include <csignal>
#include <sys/stat.h>

#include <QThreadPool>
#include <gtest/gtest.h>

namespace {

class FileModesTest : public AppCenterStoreFixture {
protected:
    void SetUp() override
    {
        AppCenterStoreFixture::SetUp();
        mPreviousMask = ::umask(022);
    }
    void TearDown() override
    {
        ::umask(mPreviousMask);
        AppCenterQueue::setSendThrottleForTesting(AppCenterQueue::kSendThrottleMs);
        AppCenterStoreFixture::TearDown();
    }

    // Checks the library's part of the data folder; `stage` names the moment.
    void expectUserOnly(const char* stage)
    {
        const QString root = storageDirectory();
        struct stat info {};
        ASSERT_EQ(::stat(QFile::encodeName(root).constData(), &info), 0) << stage;
        EXPECT_EQ(info.st_mode & 07777, mode_t(0700)) << stage << ": AppCenter";
        const QStringList wrong = notUserOnly(root);
        EXPECT_TRUE(wrong.isEmpty()) << stage << ": " << wrong.join(QStringLiteral(", ")).toStdString();
    }

    mode_t mPreviousMask = 0;
};

} // namespace

TEST_F(FileModesTest, StoreFilesStayUserOnlyThroughTheStoresLife)
{
    ZpAnalytics* analytics = ZpAnalyticsCreate();
    ZpAnalyticsStartupUserAppDataPath(analytics, kZpProductAlpha, 0, 1, location());
    QThreadPool::globalInstance()->waitForDone();
    expectUserOnly("after startup");

    // Several MB: more than leveldb's write buffer, so that it writes table
    // files and starts new logs and manifests while the queue is open.
    CFMutableDictionaryRef properties = CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                                  &kCFTypeDictionaryValueCallBacks);
    CFStringRef padding = ZpQtStringUtils::createCFStringRefFromQString(QString(4000, QLatin1Char('p')));
    CFDictionarySetValue(properties, CFSTR("Padding"), padding);
    for (int i = 0; i < 1500; ++i)
        ZpAnalyticsTrackFeatureWithProperties(analytics, CFSTR("Bulk"), properties);
    CFRelease(padding);
    CFRelease(properties);
    QThreadPool::globalInstance()->waitForDone();
    expectUserOnly("after 6 MB of events");

    {
        IngestProcess ingest;
        ASSERT_TRUE(ingest.ok()) << ingest.error().toStdString();
        qputenv("ZP_INGESTION_BASE_URL", ingest.baseUrl().toUtf8());
        AppCenterQueue::setSendThrottleForTesting(0);
        ZpAnalyticsTrackFeature(analytics, CFSTR("Last"));
        QThreadPool::globalInstance()->waitForDone();
        ASSERT_FALSE(ingest.logs().isEmpty());
        expectUserOnly("after a send");
    }

    ZpAnalyticsRelease(analytics);
    AppCenter::resetForTesting();
    QThreadPool::globalInstance()->waitForDone();
    expectUserOnly("after the store was closed");
}

TEST_F(FileModesTest, CrashFilesAreUserOnly)
{
    const SecurityHostRun crashed = runSecurityHost({QStringLiteral("crash"), mDir.path(), QStringLiteral("segv")});
    ASSERT_TRUE(crashed.diedBy(SIGSEGV)) << crashed.describe();
    const QString crashes = storageDirectory() + QStringLiteral("/crashes");
    const QMap<QString, int> modes = modesBelow(crashes);
    ASSERT_EQ(modes.size(), 2); // the dump and the record
    EXPECT_TRUE(notUserOnly(crashes).isEmpty()) << notUserOnly(crashes).join(QStringLiteral(", ")).toStdString();
    struct stat info {};
    ASSERT_EQ(::stat(QFile::encodeName(crashes).constData(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, mode_t(0700));
}
