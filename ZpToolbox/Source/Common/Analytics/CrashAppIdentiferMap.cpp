#include "Analytics/CrashAppIdentiferMap.h"

#include "Analytics/ProductIdentifierData.h"

#include <ZpCore/ZpCore.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>
#include <ZpQtCoreLite/ZpQtSysInfo.h>

CrashAppIdentiferMap::CrashAppIdentiferMap()
{
    using Data = ProductIdentifierData;
    const auto constantString = &Data::constantString;
    const CFStringRef beta = kZpProductBeta;
    // The secret set is chosen before the main product's rows and again before
    // the mobile product's; both choices read the same inputs, so they agree
    // unless the branch name changes while the table is being built.
    if (usesTestSecrets()) {
        // One secret for both editions, and no variant-1 row for the second
        // edition: that gap belongs to the test set and is kept.
        insert(CrashAppIdentiferKey(beta, 0, 3, 2), constantString(Data::kBeta.testPremiumSecret));
        insert(CrashAppIdentiferKey(beta, 0, 2, 2), constantString(Data::kBeta.testPremiumSecret));
        insert(CrashAppIdentiferKey(beta, 0, 3, 1), constantString(Data::kBeta.testPremiumVariant1Secret));
    } else {
        insert(CrashAppIdentiferKey(beta, 0, 3, 2), constantString(Data::kBeta.premiumSecret));
        insert(CrashAppIdentiferKey(beta, 0, 3, 1), constantString(Data::kBeta.premiumVariant1Secret));
        insert(CrashAppIdentiferKey(beta, 0, 2, 2), constantString(Data::kBeta.secondEditionSecret));
        insert(CrashAppIdentiferKey(beta, 0, 2, 1), constantString(Data::kBeta.secondEditionVariant1Secret));
    }

    for (const auto& edition : Data::editionProducts()) {
        insert(CrashAppIdentiferKey(edition.product, 0, 3, 2), constantString(edition.data.premiumSecret));
        insert(CrashAppIdentiferKey(edition.product, 0, 3, 1), constantString(edition.data.premiumVariant1Secret));
        insert(CrashAppIdentiferKey(edition.product, 1, 1, 1), constantString(edition.data.standardVariant1Secret));
    }

    if (usesTestSecrets()) {
        insert(CrashAppIdentiferKey(kZpProductKappa, 1, 3, 4), constantString(Data::kKappa.testVariant4Secret));
        insert(CrashAppIdentiferKey(kZpProductKappa, 1, 3, 3), constantString(Data::kKappa.testVariant3Secret));
    } else {
        insert(CrashAppIdentiferKey(kZpProductKappa, 1, 3, 4), constantString(Data::kKappa.variant4Secret));
        insert(CrashAppIdentiferKey(kZpProductKappa, 1, 3, 3), constantString(Data::kKappa.variant3Secret));
    }

    insert(CrashAppIdentiferKey(kZpProductAlpha, 0, 1, 2), constantString(Data::kAlpha.secret));
    insert(CrashAppIdentiferKey(kZpProductAlpha, 0, 1, 1), constantString(Data::kAlpha.variant1Secret));
}

CrashAppIdentiferMap::~CrashAppIdentiferMap() = default;

bool CrashAppIdentiferMap::usesTestSecrets()
{
    // A missing branch name converts to a null QString, which is empty.
    const QString branch = ZpQtStringUtils::createQStringFromCFStringRef(ZpProcessGetBranchName());
    if (!branch.isEmpty())
        return branch == QLatin1String("AppCenter");
    return ZpQtSysInfo::isDebugBuild();
}

CFStringRef CrashAppIdentiferMap::findAppSecret(CFStringRef product, int32_t productType, int32_t productEditionType,
                                                int32_t variant) const
{
    const CrashAppIdentiferKey key(product, productType, productEditionType, variant);
    if (contains(key))
        return value(key);
    ZpLog(CFSTR("Could not find application identifier for %@, product type: %d, product edition type: %d"), product,
          productType, productEditionType);
    return nullptr;
}

const CrashAppIdentiferMap& crashAppIdentiferMap()
{
    static const CrashAppIdentiferMap map;
    return map;
}
