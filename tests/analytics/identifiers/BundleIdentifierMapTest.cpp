// The bundle identifier table: its 18 rows, their values, misses and the
// process-wide accessor.
#include "Analytics/BundleIdentifierMap.h"
#include "Analytics/ProductIdentifierData.h"

#include "LogCapture.h"

#include <ZpCore/ZpProducts.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>

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
    const char* identifier;
};

QList<Row> expectedRows()
{
    return {
        {kZpProductBeta, 0, 3, Data::kBeta.premiumBundle},
        {kZpProductBeta, 0, 2, Data::kBeta.secondEditionBundle},
        {kZpProductDelta, 0, 3, Data::kDelta.premiumBundle},
        {kZpProductDelta, 1, 1, Data::kDelta.standardBundle},
        {kZpProductGamma, 0, 3, Data::kGamma.premiumBundle},
        {kZpProductGamma, 1, 1, Data::kGamma.standardBundle},
        {kZpProductEpsilon, 0, 3, Data::kEpsilon.premiumBundle},
        {kZpProductEpsilon, 1, 1, Data::kEpsilon.standardBundle},
        {kZpProductZeta, 0, 3, Data::kZeta.premiumBundle},
        {kZpProductZeta, 1, 1, Data::kZeta.standardBundle},
        {kZpProductEta, 0, 3, Data::kEta.premiumBundle},
        {kZpProductEta, 1, 1, Data::kEta.standardBundle},
        {kZpProductTheta, 0, 3, Data::kTheta.premiumBundle},
        {kZpProductTheta, 1, 1, Data::kTheta.standardBundle},
        {kZpProductIota, 0, 3, Data::kIota.premiumBundle},
        {kZpProductIota, 1, 1, Data::kIota.standardBundle},
        {kZpProductKappa, 1, 3, Data::kKappa.premiumBundle},
        {kZpProductAlpha, 0, 1, Data::kAlpha.bundle},
    };
}

} // namespace

TEST(BundleIdentifierMap, HoldsExactlyTheEighteenRows)
{
    const BundleIdentifierMap map;
    const QList<Row> rows = expectedRows();
    ASSERT_EQ(rows.size(), 18);
    EXPECT_EQ(map.size(), 18);
    for (const Row& row : rows) {
        const BundleIdentifierKey key(row.product, row.productType, row.productEditionType);
        ASSERT_TRUE(map.contains(key)) << text(row.product).toStdString() << " " << row.productType << " "
                                       << row.productEditionType;
        EXPECT_EQ(text(map.value(key)), QString::fromLatin1(row.identifier));
    }
}

TEST(BundleIdentifierMap, ValuesAreConstantStrings)
{
    const BundleIdentifierMap map;
    const CFStringRef value = map.value(BundleIdentifierKey(kZpProductBeta, 0, 3));
    ASSERT_NE(value, nullptr);
    // A constant string is the same object for the same text, wherever it was made.
    EXPECT_EQ(value, __CFStringMakeConstantString(Data::kBeta.premiumBundle));
    EXPECT_EQ(value, BundleIdentifierMap().value(BundleIdentifierKey(kZpProductBeta, 0, 3)));
}

TEST(BundleIdentifierMap, IdentifiersHaveTheReverseDomainForms)
{
    const BundleIdentifierMap map;
    const QRegularExpression reverseDomain(QStringLiteral("^[a-z0-9]+(\\.[A-Za-z0-9]+)+$"));
    QSet<QString> distinct;
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        const QString identifier = text(it.value());
        EXPECT_TRUE(reverseDomain.match(identifier).hasMatch()) << identifier.toStdString();
        distinct.insert(identifier);
        const BundleIdentifierKey& key = it.key();
        if (key.product() == QLatin1String("Alpha"))
            EXPECT_TRUE(identifier.endsWith(QLatin1String(".standard"))) << identifier.toStdString();
        else if (key.productEditionType() == 1)
            EXPECT_TRUE(identifier.endsWith(QLatin1String("2024"))) << identifier.toStdString();
        else
            EXPECT_TRUE(identifier.endsWith(QLatin1String("2024.premium"))) << identifier.toStdString();
    }
    EXPECT_EQ(distinct.size(), 18);
}

TEST(BundleIdentifierMap, StandardEditionsHaveABundleIdentifier)
{
    const BundleIdentifierMap map;
    for (CFStringRef product : {kZpProductDelta, kZpProductGamma, kZpProductEpsilon, kZpProductZeta, kZpProductEta,
                                kZpProductTheta, kZpProductIota})
        EXPECT_NE(map.findBundleIdentifier(product, 1, 1), nullptr) << text(product).toStdString();
}

TEST(BundleIdentifierMap, MobileProductAndAppManagerHaveOneRowEach)
{
    const BundleIdentifierMap map;
    QList<QPair<int32_t, int32_t>> kappa;
    QList<QPair<int32_t, int32_t>> alpha;
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        if (it.key().product() == QLatin1String("Kappa"))
            kappa.append({it.key().productType(), it.key().productEditionType()});
        if (it.key().product() == QLatin1String("Alpha"))
            alpha.append({it.key().productType(), it.key().productEditionType()});
    }
    EXPECT_EQ(kappa, (QList<QPair<int32_t, int32_t>>{{1, 3}}));
    EXPECT_EQ(alpha, (QList<QPair<int32_t, int32_t>>{{0, 1}}));
    EXPECT_FALSE(map.contains(BundleIdentifierKey(kZpProductKappa, 0, 3)));
    EXPECT_FALSE(map.contains(BundleIdentifierKey(kZpProductAlpha, 1, 1)));
}

TEST(BundleIdentifierMap, ProductIsCaseSensitive)
{
    const BundleIdentifierMap map;
    EXPECT_TRUE(map.contains(BundleIdentifierKey(CFSTR("Beta"), 0, 3)));
    EXPECT_FALSE(map.contains(BundleIdentifierKey(CFSTR("beta"), 0, 3)));
    EXPECT_FALSE(map.contains(BundleIdentifierKey(CFSTR("KAPPA"), 1, 3)));
}

TEST(BundleIdentifierMap, FindReturnsTheIdentifierWithoutLogging)
{
    const BundleIdentifierMap map;
    LogCapture log;
    const CFStringRef identifier = map.findBundleIdentifier(kZpProductKappa, 1, 3);
    EXPECT_EQ(text(identifier), QString::fromLatin1(Data::kKappa.premiumBundle));
    EXPECT_TRUE(log.matching(QStringLiteral("Could not find")).isEmpty());
}

TEST(BundleIdentifierMap, MissLogsOneLineAndGivesNull)
{
    const BundleIdentifierMap map;
    LogCapture log;
    EXPECT_EQ(map.findBundleIdentifier(kZpProductKappa, 0, 3), nullptr);
    EXPECT_EQ(map.findBundleIdentifier(CFSTR("beta"), 0, 3), nullptr);
    EXPECT_EQ(log.matching(QStringLiteral("Could not find")),
              (QStringList{
                  QStringLiteral("Could not find bundle identifier for Kappa, product type: 0, product edition type: 3"),
                  QStringLiteral("Could not find bundle identifier for beta, product type: 0, product edition type: 3"),
              }));
}

TEST(BundleIdentifierMap, AccessorBuildsOneSharedTable)
{
    const BundleIdentifierMap& first = bundleIdentifierMap();
    EXPECT_EQ(&first, &bundleIdentifierMap());
    EXPECT_EQ(first.size(), 18);
    EXPECT_EQ(text(first.value(BundleIdentifierKey(kZpProductAlpha, 0, 1))), QString::fromLatin1(Data::kAlpha.bundle));
}
