#include <ZpCore/ZpProducts.h>
#include <ZpCore/ZpString.h>

#include <gtest/gtest.h>

#include <set>

namespace {

TEST(ZpCoreProducts, TextsAreTheDisplayNames)
{
    const struct {
        CFStringRef constant;
        const char* text;
    } products[] = {
        {kZpProductAlpha, "Alpha"}, {kZpProductBeta, "Beta"},   {kZpProductGamma, "Gamma"},
        {kZpProductDelta, "Delta"}, {kZpProductEpsilon, "Epsilon"}, {kZpProductZeta, "Zeta"},
        {kZpProductEta, "Eta"},     {kZpProductTheta, "Theta"}, {kZpProductIota, "Iota"},
        {kZpProductKappa, "Kappa"},
    };
    std::set<CFStringRef> distinct;
    for (const auto& product : products) {
        ASSERT_NE(product.constant, nullptr) << product.text;
        EXPECT_EQ(CFGetTypeID(product.constant), CFStringGetTypeID());
        EXPECT_EQ(ZpString(product.constant).utf8(), product.text);
        distinct.insert(product.constant);
    }
    EXPECT_EQ(distinct.size(), 10u);
}

TEST(ZpCoreProducts, ConstantsAreTheInternedLiteralObjects)
{
    EXPECT_EQ(CFSTR("Alpha"), kZpProductAlpha);
    EXPECT_EQ(CFSTR("Beta"), kZpProductBeta);
    EXPECT_EQ(CFSTR("Gamma"), kZpProductGamma);
    EXPECT_EQ(CFSTR("Delta"), kZpProductDelta);
    EXPECT_EQ(CFSTR("Epsilon"), kZpProductEpsilon);
    EXPECT_EQ(CFSTR("Zeta"), kZpProductZeta);
    EXPECT_EQ(CFSTR("Eta"), kZpProductEta);
    EXPECT_EQ(CFSTR("Theta"), kZpProductTheta);
    EXPECT_EQ(CFSTR("Iota"), kZpProductIota);
    EXPECT_EQ(CFSTR("Kappa"), kZpProductKappa);
}

TEST(ZpCoreProducts, ReleasingAConstantDoesNotFreeIt)
{
    CFRelease(kZpProductKappa);
    CFRelease(kZpProductKappa);
    EXPECT_EQ(ZpString(kZpProductKappa).utf8(), "Kappa");
    EXPECT_EQ(CFSTR("Kappa"), kZpProductKappa);
}

} // namespace
