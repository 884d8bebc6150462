// Feature tracking as the store sees it: which events a tracking call leaves,
// with which names and properties, and what invalid codes are told.
#include "Analytics/FeatureTracking.h"
#include "Analytics/TrackingObjectFactory.h"
#include "AppCenter/AppCenterAnalytics.h"

#include "AnalyticsTestFixture.h"

#include <ZpQtCoreLite/ZpQtStringUtils.h>

namespace {

using Properties = QMap<QString, QString>;

class FeatureTrackingTest : public AnalyticsTestFixture {
protected:
    void SetUp() override
    {
        AnalyticsTestFixture::SetUp();
        startKnownProduct();
    }

    QStringList names(const QList<QJsonObject>& events)
    {
        QStringList result;
        for (const QJsonObject& event : events)
            result << event.value(QStringLiteral("name")).toString();
        return result;
    }
};

} // namespace

TEST_F(FeatureTrackingTest, APlainCodeIsTheEventNameWithTheHostsPropertiesUnchanged)
{
    CFMutableDictionaryRef host = hostDictionary({{"Tool", "Brush"}, {"Size", "12"}});
    FeatureTracking::track(*mController, CFSTR("Crop"), host);
    tick();
    FeatureTracking::track(*mController, CFSTR("Rotate"), nullptr);
    EXPECT_EQ(CFDictionaryGetCount(host), 2);
    CFRelease(host);

    const auto events = trackedEvents();
    ASSERT_EQ(names(events), (QStringList{"Crop", "Rotate"}));
    EXPECT_EQ(propertiesOf(events.at(0)), (Properties{{"Tool", "Brush"}, {"Size", "12"}}));
    EXPECT_FALSE(events.at(1).contains(QStringLiteral("typedProperties")));
}

TEST_F(FeatureTrackingTest, ADottedCodeBecomesEventKeyAndValueOnACopyOfTheHostsProperties)
{
    CFMutableDictionaryRef host = hostDictionary({{"Module", "Develop"}, {"Tool", "Brush"}});
    FeatureTracking::track(*mController, CFSTR("Application.Module.Browse"), host);
    // The host's dictionary is untouched: its "Module" keeps its value.
    EXPECT_EQ(CFDictionaryGetCount(host), 2);
    EXPECT_EQ(ZpQtStringUtils::createQStringFromCFStringRef(
                  static_cast<CFStringRef>(CFDictionaryGetValue(host, CFSTR("Module")))),
              QStringLiteral("Develop"));
    CFRelease(host);

    const auto events = trackedEvents();
    ASSERT_EQ(names(events), QStringList{"Application"});
    EXPECT_EQ(propertiesOf(events.first()), (Properties{{"Module", "Browse"}, {"Tool", "Brush"}}));
}

TEST_F(FeatureTrackingTest, TheValueIsEverythingAfterTheSecondDot)
{
    FeatureTracking::track(*mController, CFSTR("Export.Format.JPEG.High"), nullptr);
    tick();
    FeatureTracking::track(*mController, CFSTR("Export.Format.JPEG.High."), nullptr); // three dots, trailing: fine
    const auto events = trackedEvents();
    ASSERT_EQ(names(events), (QStringList{"Export", "Export"}));
    EXPECT_EQ(propertiesOf(events.at(0)), (Properties{{"Format", "JPEG.High"}}));
    EXPECT_EQ(propertiesOf(events.at(1)), (Properties{{"Format", "JPEG.High."}}));
}

TEST_F(FeatureTrackingTest, ASingleDotAnywhereIsRejectedWithAWarning)
{
    for (CFStringRef code : {CFSTR("Crop.Tool"), CFSTR(".Crop"), CFSTR("Crop.")})
        FeatureTracking::track(*mController, code, nullptr);
    EXPECT_EQ(mLog->matching(QStringLiteral("WARNING")),
              (QStringList{"WARNING feature code 'Crop.Tool' should have none or more than one '.'",
                           "WARNING feature code '.Crop' should have none or more than one '.'",
                           "WARNING feature code 'Crop.' should have none or more than one '.'"}));
    EXPECT_TRUE(trackedEvents().isEmpty());
}

TEST_F(FeatureTrackingTest, TwoDotsWithTheSecondLastAreRejected)
{
    FeatureTracking::track(*mController, CFSTR("Crop.Tool."), nullptr);
    EXPECT_EQ(mLog->matching(QStringLiteral("WARNING")),
              QStringList{"WARNING feature code 'Crop.Tool.' should not end with a '.'"});
    EXPECT_TRUE(trackedEvents().isEmpty());
}

TEST_F(FeatureTrackingTest, AdjacentDotsGiveAnEmptyKeyAndALeadingDotAnEmptyName)
{
    FeatureTracking::track(*mController, CFSTR("Crop..Square"), nullptr);
    tick();
    FeatureTracking::track(*mController, CFSTR(".Tool.Brush"), nullptr);
    const auto events = trackedEvents();
    ASSERT_EQ(names(events), (QStringList{"Crop", ""}));
    EXPECT_EQ(propertiesOf(events.at(0)), (Properties{{"", "Square"}}));
    EXPECT_EQ(propertiesOf(events.at(1)), (Properties{{"Tool", "Brush"}}));
}

TEST_F(FeatureTrackingTest, ANullCodeDoesNothingAndSaysNothing)
{
    FeatureTracking::track(*mController, nullptr, nullptr);
    FeatureTracking::trackOncePerRun(*mController, nullptr);
    FeatureTracking::start(*mController, nullptr, nullptr);
    FeatureTracking::stop(*mController, nullptr, nullptr);
    FeatureTracking::trackValue(*mController, nullptr, 3);
    EXPECT_TRUE(mLog->messages().isEmpty()) << mLog->messages().join('\n').toStdString();
    EXPECT_TRUE(trackedEvents().isEmpty());
}

TEST_F(FeatureTrackingTest, StartTwiceThenStopGivesFourEventsWithTheirOwnProperties)
{
    // A repeated start sends its end and its start within one millisecond:
    // the order is observed as the logs are handed to the queue.
    QList<QJsonObject> sent;
    AppCenterAnalytics::instance().setEventObserverForTesting([&sent](const QJsonObject& log) { sent << log; });
    CFMutableDictionaryRef startProperties = hostDictionary({{"Mode", "Fast"}});
    CFMutableDictionaryRef stopProperties = hostDictionary({{"Result", "Saved"}});
    FeatureTracking::start(*mController, CFSTR("Retouch"), startProperties);
    tick();
    FeatureTracking::start(*mController, CFSTR("Retouch"), startProperties);
    tick();
    FeatureTracking::stop(*mController, CFSTR("Retouch"), stopProperties);
    CFRelease(startProperties);
    CFRelease(stopProperties);
    AppCenterAnalytics::instance().setEventObserverForTesting(nullptr);

    ASSERT_EQ(names(sent), (QStringList{"RetouchStart", "RetouchEnd", "RetouchStart", "RetouchEnd"}));
    EXPECT_EQ(propertiesOf(sent.at(0)), (Properties{{"Mode", "Fast"}}));
    EXPECT_EQ(propertiesOf(sent.at(1)).keys(), QStringList{"time"});
    bool isNumber = false;
    EXPECT_GE(propertiesOf(sent.at(1)).value("time").toLongLong(&isNumber), 2);
    EXPECT_TRUE(isNumber);
    EXPECT_EQ(propertiesOf(sent.at(2)), (Properties{{"Mode", "Fast"}}));
    EXPECT_EQ(propertiesOf(sent.at(3)).keys(), (QStringList{"Result", "interrupted", "time"}));
    EXPECT_EQ(propertiesOf(sent.at(3)).value("interrupted"), QStringLiteral("false"));
    EXPECT_TRUE(mController->startedFeatureTimers().isEmpty());
    EXPECT_EQ(trackedEvents().size(), 4); // and all four were stored
}

TEST_F(FeatureTrackingTest, StartAndEndOfADottedCodeAreNotSplit)
{
    FeatureTracking::start(*mController, CFSTR("Filter.Kind.Blur"), nullptr);
    tick();
    FeatureTracking::stop(*mController, CFSTR("Filter.Kind.Blur"), nullptr);
    EXPECT_EQ(names(trackedEvents()), (QStringList{"Filter.Kind.BlurStart", "Filter.Kind.BlurEnd"}));
}

TEST_F(FeatureTrackingTest, StopWithoutStartSendsNothing)
{
    FeatureTracking::stop(*mController, CFSTR("NeverStarted"), nullptr);
    EXPECT_TRUE(trackedEvents().isEmpty());
    EXPECT_TRUE(mLog->matching(QStringLiteral("Track Feature Stop")).isEmpty()); // verbosity 0
}

TEST_F(FeatureTrackingTest, TrackingLinesAppearOnlyFromVerbosityTwo)
{
    mController->setVerbosityForTesting(2);
    FeatureTracking::track(*mController, CFSTR("Crop"), nullptr);
    FeatureTracking::track(*mController, CFSTR("Application.Module.Browse"), nullptr);
    FeatureTracking::start(*mController, CFSTR("Retouch"), nullptr);
    FeatureTracking::stop(*mController, CFSTR("Retouch"), nullptr);
    FeatureTracking::stop(*mController, CFSTR("NeverStarted"), nullptr);
    FeatureTracking::trackValue(*mController, CFSTR("Zoom"), -5);
    EXPECT_EQ(mLog->matching(QStringLiteral("Track Feature")),
              (QStringList{"Track Feature: Crop", "Track Feature: Application.Module.Browse",
                           "Track Feature Start: Retouch", "Track Feature Stop: Retouch",
                           "Track Feature Stop: NeverStarted", "Track Feature: Zoom, Value -5"}));

    mController->setVerbosityForTesting(1);
    FeatureTracking::track(*mController, CFSTR("Crop"), nullptr);
    EXPECT_EQ(mLog->matching(QStringLiteral("Track Feature")).size(), 6);
}

TEST_F(FeatureTrackingTest, TrackValueSendsTheSignedValueAndDoesNotSplit)
{
    FeatureTracking::trackValue(*mController, CFSTR("Zoom"), -5);
    tick();
    FeatureTracking::trackValue(*mController, CFSTR("View.Zoom.Level"), 2147483647);
    const auto events = trackedEvents();
    ASSERT_EQ(names(events), (QStringList{"Zoom", "View.Zoom.Level"}));
    EXPECT_EQ(propertiesOf(events.at(0)), (Properties{{"value", "-5"}}));
    EXPECT_EQ(propertiesOf(events.at(1)), (Properties{{"value", "2147483647"}}));
}

TEST_F(FeatureTrackingTest, OncePerRunSendsOnceUntilTheControllerStopsAndStartsAgain)
{
    for (int i = 0; i < 3; ++i)
        FeatureTracking::trackOncePerRun(*mController, CFSTR("Welcome"));
    EXPECT_EQ(mController->oncePerRunCounts().value(ZpString(CFSTR("Welcome"))), 3);
    tick();
    mController->stop();
    startKnownProduct();
    FeatureTracking::trackOncePerRun(*mController, CFSTR("Welcome"));
    EXPECT_EQ(names(trackedEvents()), (QStringList{"Welcome", "Welcome"}));
}

TEST_F(FeatureTrackingTest, AnInvalidCodeIsNotCountedOncePerRun)
{
    FeatureTracking::trackOncePerRun(*mController, CFSTR("Bad.Code"));
    EXPECT_TRUE(mController->oncePerRunCounts().isEmpty());
    EXPECT_EQ(mLog->matching(QStringLiteral("WARNING")).size(), 1);
    EXPECT_TRUE(trackedEvents().isEmpty());
}

TEST_F(FeatureTrackingTest, AnInvalidCodeStartsNoTimer)
{
    FeatureTracking::start(*mController, CFSTR("Bad.Code."), nullptr);
    FeatureTracking::trackValue(*mController, CFSTR("Bad.Value"), 1);
    EXPECT_TRUE(mController->startedFeatureTimers().isEmpty());
    EXPECT_EQ(mLog->matching(QStringLiteral("WARNING")).size(), 2);
    EXPECT_TRUE(trackedEvents().isEmpty());
}

TEST(FeatureTrackingCodeCheck, AnswersZeroForValidAnd1005ForInvalid)
{
    EXPECT_EQ(FeatureTracking::checkCode(CFSTR("Crop")), 0);
    EXPECT_EQ(FeatureTracking::checkCode(CFSTR("a.b.c")), 0);
    EXPECT_EQ(FeatureTracking::checkCode(CFSTR("a.b.c.")), 0);
    EXPECT_EQ(FeatureTracking::checkCode(CFSTR("a.b")), 1005);
    EXPECT_EQ(FeatureTracking::checkCode(CFSTR("a.b.")), 1005);
}

// Internal failures: a CoreFoundation object that could not be created.
namespace {

int sSubstringCalls = 0;
int sFailingSubstringCall = 0;

CFArrayRef failSeparate(CFAllocatorRef, CFStringRef, CFStringRef) { return nullptr; }
CFStringRef failCopy(CFAllocatorRef, CFStringRef) { return nullptr; }
CFStringRef failNthSubstring(CFAllocatorRef allocator, CFStringRef string, CFRange range)
{
    return ++sSubstringCalls == sFailingSubstringCall ? nullptr : CFStringCreateWithSubstring(allocator, string, range);
}
CFMutableDictionaryRef failMutableCopy(CFAllocatorRef, CFIndex, CFDictionaryRef) { return nullptr; }
CFMutableDictionaryRef failEmptyDictionary() { return nullptr; }

class TrackingFailure : public FeatureTrackingTest {
protected:
    void TearDown() override
    {
        TrackingObjectFactory::current() = TrackingObjectFactory();
        FeatureTrackingTest::TearDown();
    }
    QStringList failureEvents() const { return mLog->matching(QStringLiteral("event 1026")); }
    static QString at(int line)
    {
        return QStringLiteral("event 1026 at ZpToolbox/Source/Common/Analytics/AnalyticsController:%1").arg(line);
    }
};

} // namespace

TEST_F(TrackingFailure, SplittingOrCopyingTheNameIs154)
{
    TrackingObjectFactory::current().separate = failSeparate;
    FeatureTracking::track(*mController, CFSTR("A.B.C"), nullptr);
    TrackingObjectFactory::current() = TrackingObjectFactory();
    TrackingObjectFactory::current().copy = failCopy;
    FeatureTracking::track(*mController, CFSTR("A.B.C"), nullptr);
    EXPECT_EQ(failureEvents(), (QStringList{at(154), at(154)}));
    EXPECT_TRUE(trackedEvents().isEmpty());
}

TEST_F(TrackingFailure, TheKeyTextIs340ThenNoPropertiesIs157)
{
    sSubstringCalls = 0;
    sFailingSubstringCall = 1;
    TrackingObjectFactory::current().substring = failNthSubstring;
    FeatureTracking::track(*mController, CFSTR("A.B.C"), nullptr);
    EXPECT_EQ(failureEvents(), (QStringList{at(340), at(157)}));
    EXPECT_TRUE(trackedEvents().isEmpty());
}

TEST_F(TrackingFailure, TheValueTextIs343ThenNoPropertiesIs157)
{
    sSubstringCalls = 0;
    sFailingSubstringCall = 2;
    TrackingObjectFactory::current().substring = failNthSubstring;
    FeatureTracking::track(*mController, CFSTR("A.B.C"), nullptr);
    EXPECT_EQ(failureEvents(), (QStringList{at(343), at(157)}));
    EXPECT_TRUE(trackedEvents().isEmpty());
}

TEST_F(TrackingFailure, TheDictionaryIs349ThenNoPropertiesIs157)
{
    TrackingObjectFactory::current().emptyDictionary = failEmptyDictionary;
    FeatureTracking::track(*mController, CFSTR("A.B.C"), nullptr);
    TrackingObjectFactory::current().mutableCopy = failMutableCopy;
    CFMutableDictionaryRef host = hostDictionary({{"x", "y"}});
    FeatureTracking::track(*mController, CFSTR("A.B.C"), host);
    CFRelease(host);
    EXPECT_EQ(failureEvents(), (QStringList{at(349), at(157), at(349), at(157)}));
    EXPECT_TRUE(trackedEvents().isEmpty());
}

TEST_F(TrackingFailure, AnEndEventWhoseDictionaryCannotBeMadeIsSkippedButTheFeatureStops)
{
    FeatureTracking::start(*mController, CFSTR("Retouch"), nullptr);
    TrackingObjectFactory::current().emptyDictionary = failEmptyDictionary;
    FeatureTracking::stop(*mController, CFSTR("Retouch"), nullptr);
    EXPECT_TRUE(mController->startedFeatureTimers().isEmpty());
    EXPECT_EQ(names(trackedEvents()), QStringList{"RetouchStart"});
}
