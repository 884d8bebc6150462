// Eight threads track, each on its own controller, while send tasks keep
// starting (no throttle) and the main thread starts crash reporting the way a
// host does: afterwards every event of every thread has arrived exactly once,
// with the properties it was tracked with. Written to give ThreadSanitizer
// real overlap to look at: the tracking threads are released together and the
// crash start happens while all of them are still tracking.
#include "ZpToolboxLite.h"

#include "Analytics/AnalyticsController.h"
#include "Analytics/FeatureTracking.h"
#include "AppCenter/AppCenterQueue.h"
#include "CrashReport/CrashReportController.h"

#include "AppCenterStoreFixture.h"
#include "IngestProcess.h"

#include <ZpWidgetsLite/ZpAppDidFinishLaunchingEvent.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace {

constexpr int kThreads = 8;
// Each thread tracks at least this many events, and goes on until told to stop.
constexpr int kMinEventsPerThread = 40;
// Liveness only: a thread stops here whatever happens.
constexpr int kMaxEventsPerThread = 3000;
constexpr char kEventName[] = "Concurrent";

class ConcurrentDelivery : public AppCenterStoreFixture {
protected:
    void TearDown() override
    {
        ZpCrashReportShutdown();
        CrashReportController::resetForTesting();
        AppCenterQueue::setSendThrottleForTesting(AppCenterQueue::kSendThrottleMs);
        AppCenterStoreFixture::TearDown();
    }
};

// "Concurrent.t<thread>.<k>" with {"thread": "<thread>"}: the event
// "Concurrent" with t<thread> = k and thread = <thread>.
void trackOne(AnalyticsController& controller, int thread, int k)
{
    const QString code = QStringLiteral("%1.t%2.%3").arg(QLatin1String(kEventName)).arg(thread).arg(k);
    CFStringRef featureCode = ZpQtStringUtils::createCFStringRefFromQString(code);
    CFStringRef threadText = ZpQtStringUtils::createCFStringRefFromQString(QString::number(thread));
    CFMutableDictionaryRef properties = CFDictionaryCreateMutable(kCFAllocatorDefault, 0,
                                                                  &kCFTypeDictionaryKeyCallBacks,
                                                                  &kCFTypeDictionaryValueCallBacks);
    CFDictionarySetValue(properties, CFSTR("thread"), threadText);
    FeatureTracking::track(controller, featureCode, properties);
    CFRelease(properties);
    CFRelease(threadText);
    CFRelease(featureCode);
}

} // namespace

TEST_F(ConcurrentDelivery, EveryEventOfEveryThreadArrivesOnceAsTracked)
{
    IngestProcess ingest;
    ASSERT_TRUE(ingest.ok()) << ingest.error().toStdString();
    qputenv("ZP_INGESTION_BASE_URL", ingest.baseUrl().toUtf8());
    AppCenterQueue::setSendThrottleForTesting(0);

    // Start-up is the GUI thread's, as the controller's contract asks.
    std::vector<std::unique_ptr<AnalyticsController>> controllers;
    for (int t = 0; t < kThreads; ++t) {
        controllers.push_back(std::make_unique<AnalyticsController>());
        controllers.back()->startup(kZpProductDelta, 0, 3, location());
    }
    ZpCrashReportStartupWithUserAppDataPath(CFSTR("concurrent user"), kZpProductDelta, 0, 3, false, location());

    std::atomic<bool> go{false};
    std::atomic<bool> stop{false};
    std::atomic<int> warmedUp{0};
    std::vector<int> tracked(kThreads, 0); // each thread writes its own slot; read after join
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            while (!go.load())
                std::this_thread::yield();
            int k = 0;
            for (; k < kMaxEventsPerThread && (k < kMinEventsPerThread || !stop.load()); ++k) {
                trackOne(*controllers[size_t(t)], t, k);
                if (k + 1 == kMinEventsPerThread)
                    warmedUp.fetch_add(1);
            }
            tracked[size_t(t)] = k;
        });
    }
    go.store(true);

    // Once every thread is well into its events, and while they go on, the
    // host's crash start: the launch event brings up the "Crashes" service.
    const QDeadlineTimer warmUpDeadline(60000);
    while (warmedUp.load() < kThreads && !warmUpDeadline.hasExpired())
        QThread::msleep(1);
    ZpAppDidFinishLaunchingEvent launch(nullptr);
    QCoreApplication::sendEvent(QCoreApplication::instance(), &launch);
    const bool stillTracking = warmedUp.load() == kThreads;
    stop.store(true);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(stillTracking) << "the threads did not get going";

    // Sends may have been refused a start while another ran; the next one
    // takes whatever is left.
    QThreadPool::globalInstance()->waitForDone();
    const std::shared_ptr<AppCenterQueue> queue = AppCenter::instance().queue();
    ASSERT_TRUE(queue);
    queue->scheduleSend();
    QThreadPool::globalInstance()->waitForDone();

    EXPECT_TRUE(select(storedLogs(), QStringLiteral("event"), QString::fromLatin1(kEventName)).isEmpty())
        << "tracked events still in the store";

    const QList<QJsonObject> delivered = ingest.logs();
    std::vector<QMap<int, int>> arrived(kThreads); // per thread: k -> copies
    int malformed = 0;
    for (const QJsonObject& event : select(delivered, QStringLiteral("event"), QString::fromLatin1(kEventName))) {
        const QMap<QString, QString> properties = propertiesOf(event);
        bool ok = false;
        const int thread = properties.value(QStringLiteral("thread")).toInt(&ok);
        const QString key = QStringLiteral("t%1").arg(thread);
        if (!ok || thread < 0 || thread >= kThreads || properties.size() != 2 || !properties.contains(key)) {
            ++malformed;
            continue;
        }
        ++arrived[size_t(thread)][properties.value(key).toInt()];
    }
    EXPECT_EQ(malformed, 0);
    for (int t = 0; t < kThreads; ++t) {
        SCOPED_TRACE(t);
        EXPECT_GE(tracked[size_t(t)], kMinEventsPerThread);
        EXPECT_EQ(arrived[size_t(t)].size(), tracked[size_t(t)]);
        int wrong = 0;
        for (int k = 0; k < tracked[size_t(t)]; ++k)
            wrong += arrived[size_t(t)].value(k) == 1 ? 0 : 1;
        EXPECT_EQ(wrong, 0) << "events missing or arrived more than once";
    }

    // The crash start really happened beside the tracking.
    bool crashesStarted = false;
    for (const QJsonObject& log : select(delivered, QStringLiteral("startService")))
        crashesStarted = crashesStarted
            || log.value(QStringLiteral("services")).toArray().contains(QStringLiteral("Crashes"));
    EXPECT_TRUE(crashesStarted);
}
