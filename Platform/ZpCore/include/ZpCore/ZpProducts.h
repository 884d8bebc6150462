#ifndef ZPCORE_ZPPRODUCTS_H
#define ZPCORE_ZPPRODUCTS_H

/*
 * The display names of the products built on this platform.
 *
 * Each is a constant CFString, the same object CFSTR() gives for the same text,
 * so it may be compared by pointer with a CFSTR literal as well as with CFEqual.
 * Constant strings are never freed; retaining or releasing them is harmless.
 * They are ready once the library is loaded (set up by its static initialisers).
 */

#include <ZpCore/ZpCoreExport.h>

#include <CoreFoundation/CoreFoundation.h>

#ifdef __cplusplus
extern "C" {
#endif

extern ZPCORE_EXPORT const CFStringRef kZpProductAlpha;   /* "Alpha" */
extern ZPCORE_EXPORT const CFStringRef kZpProductBeta;    /* "Beta" */
extern ZPCORE_EXPORT const CFStringRef kZpProductGamma;   /* "Gamma" */
extern ZPCORE_EXPORT const CFStringRef kZpProductDelta;   /* "Delta" */
extern ZPCORE_EXPORT const CFStringRef kZpProductEpsilon; /* "Epsilon" */
extern ZPCORE_EXPORT const CFStringRef kZpProductZeta;    /* "Zeta" */
extern ZPCORE_EXPORT const CFStringRef kZpProductEta;     /* "Eta" */
extern ZPCORE_EXPORT const CFStringRef kZpProductTheta;   /* "Theta" */
extern ZPCORE_EXPORT const CFStringRef kZpProductIota;    /* "Iota" */
extern ZPCORE_EXPORT const CFStringRef kZpProductKappa;   /* "Kappa" */

#ifdef __cplusplus
}
#endif

#endif
