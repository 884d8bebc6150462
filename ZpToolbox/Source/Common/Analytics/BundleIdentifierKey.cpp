#include "Analytics/BundleIdentifierKey.h"

#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include <QHashFunctions>

BundleIdentifierKey::BundleIdentifierKey(CFStringRef product, int32_t productType, int32_t productEditionType)
    : mProduct(ZpQtStringUtils::createQStringFromCFStringRef(product))
    , mProductType(productType)
    , mProductEditionType(productEditionType)
{
}

BundleIdentifierKey::~BundleIdentifierKey() = default;

uint64_t BundleIdentifierKey::mixField(int32_t field)
{
    // Written out rather than taken from qHash(int): the hash is part of the
    // table's definition and must not follow a change of Qt's mixing function.
    uint64_t x = static_cast<uint64_t>(static_cast<int64_t>(field));
    x ^= x >> 32;
    x *= UINT64_C(0xd6e8feb86659fd93);
    x ^= x >> 32;
    x *= UINT64_C(0xd6e8feb86659fd93);
    x ^= x >> 32;
    return x;
}

uint32_t BundleIdentifierKey::hash(uint32_t seed) const
{
    const uint64_t mixed = static_cast<uint64_t>(qHash(QStringView(mProduct), 0)) ^ mixField(mProductType)
        ^ mixField(mProductEditionType);
    return static_cast<uint32_t>(mixed) ^ seed;
}

bool BundleIdentifierKey::operator==(const BundleIdentifierKey& other) const
{
    return mProduct == other.mProduct && mProductType == other.mProductType
        && mProductEditionType == other.mProductEditionType;
}

bool BundleIdentifierKey::operator<(const BundleIdentifierKey& other) const
{
    return mProduct < other.mProduct && mProductType < other.mProductType
        && mProductEditionType < other.mProductEditionType;
}

size_t qHash(const BundleIdentifierKey& key, size_t seed)
{
    return key.hash(0) ^ seed;
}
