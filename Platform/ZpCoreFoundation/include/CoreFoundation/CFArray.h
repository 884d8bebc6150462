/*
 * CFArray.h: ordered collections of pointer-sized values.
 *
 * The callbacks given at creation decide what the array does with its values:
 * kCFTypeArrayCallBacks makes it retain what goes in, release what comes out
 * (and everything when the array is destroyed) and compare with CFEqual; NULL
 * callbacks keep raw pointers, never retained, compared by identity. The
 * callbacks struct is copied; the functions it points to must outlive the array.
 * Mutating functions ignore an immutable array.
 */
#ifndef ZPCOREFOUNDATION_CFARRAY_H
#define ZPCOREFOUNDATION_CFARRAY_H

#include <CoreFoundation/CFBase.h>

CF_EXTERN_C_BEGIN

typedef const void *(*CFArrayRetainCallBack)(CFAllocatorRef allocator, const void *value);
typedef void (*CFArrayReleaseCallBack)(CFAllocatorRef allocator, const void *value);
typedef CFStringRef (*CFArrayCopyDescriptionCallBack)(const void *value);
typedef Boolean (*CFArrayEqualCallBack)(const void *value1, const void *value2);

/* Any member may be NULL: no retain, no release, a pointer as description,
 * identity as equality. version must be 0. */
typedef struct {
    CFIndex version;
    CFArrayRetainCallBack retain;
    CFArrayReleaseCallBack release;
    CFArrayCopyDescriptionCallBack copyDescription;
    CFArrayEqualCallBack equal;
} CFArrayCallBacks;

CF_EXPORT const CFArrayCallBacks kCFTypeArrayCallBacks;

typedef void (*CFArrayApplierFunction)(const void *value, void *context);

typedef const struct __CFArray *CFArrayRef;
typedef struct __CFArray *CFMutableArrayRef;

CF_EXPORT CFTypeID CFArrayGetTypeID(void);

/* An immutable array of numValues values (retained per callBacks), owned by the
 * caller. values may be NULL only when numValues is 0; NULL when numValues < 0. */
CF_EXPORT CFArrayRef CFArrayCreate(CFAllocatorRef allocator, const void **values, CFIndex numValues,
                                   const CFArrayCallBacks *callBacks);
/* An empty mutable array owned by the caller. capacity is Apple's size limit
 * hint (0: none); accepted, not enforced. */
CF_EXPORT CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                                 const CFArrayCallBacks *callBacks);
/* Adds value at the end, retained per the array's callbacks. */
CF_EXPORT void CFArrayAppendValue(CFMutableArrayRef theArray, const void *value);
/* 0 for NULL. */
CF_EXPORT CFIndex CFArrayGetCount(CFArrayRef theArray);
/* Borrowed; NULL when idx is out of range or theArray is NULL. */
CF_EXPORT const void *CFArrayGetValueAtIndex(CFArrayRef theArray, CFIndex idx);

CF_EXTERN_C_END

#endif /* ZPCOREFOUNDATION_CFARRAY_H */
