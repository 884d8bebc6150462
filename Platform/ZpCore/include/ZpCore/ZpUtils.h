#ifndef ZPCORE_ZPUTILS_H
#define ZPCORE_ZPUTILS_H

/*
 * Small helpers: video-memory figures and CFDictionary shortcuts.
 * Every function is thread-safe (the dictionary helpers as far as the dictionary
 * itself is not shared between threads, as with any CFMutableDictionary).
 */

#include <ZpCore/ZpCoreExport.h>

#include <CoreFoundation/CoreFoundation.h>

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Video memory of the graphics adapter, in MiB (2^20 bytes), read fresh on every
 * call. The figures follow the meaning the Windows graphics stack gives them:
 *   Avaliable             dedicated video memory not in use right now
 *   DedicatedVideoMemory  memory on the adapter itself
 *   DedicatedSystemMemory system memory reserved for the adapter alone
 *   SharedSystemMemory    system memory the adapter may borrow
 * With several adapters, the one with the most dedicated video memory counts.
 * A figure the system does not expose is 0. On Linux the figures come from the
 * amdgpu driver's files under /sys/class/drm (dedicated system memory has no
 * Linux counterpart and is always 0 there); other drivers publish none, so
 * every figure is 0 with them.
 */
ZPCORE_EXPORT int32_t ZpUtilsGetVRAMAvaliableInMB(void);
ZPCORE_EXPORT int32_t ZpUtilsGetVRAMDedicatedVideoMemoryInMB(void);
ZPCORE_EXPORT int32_t ZpUtilsGetVRAMDedicatedSystemMemoryInMB(void);
ZPCORE_EXPORT int32_t ZpUtilsGetVRAMSharedSystemMemoryInMB(void);

/* An empty mutable dictionary with CFType key and value callbacks (keys and
 * values are retained, keys compared with CFEqual). The caller releases it. */
ZPCORE_EXPORT CFMutableDictionaryRef ZpUtilsCFDictionaryCreateMutable(void);

/* dict[key] = a CFNumber of type kCFNumberSInt32Type holding value.
 * A NULL dict or key does nothing. */
ZPCORE_EXPORT void ZpUtilsCFDictionarySetValueInt(CFMutableDictionaryRef dict, CFStringRef key,
                                                  int32_t value);

/* dict[key] = value (retained). A NULL dict, key or value does nothing. */
ZPCORE_EXPORT void ZpUtilsCFDictionarySetValueString(CFMutableDictionaryRef dict, CFStringRef key,
                                                     CFStringRef value);

#ifdef __cplusplus
}
#endif

#endif
