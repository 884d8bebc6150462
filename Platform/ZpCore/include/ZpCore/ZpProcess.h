#ifndef ZPCORE_ZPPROCESS_H
#define ZPCORE_ZPPROCESS_H

/*
 * Facts about the running process and the host application.
 *
 * The host application announces its version, build and branch through the
 * setters, normally once at start-up; until it does, the getters return these
 * defaults:
 *     app version   "0.0.0"
 *     build number  0
 *     build string  "0"
 *     branch name   NULL (not built from a named branch)
 *
 * Ownership: the Get functions return borrowed references that stay valid until
 * the next call of the matching setter; retain one to keep it longer.
 * ZpProcessCreate... returns a reference the caller releases.
 * Every function is thread-safe.
 */

#include <ZpCore/ZpCoreExport.h>

#include <CoreFoundation/CoreFoundation.h>

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The operating system's id of this process. */
ZPCORE_EXPORT int32_t ZpProcessGetPID(void);

/* A file URL of the running executable, or NULL when the system does not say. */
ZPCORE_EXPORT CFURLRef ZpProcessCreateCurrentProcessPath(void);

/* Never NULL. */
ZPCORE_EXPORT CFStringRef ZpProcessGetAppVersion(void);
ZPCORE_EXPORT int32_t ZpProcessGetBuildNumber(void);
/* Never NULL. */
ZPCORE_EXPORT CFStringRef ZpProcessGetBuildString(void);
/* NULL when the application was not built from a named branch. */
ZPCORE_EXPORT CFStringRef ZpProcessGetBranchName(void);

/* The string setters keep an immutable copy of what they are given. NULL puts
 * back the default (for the branch name: no branch). */
ZPCORE_EXPORT void ZpProcessSetAppVersion(CFStringRef version);
ZPCORE_EXPORT void ZpProcessSetBuildNumber(int32_t buildNumber);
ZPCORE_EXPORT void ZpProcessSetBuildString(CFStringRef buildString);
ZPCORE_EXPORT void ZpProcessSetBranchName(CFStringRef branchName);

/* The machine's physical memory in bytes as the kernel reports it (on Linux the
 * MemTotal of /proc/meminfo); 0 when unknown. */
ZPCORE_EXPORT uint64_t ZpProcessGetActualPhysicalMem(void);

#ifdef __cplusplus
}
#endif

#endif
