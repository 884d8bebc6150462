// The device object as a real process computes it from its environment.
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QProcessEnvironment>
#include <gtest/gtest.h>

namespace {

QJsonObject deviceWith(const QString& timeZone, const QString& language)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("TZ"), timeZone);
    env.remove(QStringLiteral("LC_ALL"));
    env.remove(QStringLiteral("LC_MESSAGES"));
    env.insert(QStringLiteral("LANG"), language);
    QProcess probe;
    probe.setProcessEnvironment(env);
    probe.start(QStringLiteral(ZP_APPCENTER_PROBE), {QStringLiteral("--device")});
    if (!probe.waitForFinished(60000) || probe.exitCode() != 0)
        return {};
    return QJsonDocument::fromJson(probe.readAllStandardOutput()).object();
}

} // namespace

TEST(DeviceInfoProcess, HalfHourZoneEastOfUtc)
{
    const QJsonObject device = deviceWith(QStringLiteral("Asia/Kolkata"), QStringLiteral("en_IN.UTF-8"));
    ASSERT_FALSE(device.isEmpty());
    EXPECT_EQ(device.value(QStringLiteral("timeZoneOffset")).toInt(-1), 330);
    EXPECT_EQ(device.value(QStringLiteral("locale")).toString(), QStringLiteral("en_IN"));
    EXPECT_EQ(device.value(QStringLiteral("carrierCountry")).toString(), QStringLiteral("IN"));
}

TEST(DeviceInfoProcess, HalfHourZoneWestOfUtcAndTheCLocale)
{
    // Newfoundland is UTC-3:30 in winter and UTC-2:30 in summer.
    const QJsonObject device = deviceWith(QStringLiteral("<NST>3:30"), QStringLiteral("C"));
    ASSERT_FALSE(device.isEmpty());
    EXPECT_EQ(device.value(QStringLiteral("timeZoneOffset")).toInt(-1), -210);
    EXPECT_EQ(device.value(QStringLiteral("locale")).toString(), QStringLiteral("C"));
    EXPECT_TRUE(device.contains(QStringLiteral("carrierCountry")));
    EXPECT_EQ(device.value(QStringLiteral("carrierCountry")).toString(QStringLiteral("missing")), QString());
}
