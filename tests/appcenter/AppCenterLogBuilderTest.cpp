#include "AppCenter/AppCenterLogBuilder.h"

#include <ZpCore/ZpUtils.h>

#include <QDateTime>
#include <QJsonArray>
#include <QMutex>
#include <QSet>
#include <thread>
#include <vector>
#include <QJsonDocument>
#include <QRegularExpression>
#include <gtest/gtest.h>

namespace {

QByteArray compact(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

} // namespace

TEST(AppCenterLogBuilder, StartServiceLogNamesOneServiceAndAlwaysCarriesUserId)
{
    EXPECT_EQ(compact(AppCenterLogBuilder::startServiceLog(QStringLiteral("Analytics"), QString())),
              QByteArray(R"({"services":["Analytics"],"type":"startService","userId":""})"));
    EXPECT_EQ(compact(AppCenterLogBuilder::startServiceLog(QStringLiteral("Crashes"), QStringLiteral("u1"))),
              QByteArray(R"({"services":["Crashes"],"type":"startService","userId":"u1"})"));
}

TEST(AppCenterLogBuilder, StartSessionLogCarriesSidAndEmptyUserId)
{
    const QJsonObject log = AppCenterLogBuilder::startSessionLog(QStringLiteral("3f2c9a1e-8d41-4b7a-9c0e-5a6b7c8d9e0f"), QString());
    EXPECT_EQ(compact(log),
              QByteArray(R"({"sid":"3f2c9a1e-8d41-4b7a-9c0e-5a6b7c8d9e0f","type":"startSession","userId":""})"));
    ASSERT_TRUE(log.value(QStringLiteral("userId")).isString());
}

TEST(AppCenterLogBuilder, EventWithoutPropertiesHasNoTypedPropertiesKey)
{
    const QJsonObject log = AppCenterLogBuilder::eventLog(QStringLiteral("Crop"), {});
    EXPECT_EQ(compact(log), QByteArray(R"({"name":"Crop","type":"event"})"));
    EXPECT_FALSE(log.contains(QStringLiteral("sid")));
    EXPECT_FALSE(log.contains(QStringLiteral("userId")));
}

TEST(AppCenterLogBuilder, NullDictionaryGivesNoProperties)
{
    EXPECT_TRUE(AppCenterLogBuilder::stringProperties(nullptr).isEmpty());
    EXPECT_FALSE(AppCenterLogBuilder::eventLog(QStringLiteral("E"), AppCenterLogBuilder::stringProperties(nullptr))
                     .contains(QStringLiteral("typedProperties")));
}

TEST(AppCenterLogBuilder, AllNonStringEntriesGiveNoTypedProperties)
{
    CFMutableDictionaryRef dict = ZpUtilsCFDictionaryCreateMutable();
    ZpUtilsCFDictionarySetValueInt(dict, CFSTR("count"), 3);
    CFDictionarySetValue(dict, CFSTR("flag"), kCFBooleanTrue);
    int32_t one = 1;
    CFNumberRef numberKey = CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt32Type, &one);
    CFDictionarySetValue(dict, numberKey, CFSTR("value of a number key"));
    CFRelease(numberKey);

    const QJsonObject log = AppCenterLogBuilder::eventLog(QStringLiteral("E"), AppCenterLogBuilder::stringProperties(dict));
    EXPECT_EQ(compact(log), QByteArray(R"({"name":"E","type":"event"})"));
    EXPECT_EQ(CFDictionaryGetCount(dict), 3); // only read
    CFRelease(dict);
}

TEST(AppCenterLogBuilder, KeepsOnlyStringPairsSortedByKey)
{
    CFMutableDictionaryRef dict = ZpUtilsCFDictionaryCreateMutable();
    ZpUtilsCFDictionarySetValueString(dict, CFSTR("zeta"), CFSTR("last"));
    ZpUtilsCFDictionarySetValueInt(dict, CFSTR("number"), 7);
    ZpUtilsCFDictionarySetValueString(dict, CFSTR("Alpha"), CFSTR("upper case sorts first"));
    ZpUtilsCFDictionarySetValueString(dict, CFSTR("beta"), CFSTR("Zoë"));

    const QJsonObject log = AppCenterLogBuilder::eventLog(QStringLiteral("E"), AppCenterLogBuilder::stringProperties(dict));
    CFRelease(dict);
    EXPECT_EQ(compact(log),
              QByteArray(R"({"name":"E","type":"event","typedProperties":[)"
                         R"({"name":"Alpha","type":"string","value":"upper case sorts first"},)"
                         R"({"name":"beta","type":"string","value":"Zoë"},)"
                         R"({"name":"zeta","type":"string","value":"last"}]})"));
    for (const QJsonValue& property : log.value(QStringLiteral("typedProperties")).toArray())
        EXPECT_EQ(property.toObject().keys().size(), 3);
}

TEST(AppCenterLogBuilder, UuidsAreLowerCaseWithoutBracesAndDistinct)
{
    const QRegularExpression form(QStringLiteral("^[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}$"));
    const QString first = AppCenterLogBuilder::newUuid();
    EXPECT_TRUE(form.match(first).hasMatch()) << first.toStdString();
    EXPECT_NE(first, AppCenterLogBuilder::newUuid());
}

TEST(AppCenterLogBuilder, TimestampIsUtcIsoWithMilliseconds)
{
    const QRegularExpression form(QStringLiteral("^\\d{4}-\\d{2}-\\d{2}T\\d{2}:\\d{2}:\\d{2}\\.\\d{3}Z$"));
    const QString stamp = AppCenterLogBuilder::utcTimestamp();
    EXPECT_TRUE(form.match(stamp).hasMatch()) << stamp.toStdString();
}

TEST(AppCenterLogBuilder, TimestampTextIsWhatQtWritesForEveryMillisecond)
{
    // Second and day boundaries, a leap day, times before 1970, and a run of
    // consecutive milliseconds through several seconds (the remembered date
    // and time of day must change with the second).
    QList<qint64> times{0, 1, 999, 1000, -1, -999, -1000, -1001, 951782400000 /* 2000-02-29 */,
                        1714558830123 /* 2024-05-01T10:20:30.123 */, 253402300799999 /* 9999-12-31T23:59:59.999 */};
    for (qint64 ms = 1735689597990; ms < 1735689602010; ms += 7) // around 2025-01-01T00:00:00
        times << ms;
    for (const qint64 ms : times) {
        const QByteArray expected = QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC).toString(Qt::ISODateWithMs).toLatin1();
        ASSERT_EQ(AppCenterLogBuilder::utcTimestampText(ms), expected) << ms;
    }
}

TEST(AppCenterLogBuilder, TimestampTextIsTheCurrentTime)
{
    // Both forms, each between the clock readings around it.
    for (int form = 0; form < 2; ++form) {
        const qint64 before = QDateTime::currentMSecsSinceEpoch();
        const QString stamp = form == 0 ? QString::fromLatin1(AppCenterLogBuilder::utcTimestampText())
                                        : AppCenterLogBuilder::utcTimestamp();
        const qint64 after = QDateTime::currentMSecsSinceEpoch();
        const qint64 stamped = QDateTime::fromString(stamp, Qt::ISODateWithMs).toMSecsSinceEpoch();
        EXPECT_GE(stamped, before) << stamp.toStdString();
        EXPECT_LE(stamped, after) << stamp.toStdString();
    }
}

TEST(AppCenterLogBuilder, UuidsAreRandomVersionFourAndDistinctAcrossThreads)
{
    const QRegularExpression form(
        QStringLiteral("^[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}$"));
    QSet<QByteArray> seen;
    for (int i = 0; i < 20000; ++i) {
        const QByteArray id = AppCenterLogBuilder::newUuidText();
        ASSERT_TRUE(form.match(QString::fromLatin1(id)).hasMatch()) << id.constData();
        seen.insert(id);
    }
    // Each thread seeds its own generator: other threads must not repeat ours.
    QList<QByteArray> fromThreads;
    QMutex lock;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            QList<QByteArray> mine;
            for (int i = 0; i < 5000; ++i)
                mine << AppCenterLogBuilder::newUuidText();
            QMutexLocker locker(&lock);
            fromThreads += mine;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (const QByteArray& id : fromThreads)
        seen.insert(id);
    EXPECT_EQ(seen.size(), 40000);
    // Every bit outside the version and variant is random: each hexadecimal
    // digit takes all sixteen values somewhere.
    for (int position : {0, 7, 9, 15, 20, 35}) {
        QSet<char> digits;
        for (const QByteArray& id : fromThreads)
            digits.insert(id.at(position));
        EXPECT_EQ(digits.size(), 16) << position;
    }
}
