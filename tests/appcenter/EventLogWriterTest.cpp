// The event writer's bytes against Qt's serialisation of the complete log,
// which is what every stored log must be, for ordinary and awkward text.
#include "AppCenter/EventLogWriter.h"

#include "AppCenter/AppCenterLogBuilder.h"
#include "AppCenter/DeviceInfo.h"

#include <QJsonDocument>
#include <QRandomGenerator>
#include <gtest/gtest.h>

namespace {

const QByteArray kId("0b6e7f4c-1d2a-4c3b-8e9f-a0b1c2d3e4f5");
const QByteArray kTimestamp("2024-05-01T10:20:30.123Z");

QJsonObject device()
{
    DeviceInfo info;
    info.sdkName = QStringLiteral("appcenter.custom");
    info.sdkVersion = QStringLiteral("1.0");
    info.appVersion = QStringLiteral("7.1 \"beta\"");
    info.appBuild = QStringLiteral("1234");
    info.oemName = QStringLiteral("Acme \\ Ltd");
    info.model = QStringLiteral("Model\u00e9 \U0001F600");
    info.osName = QStringLiteral("Linux");
    info.osVersion = QStringLiteral("6.1");
    info.osBuild = QStringLiteral("6.1.0-18-amd64");
    info.screenSize = QStringLiteral("1920x1080");
    info.locale = QStringLiteral("en_US");
    info.carrierCountry = QStringLiteral("US");
    info.timeZoneOffset = -210;
    return info.toJson(QString());
}

// What the generic path stores for the same event: the builder's object with
// the envelope, serialised whole.
QByteArray serialisedWhole(const QString& name, const QMap<QString, QString>& properties)
{
    QJsonObject log = AppCenterLogBuilder::eventLog(name, properties);
    log.insert(QStringLiteral("id"), QString::fromLatin1(kId));
    log.insert(QStringLiteral("device"), device());
    log.insert(QStringLiteral("timestamp"), QString::fromLatin1(kTimestamp));
    return QJsonDocument(log).toJson(QJsonDocument::Compact);
}

QString randomText(QRandomGenerator& random)
{
    // Quotes, backslashes, control characters, non-ASCII, pairs and lone
    // surrogates, and the JSON of the members themselves.
    static const QList<QString> pieces{
        QStringLiteral("a"), QStringLiteral("Crop"), QStringLiteral("\""), QStringLiteral("\\"),
        QStringLiteral("\n"), QStringLiteral("\t"), QString(QChar(0x01)), QString(QChar(0x7f)),
        QStringLiteral("\u00e9"), QStringLiteral("\u65e5\u672c"), QStringLiteral("\U0001F600"),
        QString(QChar(0xD800)), QString(QChar(0xDFFF)), QStringLiteral("\"type\":\"event\""),
        QStringLiteral(","), QStringLiteral("}"), QStringLiteral("."), QStringLiteral(" "), QString()};
    QString text;
    const int count = random.bounded(6);
    for (int i = 0; i < count; ++i)
        text += pieces.at(random.bounded(int(pieces.size())));
    return text;
}

} // namespace

TEST(EventLogWriter, PlainEventMatchesTheWholeLogsSerialisation)
{
    const EventLogWriter writer(device());
    const QByteArray written = writer.write(kId, QStringLiteral("Crop"), {}, kTimestamp);
    EXPECT_EQ(written, serialisedWhole(QStringLiteral("Crop"), {}));
    EXPECT_FALSE(written.contains("typedProperties"));
}

TEST(EventLogWriter, PropertiesComeSortedByKeyAsTypedStrings)
{
    const EventLogWriter writer(device());
    const QMap<QString, QString> properties{{QStringLiteral("zeta"), QStringLiteral("1")},
                                            {QStringLiteral("Format"), QStringLiteral("JPEG")},
                                            {QStringLiteral("alpha"), QString()}};
    const QByteArray written = writer.write(kId, QStringLiteral("Export"), properties, kTimestamp);
    EXPECT_EQ(written, serialisedWhole(QStringLiteral("Export"), properties));
    EXPECT_TRUE(written.endsWith(
        R"("typedProperties":[{"name":"Format","type":"string","value":"JPEG"},{"name":"alpha","type":"string","value":""},{"name":"zeta","type":"string","value":"1"}]})"));
}

TEST(EventLogWriter, AwkwardTextIsEscapedExactlyAsQtDoes)
{
    const EventLogWriter writer(device());
    QRandomGenerator random(20261121);
    for (int i = 0; i < 2000; ++i) {
        const QString name = randomText(random);
        QMap<QString, QString> properties;
        const int count = random.bounded(4);
        for (int p = 0; p < count; ++p)
            properties.insert(randomText(random), randomText(random));
        ASSERT_EQ(writer.write(kId, name, properties, kTimestamp), serialisedWhole(name, properties))
            << "case " << i;
    }
}

TEST(EventLogWriter, RepeatedAndManyDistinctTextsStayExact)
{
    // The same texts again (written from memory) and more distinct ones than
    // the writer remembers (so that it forgets and writes them anew).
    const EventLogWriter writer(device());
    for (int round = 0; round < 2; ++round) {
        for (int i = 0; i < 3000; i += 7) {
            const QString name = QStringLiteral("Feature%1").arg(i);
            const QMap<QString, QString> properties{{QStringLiteral("value"), QString::number(i % 50)}};
            ASSERT_EQ(writer.write(kId, name, properties, kTimestamp), serialisedWhole(name, properties));
        }
    }
}
