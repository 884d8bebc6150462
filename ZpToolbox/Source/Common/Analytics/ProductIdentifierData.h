#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <array>

// The deployment data behind the product identifier tables: every bundle
// identifier and every App Center app secret of the product family.
//
// This pair is the one place a vendor build replaces; the tables
// (BundleIdentifierMap, CrashAppIdentiferMap) decide which key each string
// belongs to and which secret set is loaded. The values here are placeholders
// under the reserved domain example.com and obviously fake secrets, so that
// nothing built from this repository can report into a real application.
//
// Contract for a replacement: every member is a NUL-terminated ASCII literal
// with static storage (the tables turn them into constant CFStrings and keep
// them for the life of the process); bundle identifiers are reverse-domain
// strings; secrets are 36-character GUIDs, all different from one another.
// Members are constant-initialised, so they may be read from any thread and
// from static initialisers.
class ProductIdentifierData {
public:
    ProductIdentifierData() = delete;

    // The main product (kZpProductBeta): a premium edition and a second edition.
    struct MainProduct {
        const char* premiumBundle;       // (0, 3)
        const char* secondEditionBundle; // (0, 2)
        // Test set. Its variant-2 secret serves both editions; there is no
        // variant-1 secret for the second edition.
        const char* testPremiumSecret;         // (0, 3, 2) and (0, 2, 2)
        const char* testPremiumVariant1Secret; // (0, 3, 1)
        // Release set.
        const char* premiumSecret;               // (0, 3, 2)
        const char* premiumVariant1Secret;       // (0, 3, 1)
        const char* secondEditionSecret;         // (0, 2, 2)
        const char* secondEditionVariant1Secret; // (0, 2, 1)
    };

    // A product sold as a premium edition and as a standard single-product
    // edition (kZpProductDelta ... kZpProductIota); one secret set for both
    // branches.
    struct EditionProduct {
        const char* premiumBundle;          // (0, 3)
        const char* standardBundle;         // (1, 1)
        const char* premiumSecret;          // (0, 3, 2)
        const char* premiumVariant1Secret;  // (0, 3, 1)
        const char* standardVariant1Secret; // (1, 1, 1)
    };

    // The mobile product (kZpProductKappa).
    struct MobileProduct {
        const char* premiumBundle;         // (1, 3)
        const char* testVariant4Secret;    // (1, 3, 4), test set
        const char* testVariant3Secret;    // (1, 3, 3), test set
        const char* variant4Secret;        // (1, 3, 4), release set
        const char* variant3Secret;        // (1, 3, 3), release set
    };

    // The app manager (kZpProductAlpha); one secret set for both branches.
    struct AppManager {
        const char* bundle;          // (0, 1)
        const char* secret;          // (0, 1, 2)
        const char* variant1Secret;  // (0, 1, 1)
    };

    static const MainProduct kBeta;
    static const EditionProduct kDelta;
    static const EditionProduct kGamma;
    static const EditionProduct kEpsilon;
    static const EditionProduct kZeta;
    static const EditionProduct kEta;
    static const EditionProduct kTheta;
    static const EditionProduct kIota;
    static const MobileProduct kKappa;
    static const AppManager kAlpha;

    // The seven products with a premium and a standard edition, in the tables'
    // order, each with its product constant.
    struct EditionProductRow {
        CFStringRef product;
        const EditionProduct& data;
    };
    static std::array<EditionProductRow, 7> editionProducts();

    // A constant CFString of `text`: never retained or released, like the
    // product constants.
    static CFStringRef constantString(const char* text);
};
