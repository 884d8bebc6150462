// The library's dynamic symbol table is exactly its public interface: the C
// functions, the feature codes and ZpToolboxUtils, and nothing of its insides.
#include "FeatureCodeTables.h"

#include <QMap>
#include <QProcess>
#include <QSet>
#include <QStringList>
#include <gtest/gtest.h>

namespace {

const QStringList kFunctions = {
    "ZpAnalyticsCreate", "ZpAnalyticsRelease", "ZpAnalyticsStartup", "ZpAnalyticsStartupUserAppDataPath",
    "ZpAnalyticsShutdown", "ZpAnalyticsQueryUserPrivacy", "ZpAnalyticsTrackFeature",
    "ZpAnalyticsTrackFeatureWithProperties", "ZpAnalyticsTrackFeatureOncePerRun", "ZpAnalyticsTrackFeatureStart",
    "ZpAnalyticsTrackFeatureStartWithProperties", "ZpAnalyticsTrackFeatureStop",
    "ZpAnalyticsTrackFeatureStopWithProperties", "ZpAnalyticsTrackFeatureValue",
    "ZpCrashReportStartup", "ZpCrashReportStartupWithUserAppDataPath", "ZpCrashReportShutdown",
    "ZpCrashReportAbort", "ZpCrashReportDidSendCrashReport", "ZpCrashReportSetUserName",
    "ZpCrashReportSetUserEmail", "ZpCrashReportTestCrash", "ZpCrashReportTestUI",
};

const QStringList kToolboxUtils = {
    "ZpToolboxUtils::sManagerLock", "ZpToolboxUtils::sNetworkAccessManager",
    "ZpToolboxUtils::sharedNetworkAccessManager()", "ZpToolboxUtils::timestamp()",
    "ZpToolboxUtils::processName()", "ZpToolboxUtils::processPID()", "ZpToolboxUtils::processArchitecture()",
    "ZpToolboxUtils::operator=(ZpToolboxUtils const&)", "ZpToolboxUtils::operator=(ZpToolboxUtils&&)",
};

// "<type> <name>" of every defined dynamic symbol, demangled.
QMap<QString, QString> definedSymbols()
{
    QProcess nm;
    nm.start(QStringLiteral("nm"), {"-D", "--defined-only", "--demangle", "--format=posix", ZP_TOOLBOX_LIBRARY});
    if (!nm.waitForFinished(30000) || nm.exitCode() != 0)
        return {};
    QMap<QString, QString> symbols;
    for (const QString& line : QString::fromUtf8(nm.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts)) {
        // posix format: "<name> <type> <value> <size>"; names may hold spaces, so split from the right
        const QStringList fields = line.split(' ');
        const int typeField = fields.size() >= 4 ? fields.size() - 3 : fields.size() - 2;
        symbols.insert(fields.mid(0, typeField).join(' '), fields.value(typeField));
    }
    return symbols;
}

} // namespace

TEST(ExportedSymbols, AreExactlyThePublicInterface)
{
    const QMap<QString, QString> symbols = definedSymbols();
    ASSERT_FALSE(symbols.isEmpty()) << "nm gave nothing";

    QSet<QString> expected(kFunctions.cbegin(), kFunctions.cend());
    expected.unite(QSet<QString>(kToolboxUtils.cbegin(), kToolboxUtils.cend()));
    for (const ValuedFeatureCode& code : kValuedFeatureCodes)
        expected.insert(QString::fromLatin1(code.name));
    for (const ReservedFeatureCode& code : kReservedFeatureCodes)
        expected.insert(QString::fromLatin1(code.name));
    ASSERT_EQ(expected.size(), 23 + 9 + 178);

    const QStringList exported = symbols.keys();
    const QSet<QString> actual(exported.cbegin(), exported.cend());
    for (const QString& missing : expected - actual)
        ADD_FAILURE() << "not exported: " << missing.toStdString();
    for (const QString& extra : actual - expected)
        ADD_FAILURE() << "exported but not public: " << extra.toStdString();
}

TEST(ExportedSymbols, FunctionsAreCodeAndFeatureCodesAreData)
{
    const QMap<QString, QString> symbols = definedSymbols();
    for (const QString& function : kFunctions)
        EXPECT_EQ(symbols.value(function), QStringLiteral("T")) << function.toStdString();
    for (const ValuedFeatureCode& code : kValuedFeatureCodes)
        EXPECT_EQ(symbols.value(QString::fromLatin1(code.name)), QStringLiteral("B")) << code.name;
    for (const ReservedFeatureCode& code : kReservedFeatureCodes)
        EXPECT_EQ(symbols.value(QString::fromLatin1(code.name)), QStringLiteral("B")) << code.name;
}
