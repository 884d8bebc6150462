#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <QString>
#include <cstddef>
#include <cstdint>

// Identifies one host application of the product family: the product constant
// the host passes in (kZpProductAlpha ... kZpProductKappa, kept as its text),
// its product type and its product edition type. The key of BundleIdentifierMap,
// and the base of CrashAppIdentiferKey.
//
// A value class; the virtual operations exist so that the derived key can widen
// the hash. Immutable after construction, so copies may be read from any thread.
class BundleIdentifierKey {
public:
    // `product` is only read (converted to text here); NULL gives an empty product.
    BundleIdentifierKey(CFStringRef product, int32_t productType, int32_t productEditionType);
    virtual ~BundleIdentifierKey();

    BundleIdentifierKey(const BundleIdentifierKey&) = default;
    BundleIdentifierKey& operator=(const BundleIdentifierKey&) = default;
    BundleIdentifierKey(BundleIdentifierKey&&) = default;
    BundleIdentifierKey& operator=(BundleIdentifierKey&&) = default;

    // The low 32 bits of qHash(product, 0) XOR h(productType) XOR
    // h(productEditionType), then XOR seed, where h is Qt 6's 64-bit integer
    // mix with seed 0 applied to the field sign-extended to 64 bits. The value
    // is fixed by that formula, not by whatever Qt's integer hash becomes.
    virtual uint32_t hash(uint32_t seed) const;
    // Same product (case-sensitive), product type and product edition type.
    virtual bool operator==(const BundleIdentifierKey& other) const;
    // True only when every component is strictly smaller. Not a strict weak
    // ordering, so it must not drive a sorted container; the tables never use it.
    virtual bool operator<(const BundleIdentifierKey& other) const;

    const QString& product() const { return mProduct; }
    int32_t productType() const { return mProductType; }
    int32_t productEditionType() const { return mProductEditionType; }

protected:
    // Qt 6's integer mix (seed 0) of `field` sign-extended to 64 bits, as the
    // key hashes use it.
    static uint64_t mixField(int32_t field);

private:
    QString mProduct;
    int32_t mProductType;
    int32_t mProductEditionType;
};

// What QHash calls: the key's own hash with seed 0, then the container's seed.
size_t qHash(const BundleIdentifierKey& key, size_t seed);
