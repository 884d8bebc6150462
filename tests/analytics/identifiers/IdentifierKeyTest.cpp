// The two table keys: the hash formula, the equality and the componentwise
// less-than of BundleIdentifierKey and CrashAppIdentiferKey.
#include "Analytics/BundleIdentifierKey.h"
#include "Analytics/CrashAppIdentiferKey.h"

#include <ZpCore/ZpProducts.h>

#include <QHash>
#include <gtest/gtest.h>

namespace {

// The integer mix, written again here from its definition so that the test
// does not trust the code under test: the field sign-extended to 64 bits,
// then Qt 6's 64-bit mixing steps with seed 0.
uint64_t h(int32_t field)
{
    uint64_t x = static_cast<uint64_t>(static_cast<int64_t>(field));
    x ^= x >> 32;
    x *= 0xd6e8feb86659fd93ULL;
    x ^= x >> 32;
    x *= 0xd6e8feb86659fd93ULL;
    x ^= x >> 32;
    return x;
}

uint64_t productHash(const char16_t* product)
{
    return static_cast<uint64_t>(qHash(QStringView(product), 0));
}

uint32_t expectedHash(const char16_t* product, int32_t type, int32_t edition, uint32_t seed)
{
    return static_cast<uint32_t>(productHash(product) ^ h(type) ^ h(edition)) ^ seed;
}

uint32_t expectedHash(const char16_t* product, int32_t type, int32_t edition, int32_t variant, uint32_t seed)
{
    return static_cast<uint32_t>(productHash(product) ^ h(type) ^ h(edition) ^ h(variant)) ^ seed;
}

} // namespace

TEST(IdentifierKeyHash, MixMatchesValuesWorkedOutSeparately)
{
    // Worked out with Python from the same steps, independently of Qt.
    EXPECT_EQ(h(0), 0u);
    EXPECT_EQ(h(1), 0x4179b061e0c0e0d0ULL);
    EXPECT_EQ(h(2), 0x1c9963305febc252ULL);
    EXPECT_EQ(h(-1), 0x448e29ced4103459ULL);
}

TEST(IdentifierKeyHash, BundleKeyFollowsTheFormula)
{
    EXPECT_EQ(BundleIdentifierKey(kZpProductBeta, 0, 3).hash(0), expectedHash(u"Beta", 0, 3, 0));
    EXPECT_EQ(BundleIdentifierKey(kZpProductKappa, 1, 3).hash(0), expectedHash(u"Kappa", 1, 3, 0));
    EXPECT_EQ(BundleIdentifierKey(kZpProductDelta, -7, 2).hash(0), expectedHash(u"Delta", -7, 2, 0));
    // Negative fields are sign-extended before mixing.
    EXPECT_EQ(BundleIdentifierKey(kZpProductBeta, 1, -1).hash(0),
              static_cast<uint32_t>(productHash(u"Beta") ^ 0x4179b061e0c0e0d0ULL ^ 0x448e29ced4103459ULL));
    // Equal fields cancel, leaving the low half of the string hash.
    EXPECT_EQ(BundleIdentifierKey(kZpProductGamma, 5, 5).hash(0), static_cast<uint32_t>(productHash(u"Gamma")));
}

TEST(IdentifierKeyHash, SeedIsXoredIntoTheResult)
{
    const BundleIdentifierKey key(kZpProductBeta, 0, 2);
    EXPECT_EQ(key.hash(0x12345678u), expectedHash(u"Beta", 0, 2, 0x12345678u));
    EXPECT_EQ(key.hash(0xffffffffu), key.hash(0) ^ 0xffffffffu);
    const CrashAppIdentiferKey crashKey(kZpProductBeta, 0, 2, 2);
    EXPECT_EQ(crashKey.hash(0xabcdef01u), expectedHash(u"Beta", 0, 2, 2, 0xabcdef01u));
}

TEST(IdentifierKeyHash, CrashKeyCoversTheVariant)
{
    EXPECT_EQ(CrashAppIdentiferKey(kZpProductBeta, 0, 3, 2).hash(0), expectedHash(u"Beta", 0, 3, 2, 0));
    EXPECT_EQ(CrashAppIdentiferKey(kZpProductIota, 1, 1, 1).hash(0), expectedHash(u"Iota", 1, 1, 1, 0));
    // h(0) is 0 and the two h(1) terms cancel.
    EXPECT_EQ(CrashAppIdentiferKey(kZpProductAlpha, 0, 1, 1).hash(0), static_cast<uint32_t>(productHash(u"Alpha")));
    EXPECT_EQ(CrashAppIdentiferKey(kZpProductAlpha, 0, 0, 1).hash(0),
              static_cast<uint32_t>(productHash(u"Alpha")) ^ 0xe0c0e0d0u);
    EXPECT_NE(CrashAppIdentiferKey(kZpProductBeta, 0, 3, 1).hash(0),
              CrashAppIdentiferKey(kZpProductBeta, 0, 3, 2).hash(0));
}

TEST(IdentifierKeyHash, HashIsVirtual)
{
    const CrashAppIdentiferKey crashKey(kZpProductEta, 0, 3, 2);
    const BundleIdentifierKey& asBase = crashKey;
    EXPECT_EQ(asBase.hash(0), expectedHash(u"Eta", 0, 3, 2, 0));
    EXPECT_NE(asBase.hash(0), BundleIdentifierKey(kZpProductEta, 0, 3).hash(0));
}

TEST(IdentifierKeyHash, QHashAppliesTheContainerSeedOnTop)
{
    const BundleIdentifierKey key(kZpProductTheta, 0, 3);
    const size_t seed = 0x0123456789abcdefULL;
    EXPECT_EQ(qHash(key, seed), size_t(key.hash(0)) ^ seed);
    EXPECT_EQ(qHash(key, 0), size_t(expectedHash(u"Theta", 0, 3, 0)));
    const CrashAppIdentiferKey crashKey(kZpProductTheta, 0, 3, 2);
    EXPECT_EQ(qHash(crashKey, seed), size_t(expectedHash(u"Theta", 0, 3, 2, 0)) ^ seed);
}

TEST(IdentifierKeyFields, ConstructorKeepsTheFields)
{
    const CrashAppIdentiferKey key(kZpProductZeta, 1, 3, 4);
    EXPECT_EQ(key.product(), QStringLiteral("Zeta"));
    EXPECT_EQ(key.productType(), 1);
    EXPECT_EQ(key.productEditionType(), 3);
    EXPECT_EQ(key.variant(), 4);
    const BundleIdentifierKey noProduct(nullptr, -2, 0);
    EXPECT_TRUE(noProduct.product().isEmpty());
    EXPECT_EQ(noProduct.productType(), -2);
    EXPECT_EQ(noProduct.productEditionType(), 0);
}

TEST(IdentifierKeyEquality, AllBaseFieldsMustMatch)
{
    const BundleIdentifierKey key(kZpProductBeta, 0, 3);
    EXPECT_TRUE(key == BundleIdentifierKey(CFSTR("Beta"), 0, 3));
    EXPECT_FALSE(key == BundleIdentifierKey(kZpProductGamma, 0, 3));
    EXPECT_FALSE(key == BundleIdentifierKey(kZpProductBeta, 1, 3));
    EXPECT_FALSE(key == BundleIdentifierKey(kZpProductBeta, 0, 2));
    EXPECT_FALSE(key == BundleIdentifierKey(CFSTR("BetaX"), 0, 3));
}

TEST(IdentifierKeyEquality, ProductComparisonIsCaseSensitive)
{
    EXPECT_FALSE(BundleIdentifierKey(kZpProductBeta, 0, 3) == BundleIdentifierKey(CFSTR("beta"), 0, 3));
    EXPECT_FALSE(CrashAppIdentiferKey(kZpProductBeta, 0, 3, 2) == CrashAppIdentiferKey(CFSTR("BETA"), 0, 3, 2));
}

TEST(IdentifierKeyEquality, CrashKeyComparesTheVariant)
{
    const CrashAppIdentiferKey key(kZpProductBeta, 0, 3, 2);
    EXPECT_TRUE(key == CrashAppIdentiferKey(kZpProductBeta, 0, 3, 2));
    EXPECT_FALSE(key == CrashAppIdentiferKey(kZpProductBeta, 0, 3, 1));
    EXPECT_FALSE(key == CrashAppIdentiferKey(kZpProductBeta, 0, 2, 2));
}

TEST(IdentifierKeyEquality, InheritedEqualityIgnoresTheVariant)
{
    const CrashAppIdentiferKey variant2(kZpProductBeta, 0, 3, 2);
    const CrashAppIdentiferKey variant1(kZpProductBeta, 0, 3, 1);
    const BundleIdentifierKey& base2 = variant2;
    EXPECT_TRUE(base2 == variant1);
    EXPECT_TRUE(variant2 == BundleIdentifierKey(kZpProductBeta, 0, 3));
    EXPECT_FALSE(variant2 == BundleIdentifierKey(kZpProductBeta, 0, 2));
}

TEST(IdentifierKeyLessThan, TrueOnlyWhenEveryComponentIsLess)
{
    EXPECT_TRUE(BundleIdentifierKey(kZpProductAlpha, 0, 1) < BundleIdentifierKey(kZpProductBeta, 1, 2));
    EXPECT_FALSE(BundleIdentifierKey(kZpProductAlpha, 0, 2) < BundleIdentifierKey(kZpProductBeta, 1, 2));
    EXPECT_FALSE(BundleIdentifierKey(kZpProductAlpha, 1, 1) < BundleIdentifierKey(kZpProductBeta, 1, 2));
    EXPECT_FALSE(BundleIdentifierKey(kZpProductBeta, 0, 1) < BundleIdentifierKey(kZpProductBeta, 1, 2));
    // Signed comparison of the integers.
    EXPECT_TRUE(BundleIdentifierKey(kZpProductAlpha, -1, -5) < BundleIdentifierKey(kZpProductBeta, 0, 0));
}

TEST(IdentifierKeyLessThan, IsNotLexicographic)
{
    const BundleIdentifierKey a(kZpProductAlpha, 5, 5);
    const BundleIdentifierKey b(kZpProductBeta, 0, 0);
    // "Alpha" sorts first, yet neither key is less than the other.
    EXPECT_FALSE(a < b);
    EXPECT_FALSE(b < a);
    EXPECT_FALSE(a == b);
}

TEST(IdentifierKeyLessThan, ProductOrderIsCaseSensitive)
{
    // 'B' (0x42) sorts before 'b' (0x62).
    EXPECT_TRUE(BundleIdentifierKey(CFSTR("Beta"), 0, 0) < BundleIdentifierKey(CFSTR("beta"), 1, 1));
    EXPECT_FALSE(BundleIdentifierKey(CFSTR("beta"), 0, 0) < BundleIdentifierKey(CFSTR("Beta"), 1, 1));
}

TEST(IdentifierKeyLessThan, CrashKeyNeedsTheVariantLessToo)
{
    EXPECT_TRUE(CrashAppIdentiferKey(kZpProductAlpha, 0, 1, 1) < CrashAppIdentiferKey(kZpProductBeta, 1, 2, 2));
    EXPECT_FALSE(CrashAppIdentiferKey(kZpProductAlpha, 0, 1, 2) < CrashAppIdentiferKey(kZpProductBeta, 1, 2, 2));
    EXPECT_FALSE(CrashAppIdentiferKey(kZpProductAlpha, 0, 1, 3) < CrashAppIdentiferKey(kZpProductBeta, 1, 2, 2));
}

TEST(IdentifierKeyLessThan, InheritedLessThanIgnoresTheVariant)
{
    const CrashAppIdentiferKey small(kZpProductAlpha, 0, 1, 9);
    const CrashAppIdentiferKey large(kZpProductBeta, 1, 2, 1);
    const BundleIdentifierKey& smallBase = small;
    EXPECT_TRUE(smallBase < large);
    EXPECT_FALSE(small < large);
}

TEST(IdentifierKeyLookup, QHashFindsEqualKeysOnly)
{
    QHash<CrashAppIdentiferKey, int> table;
    table.insert(CrashAppIdentiferKey(kZpProductBeta, 0, 3, 2), 1);
    table.insert(CrashAppIdentiferKey(kZpProductBeta, 0, 3, 1), 2);
    // Inserting an equal key replaces its value.
    table.insert(CrashAppIdentiferKey(CFSTR("Beta"), 0, 3, 2), 3);
    EXPECT_EQ(table.size(), 2);
    EXPECT_EQ(table.value(CrashAppIdentiferKey(kZpProductBeta, 0, 3, 2)), 3);
    EXPECT_EQ(table.value(CrashAppIdentiferKey(kZpProductBeta, 0, 3, 1)), 2);
    EXPECT_FALSE(table.contains(CrashAppIdentiferKey(kZpProductBeta, 0, 3, 3)));
}
