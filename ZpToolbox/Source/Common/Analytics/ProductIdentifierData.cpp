#include "Analytics/ProductIdentifierData.h"

#include <ZpCore/ZpProducts.h>

// Bundle identifiers: the vendor's reverse domain, then the brand word, the
// product's word and the year run together; premium editions add ".premium".
#define ZP_BUNDLE_PREFIX "com.example.vantro.Vantro"
#define ZP_BUNDLE_YEAR "2024"
#define ZP_PREMIUM_BUNDLE(word) ZP_BUNDLE_PREFIX word ZP_BUNDLE_YEAR ".premium"
#define ZP_STANDARD_BUNDLE(word) ZP_BUNDLE_PREFIX word ZP_BUNDLE_YEAR

// Placeholder secrets: a fixed fake GUID numbered 01 to 33.
#define ZP_FAKE_SECRET(number) "00000000-0000-4000-8000-0000000000" number

const ProductIdentifierData::MainProduct ProductIdentifierData::kBeta = {
    ZP_PREMIUM_BUNDLE("Lumen"),
    ZP_PREMIUM_BUNDLE("LumenStudio"),
    ZP_FAKE_SECRET("01"),
    ZP_FAKE_SECRET("02"),
    ZP_FAKE_SECRET("03"),
    ZP_FAKE_SECRET("04"),
    ZP_FAKE_SECRET("05"),
    ZP_FAKE_SECRET("06"),
};

const ProductIdentifierData::EditionProduct ProductIdentifierData::kDelta = {
    ZP_PREMIUM_BUNDLE("Facet"), ZP_STANDARD_BUNDLE("Facet"),
    ZP_FAKE_SECRET("07"), ZP_FAKE_SECRET("08"), ZP_FAKE_SECRET("09"),
};

const ProductIdentifierData::EditionProduct ProductIdentifierData::kGamma = {
    ZP_PREMIUM_BUNDLE("Prism"), ZP_STANDARD_BUNDLE("Prism"),
    ZP_FAKE_SECRET("10"), ZP_FAKE_SECRET("11"), ZP_FAKE_SECRET("12"),
};

const ProductIdentifierData::EditionProduct ProductIdentifierData::kEpsilon = {
    ZP_PREMIUM_BUNDLE("Grain"), ZP_STANDARD_BUNDLE("Grain"),
    ZP_FAKE_SECRET("13"), ZP_FAKE_SECRET("14"), ZP_FAKE_SECRET("15"),
};

const ProductIdentifierData::EditionProduct ProductIdentifierData::kZeta = {
    ZP_PREMIUM_BUNDLE("Halo"), ZP_STANDARD_BUNDLE("Halo"),
    ZP_FAKE_SECRET("16"), ZP_FAKE_SECRET("17"), ZP_FAKE_SECRET("18"),
};

const ProductIdentifierData::EditionProduct ProductIdentifierData::kEta = {
    ZP_PREMIUM_BUNDLE("Tonal"), ZP_STANDARD_BUNDLE("Tonal"),
    ZP_FAKE_SECRET("19"), ZP_FAKE_SECRET("20"), ZP_FAKE_SECRET("21"),
};

const ProductIdentifierData::EditionProduct ProductIdentifierData::kTheta = {
    ZP_PREMIUM_BUNDLE("Vista"), ZP_STANDARD_BUNDLE("Vista"),
    ZP_FAKE_SECRET("22"), ZP_FAKE_SECRET("23"), ZP_FAKE_SECRET("24"),
};

const ProductIdentifierData::EditionProduct ProductIdentifierData::kIota = {
    ZP_PREMIUM_BUNDLE("Mosaic"), ZP_STANDARD_BUNDLE("Mosaic"),
    ZP_FAKE_SECRET("25"), ZP_FAKE_SECRET("26"), ZP_FAKE_SECRET("27"),
};

const ProductIdentifierData::MobileProduct ProductIdentifierData::kKappa = {
    ZP_PREMIUM_BUNDLE("LumenMobile"),
    ZP_FAKE_SECRET("28"), ZP_FAKE_SECRET("29"),
    ZP_FAKE_SECRET("30"), ZP_FAKE_SECRET("31"),
};

const ProductIdentifierData::AppManager ProductIdentifierData::kAlpha = {
    "com.example.vantro.VantroAppManager.standard",
    ZP_FAKE_SECRET("32"), ZP_FAKE_SECRET("33"),
};

std::array<ProductIdentifierData::EditionProductRow, 7> ProductIdentifierData::editionProducts()
{
    return {{
        {kZpProductDelta, kDelta},
        {kZpProductGamma, kGamma},
        {kZpProductEpsilon, kEpsilon},
        {kZpProductZeta, kZeta},
        {kZpProductEta, kEta},
        {kZpProductTheta, kTheta},
        {kZpProductIota, kIota},
    }};
}

CFStringRef ProductIdentifierData::constantString(const char* text)
{
    return __CFStringMakeConstantString(text);
}
