/* The public headers read by a C compiler, as a C host reads them: the feature
 * codes must be declared with C linkage, and ZpToolboxUtils.h must vanish. */
#include "ZpAnalyticsFeatureCodes.h"
#include "ZpToolboxUtils.h"

#include "FeatureCodesFromC.h"

CFStringRef zpTestHDRMergeSeenFromC(void)
{
    return kZpAnalyticsHDRMerge;
}

CFStringRef zpTestReservedCodeSeenFromC(void)
{
    return kZpAnalyticsUsingZephraSidecars;
}

CFStringRef *zpTestAddressOfShowSubFoldersFromC(void)
{
    return &kZpAnalyticsBrowseShowSubFolders;
}
