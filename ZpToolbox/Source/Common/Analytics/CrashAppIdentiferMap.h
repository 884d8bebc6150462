#pragma once

#include "Analytics/CrashAppIdentiferKey.h"

#include <CoreFoundation/CoreFoundation.h>

#include <QHash>

// (product, product type, product edition type, variant) -> the App Center app
// secret of that application, which the analytics controller and the crash
// report workflow put into the App-Secret header of their uploads. Every lookup
// the library makes passes kLookupVariant.
//
// Which of two secret sets is loaded for the main and the mobile product
// depends on the host's branch and build (usesTestSecrets()), read while the
// table is built. The values are constant CFStrings: never retained or released
// by the table, alive for the whole process. The process-wide table comes from
// crashAppIdentiferMap(); it is read only once built, so any thread may read it
// without a lock.
class CrashAppIdentiferMap : public QHash<CrashAppIdentiferKey, CFStringRef> {
public:
    static constexpr int32_t kLookupVariant = 2;

    // Builds the rows from the current branch name and debug flag: 28 with the
    // test set, 29 with the release set.
    CrashAppIdentiferMap();
    virtual ~CrashAppIdentiferMap();

    // True for the test secrets: the branch name (ZpProcessGetBranchName, none
    // counting as empty) is "AppCenter", or it is empty and the build is a
    // debug build. Any other branch name gives the release secrets.
    static bool usesTestSecrets();

    // The app secret, or NULL after logging "Could not find application
    // identifier for ..." with ZpLog: what every user does on a miss.
    CFStringRef findAppSecret(CFStringRef product, int32_t productType, int32_t productEditionType,
                              int32_t variant) const;
};

// The process-wide table, built completely on the first call (thread-safe
// static initialisation) and destroyed when the library is unloaded. The branch
// name and the debug flag must be final before that first call.
const CrashAppIdentiferMap& crashAppIdentiferMap();
