#pragma once

#include "Analytics/BundleIdentifierKey.h"

#include <CoreFoundation/CoreFoundation.h>

#include <QHash>

// (product, product type, product edition type) -> the host's bundle
// identifier, a reverse-domain string. The crash report workflow reads it when
// its service starts.
//
// The values are constant CFStrings: never retained or released by the table,
// alive for the whole process, so a caller may keep them without retaining.
// The process-wide table comes from bundleIdentifierMap(); it is read only once
// built, so any thread may read it without a lock.
class BundleIdentifierMap : public QHash<BundleIdentifierKey, CFStringRef> {
public:
    // Builds the 18 rows. The accessor below makes the one shared table; tests
    // build their own.
    BundleIdentifierMap();
    virtual ~BundleIdentifierMap();

    // The bundle identifier of the host, or NULL after logging "Could not find
    // bundle identifier for ..." with ZpLog: what every user does on a miss.
    CFStringRef findBundleIdentifier(CFStringRef product, int32_t productType, int32_t productEditionType) const;
};

// The process-wide table, built completely on the first call (thread-safe
// static initialisation) and destroyed when the library is unloaded.
const BundleIdentifierMap& bundleIdentifierMap();
