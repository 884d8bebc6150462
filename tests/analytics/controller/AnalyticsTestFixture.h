#pragma once

#include "Analytics/AnalyticsController.h"

#include "AppCenterStoreFixture.h"
#include "LogCapture.h"

#include <CoreFoundation/CoreFoundation.h>

#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QTemporaryDir>
#include <memory>
#include <gtest/gtest.h>

// A controller on a temporary storage directory, with sends refused so that
// every log stays in the store to be read back.
class AnalyticsTestFixture : public AppCenterStoreFixture {
protected:
    void SetUp() override;
    void TearDown() override;

    // Starts the controller for a product with a known app secret.
    void startKnownProduct();

    // A host dictionary of CFString pairs; the caller releases it.
    static CFMutableDictionaryRef hostDictionary(const QMap<QString, QString>& pairs);
    // Lets the clock move on, so that stored timestamps order the logs.
    static void tick();

    std::unique_ptr<AnalyticsController> mController;
    std::unique_ptr<LogCapture> mLog;
};
