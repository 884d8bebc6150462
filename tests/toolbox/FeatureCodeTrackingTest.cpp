// The exported feature codes handed to feature tracking as they stand: what
// reaches the store, and what the tracking check says about them.
#include "Analytics/AnalyticsController.h"
#include "Analytics/FeatureTracking.h"

#include "AppCenterStoreFixture.h"
#include "FeatureCodeTables.h"
#include "LogCapture.h"

#include <ZpCore/ZpProducts.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include <QJsonArray>
#include <QJsonObject>
#include <QThread>
#include <memory>

namespace {

class FeatureCodeTracking : public AppCenterStoreFixture {
protected:
    void SetUp() override
    {
        AppCenterStoreFixture::SetUp();
        mController = std::make_unique<AnalyticsController>();
        mController->startup(kZpProductDelta, 0, 3, location());
        // Only what tracking says, not what start-up said.
        mLog = std::make_unique<LogCapture>();
    }

    void TearDown() override
    {
        mLog.reset();
        mController.reset();
        AppCenterStoreFixture::TearDown();
    }

    void track(CFStringRef code) { FeatureTracking::track(*mController, code, nullptr); }

    std::unique_ptr<AnalyticsController> mController;
    std::unique_ptr<LogCapture> mLog;
};

} // namespace

TEST_F(FeatureCodeTracking, TheRecoveredDatabaseCodesGetTheOneDotWarningAndSendNothing)
{
    track(kZpAnalyticsBrowseRecoverDatabase);
    track(kZpAnalyticsBrowseRecoverNdDatabase);
    EXPECT_EQ(mLog->matching(QStringLiteral("WARNING")),
              (QStringList{"WARNING feature code 'Browse.RecoveredDatabase' should have none or more than one '.'",
                           "WARNING feature code 'Browse.RecoveredNdDatabase' should have none or more than one '.'"}));
    EXPECT_TRUE(trackedEvents().isEmpty());
}

TEST_F(FeatureCodeTracking, ReservedCodesSendNothingAndSayNothing)
{
    for (const ReservedFeatureCode& code : kReservedFeatureCodes)
        track(*code.variable);
    EXPECT_TRUE(mLog->messages().isEmpty()) << mLog->messages().join('\n').toStdString();
    EXPECT_TRUE(trackedEvents().isEmpty());
}

TEST_F(FeatureCodeTracking, CodesWithSpacesAreSentWithTheirSpaces)
{
    track(kZpAnalyticsImportSourceMassStorage);
    QThread::msleep(3); // distinct timestamps keep the stored order
    track(kZpAnalyticsBrowseShowSubFolders);
    EXPECT_TRUE(mLog->matching(QStringLiteral("WARNING")).isEmpty());

    const QList<QJsonObject> events = trackedEvents();
    ASSERT_EQ(events.size(), 2);
    EXPECT_EQ(events.at(0).value(QStringLiteral("name")).toString(), QStringLiteral("Import"));
    EXPECT_EQ(propertiesOf(events.at(0)), (QMap<QString, QString>{{"Source", "Mass Storage"}}));
    EXPECT_EQ(events.at(1).value(QStringLiteral("name")).toString(), QStringLiteral("Show Sub-Folders"));
}
