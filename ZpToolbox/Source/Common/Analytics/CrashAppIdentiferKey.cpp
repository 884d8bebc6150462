#include "Analytics/CrashAppIdentiferKey.h"

#include <QHashFunctions>

CrashAppIdentiferKey::CrashAppIdentiferKey(CFStringRef product, int32_t productType, int32_t productEditionType,
                                           int32_t variant)
    : BundleIdentifierKey(product, productType, productEditionType)
    , mVariant(variant)
{
}

CrashAppIdentiferKey::~CrashAppIdentiferKey() = default;

uint32_t CrashAppIdentiferKey::hash(uint32_t seed) const
{
    const uint64_t mixed = static_cast<uint64_t>(qHash(QStringView(product()), 0)) ^ mixField(productType())
        ^ mixField(productEditionType()) ^ mixField(mVariant);
    return static_cast<uint32_t>(mixed) ^ seed;
}

bool CrashAppIdentiferKey::operator==(const CrashAppIdentiferKey& other) const
{
    return BundleIdentifierKey::operator==(other) && mVariant == other.mVariant;
}

bool CrashAppIdentiferKey::operator<(const CrashAppIdentiferKey& other) const
{
    return BundleIdentifierKey::operator<(other) && mVariant < other.mVariant;
}

size_t qHash(const CrashAppIdentiferKey& key, size_t seed)
{
    return key.hash(0) ^ seed;
}
