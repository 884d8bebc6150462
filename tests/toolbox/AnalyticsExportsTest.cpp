// The exported analytics functions: the calling order of a host, the current-
// controller slot, NULL handling and the privacy question, through the C names.
#include "ZpToolboxLite.h"

#include "Analytics/AnalyticsController.h"
#include "Toolbox/CurrentAnalyticsController.h"

#include "AppCenterStoreFixture.h"
#include "LogCapture.h"

#include <ZpCore/ZpProducts.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include <QApplication>
#include <QDialog>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <functional>

namespace {

class AnalyticsExports : public AppCenterStoreFixture {
protected:
    QStringList eventNames()
    {
        QStringList names;
        for (const QJsonObject& event : select(storedLogs(), QStringLiteral("event")))
            names << event.value(QStringLiteral("name")).toString();
        names.sort();
        return names;
    }

};

// Answers the modal dialog that opens next with `answer`, from the event loop.
void answerNextDialog(std::function<void(QDialog*)> answer)
{
    QTimer::singleShot(0, [answer] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog) {
            answerNextDialog(answer); // not shown yet
            return;
        }
        answer(dialog);
    });
}

} // namespace

TEST_F(AnalyticsExports, AHostsCallingOrderReachesTheStore)
{
    ZpAnalytics* analytics = ZpAnalyticsCreate();
    ASSERT_NE(analytics, nullptr);
    ZpAnalyticsStartupUserAppDataPath(analytics, kZpProductDelta, 0, 3, location());
    ZpAnalyticsTrackFeature(analytics, CFSTR("Crop"));
    CFMutableDictionaryRef properties = CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                                  &kCFTypeDictionaryValueCallBacks);
    CFDictionarySetValue(properties, CFSTR("Tool"), CFSTR("Brush"));
    ZpAnalyticsTrackFeatureWithProperties(analytics, kZpAnalyticsLayersModule, properties);
    ZpAnalyticsTrackFeatureOncePerRun(analytics, CFSTR("Welcome"));
    ZpAnalyticsTrackFeatureOncePerRun(analytics, CFSTR("Welcome"));
    ZpAnalyticsTrackFeatureStart(analytics, CFSTR("Retouch"));
    ZpAnalyticsTrackFeatureStop(analytics, CFSTR("Retouch"));
    ZpAnalyticsTrackFeatureStartWithProperties(analytics, CFSTR("Export"), properties);
    ZpAnalyticsTrackFeatureStopWithProperties(analytics, CFSTR("Export"), properties);
    ZpAnalyticsTrackFeatureValue(analytics, CFSTR("Zoom"), 150);
    ZpAnalyticsTrackFeatureStart(analytics, CFSTR("Unfinished"));
    CFRelease(properties);
    ZpAnalyticsShutdown(analytics);
    ZpAnalyticsRelease(analytics);

    EXPECT_EQ(eventNames(), (QStringList{"Application", "Crop", "ExportEnd", "ExportStart", "RetouchEnd",
                                         "RetouchStart", "System", "UnfinishedEnd", "UnfinishedStart", "Welcome",
                                         "Zoom"}));
}

TEST_F(AnalyticsExports, TheSlotKeepsTheFirstStartedControllerUntilItShutsDown)
{
    ZpAnalytics* first = ZpAnalyticsCreate();
    ZpAnalytics* second = ZpAnalyticsCreate();
    EXPECT_EQ(currentAnalyticsControllerForTesting(), nullptr);
    ZpAnalyticsStartupUserAppDataPath(first, kZpProductDelta, 0, 3, location());
    ZpAnalyticsStartupUserAppDataPath(second, kZpProductGamma, 0, 3, location());
    EXPECT_EQ(currentAnalyticsControllerForTesting(), reinterpret_cast<AnalyticsController*>(first));
    ZpAnalyticsShutdown(second);
    EXPECT_EQ(currentAnalyticsControllerForTesting(), reinterpret_cast<AnalyticsController*>(first));
    ZpAnalyticsShutdown(first);
    EXPECT_EQ(currentAnalyticsControllerForTesting(), nullptr);
    ZpAnalyticsRelease(second);
    ZpAnalyticsRelease(first);
}

TEST_F(AnalyticsExports, ReleasingNullDoesNothing)
{
    LogCapture log;
    ZpAnalyticsRelease(nullptr);
    EXPECT_TRUE(log.messages().isEmpty());
}

TEST_F(AnalyticsExports, ANullFeatureCodeHasNoEffectAndWritesNoLine)
{
    ZpAnalytics* analytics = ZpAnalyticsCreate();
    ZpAnalyticsStartupUserAppDataPath(analytics, kZpProductDelta, 0, 3, location());
    LogCapture log;
    ZpAnalyticsTrackFeature(analytics, nullptr);
    ZpAnalyticsTrackFeatureWithProperties(analytics, nullptr, nullptr);
    ZpAnalyticsTrackFeatureOncePerRun(analytics, nullptr);
    ZpAnalyticsTrackFeatureStart(analytics, nullptr);
    ZpAnalyticsTrackFeatureStartWithProperties(analytics, nullptr, nullptr);
    ZpAnalyticsTrackFeatureStop(analytics, nullptr);
    ZpAnalyticsTrackFeatureStopWithProperties(analytics, nullptr, nullptr);
    ZpAnalyticsTrackFeatureValue(analytics, nullptr, 1);
    ZpAnalyticsTrackFeature(analytics, kZpAnalyticsBrowseRecoverDatabase); // a one-dot code: warned about
    EXPECT_EQ(log.messages().size(), 1);
    ZpAnalyticsRelease(analytics);
    EXPECT_EQ(eventNames(), QStringList{"System"});
}

TEST_F(AnalyticsExports, ThePrivacyQuestionAnswersZeroOnlyWhenAccepted)
{
    answerNextDialog([](QDialog* dialog) { QTest::keyClick(dialog, Qt::Key_Return); });
    EXPECT_EQ(ZpAnalyticsQueryUserPrivacy(nullptr, nullptr), 0);

    answerNextDialog([](QDialog* dialog) { QTest::keyClick(dialog, Qt::Key_Escape); });
    EXPECT_EQ(ZpAnalyticsQueryUserPrivacy(nullptr, nullptr), 1);

    answerNextDialog([](QDialog* dialog) { dialog->close(); }); // the title bar's close button
    EXPECT_EQ(ZpAnalyticsQueryUserPrivacy(nullptr, nullptr), 1);

    answerNextDialog([](QDialog* dialog) {
        auto* decline = dialog->findChild<QPushButton*>(QStringLiteral("mDontParticipateButton"));
        ASSERT_NE(decline, nullptr);
        QTest::mouseClick(decline, Qt::LeftButton);
    });
    EXPECT_EQ(ZpAnalyticsQueryUserPrivacy(nullptr, nullptr), 1);
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr); // the dialog is gone
}
