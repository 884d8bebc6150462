#pragma once

#include "Analytics/BundleIdentifierKey.h"

// A BundleIdentifierKey narrowed by the variant of the App Center application
// (rows carry 1 to 4; every lookup the library makes passes 2). The key of
// CrashAppIdentiferMap. ("Identifer" is the name the product has always used.)
//
// The inherited comparisons look at the three base fields only; the table uses
// the overloads taking a CrashAppIdentiferKey, which include the variant.
class CrashAppIdentiferKey : public BundleIdentifierKey {
public:
    CrashAppIdentiferKey(CFStringRef product, int32_t productType, int32_t productEditionType, int32_t variant);
    ~CrashAppIdentiferKey() override;

    CrashAppIdentiferKey(const CrashAppIdentiferKey&) = default;
    CrashAppIdentiferKey& operator=(const CrashAppIdentiferKey&) = default;
    CrashAppIdentiferKey(CrashAppIdentiferKey&&) = default;
    CrashAppIdentiferKey& operator=(CrashAppIdentiferKey&&) = default;

    // The base formula with h(variant) XORed in before truncation to 32 bits.
    uint32_t hash(uint32_t seed) const override;

    using BundleIdentifierKey::operator==;
    using BundleIdentifierKey::operator<;
    // All four fields equal.
    virtual bool operator==(const CrashAppIdentiferKey& other) const;
    // Every one of the four components strictly smaller; see the base class.
    virtual bool operator<(const CrashAppIdentiferKey& other) const;

    int32_t variant() const { return mVariant; }

private:
    int32_t mVariant;
};

size_t qHash(const CrashAppIdentiferKey& key, size_t seed);
