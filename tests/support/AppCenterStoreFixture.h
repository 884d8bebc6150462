#pragma once

// A test fixture for code that writes App Center logs: a fresh client state, a
// temporary storage directory, sends that are refused (so every log stays in
// the store), and the stored logs read back. Header-only because it uses the
// product's objects, which each test program links once.

#include "AppCenter/AppCenter.h"
#include "StoreReader.h"

#include <CoreFoundation/CoreFoundation.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
#include <QTemporaryDir>
#include <QThreadPool>
#include <algorithm>
#include <gtest/gtest.h>

class AppCenterStoreFixture : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(mDir.isValid());
        qputenv("ZP_INGESTION_BASE_URL", refusingBaseUrl().toUtf8());
        AppCenter::resetForTesting();
    }

    void TearDown() override
    {
        AppCenter::resetForTesting();
        QThreadPool::globalInstance()->waitForDone();
        qunsetenv("ZP_INGESTION_BASE_URL");
        if (mLocation)
            CFRelease(mLocation);
        mLocation = nullptr;
    }

    // mDir as a directory URL, as hosts pass their data folder; the fixture owns it.
    CFURLRef location()
    {
        if (!mLocation) {
            CFStringRef path = ZpQtStringUtils::createCFStringRefFromQString(mDir.path());
            mLocation = CFURLCreateWithFileSystemPath(kCFAllocatorDefault, path, kCFURLPOSIXPathStyle, true);
            CFRelease(path);
        }
        return mLocation;
    }

    // Where a client started with mDir as its directory keeps its store.
    QString storageDirectory() const { return mDir.path() + QDir::separator() + QStringLiteral("AppCenter"); }

    // The logs stored so far, oldest first (logs of one millisecond keep the
    // store's order); lets the client go so that the store can be read.
    QList<QJsonObject> storedLogs() const
    {
        AppCenter::resetForTesting();
        QThreadPool::globalInstance()->waitForDone();
        QList<QJsonObject> logs;
        for (const QByteArray& json : StoreReader::logs(storageDirectory()))
            logs << QJsonDocument::fromJson(json).object();
        std::stable_sort(logs.begin(), logs.end(), [](const QJsonObject& a, const QJsonObject& b) {
            return a.value(QStringLiteral("timestamp")).toString() < b.value(QStringLiteral("timestamp")).toString();
        });
        return logs;
    }

    // The logs of one "type", or the event logs of one name when `eventName` is given.
    static QList<QJsonObject> select(const QList<QJsonObject>& logs, const QString& type,
                                     const QString& eventName = QString())
    {
        QList<QJsonObject> result;
        for (const QJsonObject& log : logs) {
            if (log.value(QStringLiteral("type")).toString() == type
                && (eventName.isNull() || log.value(QStringLiteral("name")).toString() == eventName))
                result << log;
        }
        return result;
    }

    // The stored event logs other than the machine description ("System").
    QList<QJsonObject> trackedEvents() const
    {
        QList<QJsonObject> events;
        for (const QJsonObject& log : select(storedLogs(), QStringLiteral("event"))) {
            if (log.value(QStringLiteral("name")).toString() != QLatin1String("System"))
                events << log;
        }
        return events;
    }

    // An event's typed properties as name -> value.
    static QMap<QString, QString> propertiesOf(const QJsonObject& event)
    {
        QMap<QString, QString> properties;
        for (const QJsonValue& value : event.value(QStringLiteral("typedProperties")).toArray()) {
            const QJsonObject property = value.toObject();
            properties.insert(property.value(QStringLiteral("name")).toString(),
                              property.value(QStringLiteral("value")).toString());
        }
        return properties;
    }

    QTemporaryDir mDir;

private:
    CFURLRef mLocation = nullptr;
};
