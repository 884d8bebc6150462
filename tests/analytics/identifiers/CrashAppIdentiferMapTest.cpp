// The app secret table: which secret set the branch and build select, the rows
// of each set, the secrets themselves, misses and the process-wide accessor.
#include "Analytics/CrashAppIdentiferMap.h"
#include "Analytics/ProductIdentifierData.h"

#include "LogCapture.h"

#include <ZpCore/ZpProcess.h>
#include <ZpCore/ZpProducts.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>
#include <ZpQtCoreLite/ZpQtSysInfo.h>

#include <QRegularExpression>
#include <QSet>
#include <gtest/gtest.h>

namespace {

using Data = ProductIdentifierData;

QString text(CFStringRef string)
{
    return ZpQtStringUtils::createQStringFromCFStringRef(string);
}

struct Row {
    CFStringRef product;
    int32_t productType;
    int32_t productEditionType;
    int32_t variant;
    const char* secret;
};

QList<Row> sharedRows()
{
    QList<Row> rows;
    const QList<QPair<CFStringRef, const Data::EditionProduct*>> editions = {
        {kZpProductDelta, &Data::kDelta}, {kZpProductGamma, &Data::kGamma}, {kZpProductEpsilon, &Data::kEpsilon},
        {kZpProductZeta, &Data::kZeta},   {kZpProductEta, &Data::kEta},     {kZpProductTheta, &Data::kTheta},
        {kZpProductIota, &Data::kIota},
    };
    for (const auto& edition : editions) {
        rows.append({edition.first, 0, 3, 2, edition.second->premiumSecret});
        rows.append({edition.first, 0, 3, 1, edition.second->premiumVariant1Secret});
        rows.append({edition.first, 1, 1, 1, edition.second->standardVariant1Secret});
    }
    rows.append({kZpProductAlpha, 0, 1, 2, Data::kAlpha.secret});
    rows.append({kZpProductAlpha, 0, 1, 1, Data::kAlpha.variant1Secret});
    return rows;
}

QList<Row> testSetRows()
{
    QList<Row> rows = {
        {kZpProductBeta, 0, 3, 2, Data::kBeta.testPremiumSecret},
        {kZpProductBeta, 0, 2, 2, Data::kBeta.testPremiumSecret},
        {kZpProductBeta, 0, 3, 1, Data::kBeta.testPremiumVariant1Secret},
        {kZpProductKappa, 1, 3, 4, Data::kKappa.testVariant4Secret},
        {kZpProductKappa, 1, 3, 3, Data::kKappa.testVariant3Secret},
    };
    return rows + sharedRows();
}

QList<Row> releaseSetRows()
{
    QList<Row> rows = {
        {kZpProductBeta, 0, 3, 2, Data::kBeta.premiumSecret},
        {kZpProductBeta, 0, 3, 1, Data::kBeta.premiumVariant1Secret},
        {kZpProductBeta, 0, 2, 2, Data::kBeta.secondEditionSecret},
        {kZpProductBeta, 0, 2, 1, Data::kBeta.secondEditionVariant1Secret},
        {kZpProductKappa, 1, 3, 4, Data::kKappa.variant4Secret},
        {kZpProductKappa, 1, 3, 3, Data::kKappa.variant3Secret},
    };
    return rows + sharedRows();
}

// Checks that `map` holds exactly `rows`, key for key and secret for secret.
void expectRows(const CrashAppIdentiferMap& map, const QList<Row>& rows)
{
    EXPECT_EQ(map.size(), rows.size());
    for (const Row& row : rows) {
        const CrashAppIdentiferKey key(row.product, row.productType, row.productEditionType, row.variant);
        ASSERT_TRUE(map.contains(key)) << text(row.product).toStdString() << " " << row.productType << " "
                                       << row.productEditionType << " " << row.variant;
        EXPECT_EQ(text(map.value(key)), QString::fromLatin1(row.secret));
    }
}

class CrashAppIdentiferMapTest : public ::testing::Test {
protected:
    void TearDown() override
    {
        ZpProcessSetBranchName(nullptr);
        ZpQtSysInfo::setDebugBuildOverride(std::nullopt);
    }

    static void setHost(CFStringRef branchName, bool debugBuild)
    {
        ZpProcessSetBranchName(branchName);
        ZpQtSysInfo::setDebugBuildOverride(debugBuild);
    }

    // Which set a freshly built table holds, told apart by the main and the
    // mobile product's variant-2/variant-4 secrets (which the sets do not share).
    static QString loadedSet()
    {
        const CrashAppIdentiferMap map;
        const QString main = text(map.value(CrashAppIdentiferKey(kZpProductBeta, 0, 3, 2)));
        const QString mobile = text(map.value(CrashAppIdentiferKey(kZpProductKappa, 1, 3, 4)));
        if (main == QLatin1String(Data::kBeta.testPremiumSecret)
            && mobile == QLatin1String(Data::kKappa.testVariant4Secret) && map.size() == 28)
            return QStringLiteral("test");
        if (main == QLatin1String(Data::kBeta.premiumSecret) && mobile == QLatin1String(Data::kKappa.variant4Secret)
            && map.size() == 29)
            return QStringLiteral("release");
        return QStringLiteral("mixed");
    }
};

} // namespace

TEST_F(CrashAppIdentiferMapTest, AppCenterBranchLoadsTestSecretsInReleaseBuild)
{
    setHost(CFSTR("AppCenter"), false);
    EXPECT_TRUE(CrashAppIdentiferMap::usesTestSecrets());
    EXPECT_EQ(loadedSet(), QStringLiteral("test"));
}

TEST_F(CrashAppIdentiferMapTest, AppCenterBranchLoadsTestSecretsInDebugBuild)
{
    setHost(CFSTR("AppCenter"), true);
    EXPECT_TRUE(CrashAppIdentiferMap::usesTestSecrets());
    EXPECT_EQ(loadedSet(), QStringLiteral("test"));
}

TEST_F(CrashAppIdentiferMapTest, NoBranchLoadsTestSecretsInDebugBuild)
{
    setHost(nullptr, true);
    EXPECT_TRUE(CrashAppIdentiferMap::usesTestSecrets());
    EXPECT_EQ(loadedSet(), QStringLiteral("test"));
}

TEST_F(CrashAppIdentiferMapTest, NoBranchLoadsReleaseSecretsInReleaseBuild)
{
    setHost(nullptr, false);
    EXPECT_FALSE(CrashAppIdentiferMap::usesTestSecrets());
    EXPECT_EQ(loadedSet(), QStringLiteral("release"));
}

TEST_F(CrashAppIdentiferMapTest, EmptyBranchCountsAsNoBranch)
{
    setHost(CFSTR(""), true);
    EXPECT_EQ(loadedSet(), QStringLiteral("test"));
    setHost(CFSTR(""), false);
    EXPECT_EQ(loadedSet(), QStringLiteral("release"));
}

TEST_F(CrashAppIdentiferMapTest, OtherBranchLoadsReleaseSecretsEvenInDebugBuild)
{
    setHost(CFSTR("main"), true);
    EXPECT_FALSE(CrashAppIdentiferMap::usesTestSecrets());
    EXPECT_EQ(loadedSet(), QStringLiteral("release"));
    setHost(CFSTR("main"), false);
    EXPECT_EQ(loadedSet(), QStringLiteral("release"));
    // The branch name must match exactly.
    setHost(CFSTR("appcenter"), true);
    EXPECT_EQ(loadedSet(), QStringLiteral("release"));
}

TEST_F(CrashAppIdentiferMapTest, TestSetHoldsItsTwentyEightRows)
{
    setHost(CFSTR("AppCenter"), false);
    const CrashAppIdentiferMap map;
    ASSERT_EQ(testSetRows().size(), 28);
    expectRows(map, testSetRows());
}

TEST_F(CrashAppIdentiferMapTest, ReleaseSetHoldsItsTwentyNineRows)
{
    setHost(CFSTR("main"), false);
    const CrashAppIdentiferMap map;
    ASSERT_EQ(releaseSetRows().size(), 29);
    expectRows(map, releaseSetRows());
}

TEST_F(CrashAppIdentiferMapTest, SecondEditionVariant1MissesWithTestSetAndIsLogged)
{
    setHost(CFSTR("AppCenter"), false);
    const CrashAppIdentiferMap map;
    LogCapture log;
    EXPECT_FALSE(map.contains(CrashAppIdentiferKey(kZpProductBeta, 0, 2, 1)));
    EXPECT_EQ(map.findAppSecret(kZpProductBeta, 0, 2, 1), nullptr);
    EXPECT_EQ(log.matching(QStringLiteral("Could not find")),
              QStringList{QStringLiteral(
                  "Could not find application identifier for Beta, product type: 0, product edition type: 2")});
}

TEST_F(CrashAppIdentiferMapTest, SecondEditionVariant1IsFoundWithReleaseSet)
{
    setHost(nullptr, false);
    const CrashAppIdentiferMap map;
    LogCapture log;
    EXPECT_EQ(text(map.findAppSecret(kZpProductBeta, 0, 2, 1)),
              QString::fromLatin1(Data::kBeta.secondEditionVariant1Secret));
    EXPECT_TRUE(log.matching(QStringLiteral("Could not find")).isEmpty());
}

TEST_F(CrashAppIdentiferMapTest, TestSetSharesOneSecretBetweenTheMainEditions)
{
    setHost(CFSTR("AppCenter"), true);
    const CrashAppIdentiferMap map;
    const CFStringRef premium = map.findAppSecret(kZpProductBeta, 0, 3, 2);
    const CFStringRef secondEdition = map.findAppSecret(kZpProductBeta, 0, 2, 2);
    ASSERT_NE(premium, nullptr);
    EXPECT_EQ(text(premium), text(secondEdition));
}

TEST_F(CrashAppIdentiferMapTest, ReleaseSetSeparatesTheMainEditions)
{
    setHost(CFSTR("main"), false);
    const CrashAppIdentiferMap map;
    EXPECT_NE(text(map.findAppSecret(kZpProductBeta, 0, 3, 2)), text(map.findAppSecret(kZpProductBeta, 0, 2, 2)));
}

TEST_F(CrashAppIdentiferMapTest, EverySecretIsDistinctExceptTheSharedOne)
{
    QSet<QString> all;
    setHost(CFSTR("AppCenter"), false);
    const CrashAppIdentiferMap testSet;
    QSet<QString> testSecrets;
    for (CFStringRef secret : testSet)
        testSecrets.insert(text(secret));
    EXPECT_EQ(testSecrets.size(), 27); // 28 rows, rows 1 and 2 share one
    setHost(CFSTR("main"), false);
    const CrashAppIdentiferMap releaseSet;
    QSet<QString> releaseSecrets;
    for (CFStringRef secret : releaseSet)
        releaseSecrets.insert(text(secret));
    EXPECT_EQ(releaseSecrets.size(), 29);
    EXPECT_EQ((testSecrets | releaseSecrets).size(), 33);
}

TEST_F(CrashAppIdentiferMapTest, SecretsAreLowerCaseGuids)
{
    const QRegularExpression guid(QStringLiteral("^[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}$"));
    for (bool appCenter : {true, false}) {
        setHost(appCenter ? CFSTR("AppCenter") : CFSTR("main"), false);
        const CrashAppIdentiferMap map;
        for (CFStringRef secret : map) {
            EXPECT_EQ(CFStringGetLength(secret), 36);
            EXPECT_TRUE(guid.match(text(secret)).hasMatch()) << text(secret).toStdString();
        }
    }
}

TEST_F(CrashAppIdentiferMapTest, ProductIsCaseSensitive)
{
    setHost(nullptr, false);
    const CrashAppIdentiferMap map;
    LogCapture log;
    EXPECT_NE(map.findAppSecret(CFSTR("Beta"), 0, 3, 2), nullptr);
    EXPECT_EQ(map.findAppSecret(CFSTR("beta"), 0, 3, 2), nullptr);
    EXPECT_EQ(log.matching(QStringLiteral("Could not find")),
              QStringList{QStringLiteral(
                  "Could not find application identifier for beta, product type: 0, product edition type: 3")});
}

TEST_F(CrashAppIdentiferMapTest, VariantTwoLookupsNeverReachOtherVariants)
{
    for (bool appCenter : {true, false}) {
        setHost(appCenter ? CFSTR("AppCenter") : CFSTR("main"), false);
        const CrashAppIdentiferMap map;
        int otherVariantRows = 0;
        for (auto it = map.cbegin(); it != map.cend(); ++it) {
            const CrashAppIdentiferKey& key = it.key();
            if (key.variant() == CrashAppIdentiferMap::kLookupVariant)
                continue;
            ++otherVariantRows;
            const CFStringRef product = ZpQtStringUtils::createCFStringRefFromQString(key.product());
            const CFStringRef found = map.value(CrashAppIdentiferKey(product, key.productType(),
                                                                     key.productEditionType(),
                                                                     CrashAppIdentiferMap::kLookupVariant));
            CFRelease(product);
            EXPECT_NE(text(found), text(it.value())) << key.product().toStdString() << " " << key.variant();
        }
        // Variant-1, 3 and 4 rows exist: 18 with the test set, 19 with the release set.
        EXPECT_EQ(otherVariantRows, appCenter ? 18 : 19);
    }
}

TEST_F(CrashAppIdentiferMapTest, StandardEditionsAndMobileProductGetNoSecret)
{
    setHost(nullptr, false);
    const CrashAppIdentiferMap map;
    LogCapture log;
    const CFStringRef standardEditions[] = {kZpProductDelta, kZpProductGamma, kZpProductEpsilon, kZpProductZeta,
                                            kZpProductEta,   kZpProductTheta, kZpProductIota};
    for (CFStringRef product : standardEditions) {
        EXPECT_TRUE(map.contains(CrashAppIdentiferKey(product, 1, 1, 1)));
        EXPECT_EQ(map.findAppSecret(product, 1, 1, CrashAppIdentiferMap::kLookupVariant), nullptr);
    }
    EXPECT_EQ(map.findAppSecret(kZpProductKappa, 1, 3, CrashAppIdentiferMap::kLookupVariant), nullptr);
    EXPECT_EQ(log.matching(QStringLiteral("Could not find application identifier for ")).size(), 8);
    EXPECT_EQ(log.matching(QStringLiteral("Could not find application identifier for Delta, product type: 1, "
                                          "product edition type: 1"))
                  .size(),
              1);
}

TEST_F(CrashAppIdentiferMapTest, LookupsUseTheFullKeyEquality)
{
    setHost(CFSTR("AppCenter"), false);
    const CrashAppIdentiferMap map;
    // (Beta, 0, 2) has a variant-2 row only; the base fields alone would match it.
    EXPECT_TRUE(map.contains(CrashAppIdentiferKey(kZpProductBeta, 0, 2, 2)));
    EXPECT_FALSE(map.contains(CrashAppIdentiferKey(kZpProductBeta, 0, 2, 1)));
    EXPECT_FALSE(map.contains(CrashAppIdentiferKey(kZpProductBeta, 0, 2, 3)));
}

TEST_F(CrashAppIdentiferMapTest, AccessorBuildsOnceFromTheFirstCall)
{
    setHost(CFSTR("AppCenter"), false);
    const CrashAppIdentiferMap& first = crashAppIdentiferMap();
    EXPECT_EQ(first.size(), 28);
    // Later changes of the branch do not rebuild the shared table.
    setHost(CFSTR("main"), false);
    const CrashAppIdentiferMap& second = crashAppIdentiferMap();
    EXPECT_EQ(&first, &second);
    EXPECT_EQ(second.size(), 28);
    EXPECT_EQ(text(second.value(CrashAppIdentiferKey(kZpProductBeta, 0, 3, 2))),
              QString::fromLatin1(Data::kBeta.testPremiumSecret));
}
