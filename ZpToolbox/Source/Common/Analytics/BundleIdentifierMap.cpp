#include "Analytics/BundleIdentifierMap.h"

#include "Analytics/ProductIdentifierData.h"

#include <ZpCore/ZpCore.h>

BundleIdentifierMap::BundleIdentifierMap()
{
    using Data = ProductIdentifierData;
    const auto constantString = &Data::constantString;
    // Product edition type 3 is the premium edition, 2 the main product's
    // second edition, 1 the standard edition; product type 1 marks the
    // standard single-product editions and the mobile product.
    insert(BundleIdentifierKey(kZpProductBeta, 0, 3), constantString(Data::kBeta.premiumBundle));
    insert(BundleIdentifierKey(kZpProductBeta, 0, 2), constantString(Data::kBeta.secondEditionBundle));

    for (const auto& edition : Data::editionProducts()) {
        insert(BundleIdentifierKey(edition.product, 0, 3), constantString(edition.data.premiumBundle));
        insert(BundleIdentifierKey(edition.product, 1, 1), constantString(edition.data.standardBundle));
    }

    insert(BundleIdentifierKey(kZpProductKappa, 1, 3), constantString(Data::kKappa.premiumBundle));
    insert(BundleIdentifierKey(kZpProductAlpha, 0, 1), constantString(Data::kAlpha.bundle));
}

BundleIdentifierMap::~BundleIdentifierMap() = default;

CFStringRef BundleIdentifierMap::findBundleIdentifier(CFStringRef product, int32_t productType,
                                                      int32_t productEditionType) const
{
    const BundleIdentifierKey key(product, productType, productEditionType);
    if (contains(key))
        return value(key);
    ZpLog(CFSTR("Could not find bundle identifier for %@, product type: %d, product edition type: %d"), product,
          productType, productEditionType);
    return nullptr;
}

const BundleIdentifierMap& bundleIdentifierMap()
{
    static const BundleIdentifierMap map;
    return map;
}
