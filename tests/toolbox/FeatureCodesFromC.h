#ifndef ZPTEST_FEATURECODESFROMC_H
#define ZPTEST_FEATURECODESFROMC_H

/* Feature codes as compiled C code sees them (FeatureCodesFromC.c). */

#include <CoreFoundation/CoreFoundation.h>

#ifdef __cplusplus
extern "C" {
#endif

CFStringRef zpTestHDRMergeSeenFromC(void);
CFStringRef zpTestReservedCodeSeenFromC(void);
CFStringRef *zpTestAddressOfShowSubFoldersFromC(void);

#ifdef __cplusplus
}
#endif

#endif
