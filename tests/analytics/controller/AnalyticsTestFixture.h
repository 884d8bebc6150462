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
    // The stored event logs other than "System", oldest first.
    QList<QJsonObject> trackedEvents();

    static QMap<QString, QString> propertiesOf(const QJsonObject& event);
    // A host dictionary of CFString pairs; the caller releases it.
    static CFMutableDictionaryRef hostDictionary(const QMap<QString, QString>& pairs);
    // Lets the clock move on, so that stored timestamps order the logs.
    static void tick();

    CFURLRef mLocation = nullptr;
    std::unique_ptr<AnalyticsController> mController;
    std::unique_ptr<LogCapture> mLog;
};
