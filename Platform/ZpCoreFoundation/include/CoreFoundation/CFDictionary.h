/*
 * CFDictionary.h: key-value collections.
 *
 * Key callbacks decide how keys are held, compared and hashed; value callbacks
 * how values are held. kCFTypeDictionaryKeyCallBacks and
 * kCFTypeDictionaryValueCallBacks retain what goes in, release what is removed
 * or replaced (and everything when the dictionary is destroyed), and compare
 * keys with CFEqual and CFHash, so CFSTR("k") and a created "k" find the same
 * entry. NULL callbacks keep raw pointers, not retained, keys by identity.
 * The callback structs are copied; the functions must outlive the dictionary.
 *
 * Iteration (CFDictionaryApplyFunction, CFCopyDescription) follows the order in
 * which keys were first added; replacing a value keeps the key's place. This
 * order is deterministic, unlike Apple's, which is unspecified.
 * Mutating functions ignore an immutable dictionary.
 */
#ifndef ZPCOREFOUNDATION_CFDICTIONARY_H
#define ZPCOREFOUNDATION_CFDICTIONARY_H

#include <CoreFoundation/CFBase.h>

CF_EXTERN_C_BEGIN

typedef const void *(*CFDictionaryRetainCallBack)(CFAllocatorRef allocator, const void *value);
typedef void (*CFDictionaryReleaseCallBack)(CFAllocatorRef allocator, const void *value);
typedef CFStringRef (*CFDictionaryCopyDescriptionCallBack)(const void *value);
typedef Boolean (*CFDictionaryEqualCallBack)(const void *value1, const void *value2);
typedef CFHashCode (*CFDictionaryHashCallBack)(const void *value);

/* Any member may be NULL (see above). version must be 0. */
typedef struct {
    CFIndex version;
    CFDictionaryRetainCallBack retain;
    CFDictionaryReleaseCallBack release;
    CFDictionaryCopyDescriptionCallBack copyDescription;
    CFDictionaryEqualCallBack equal;
    CFDictionaryHashCallBack hash;
} CFDictionaryKeyCallBacks;

typedef struct {
    CFIndex version;
    CFDictionaryRetainCallBack retain;
    CFDictionaryReleaseCallBack release;
    CFDictionaryCopyDescriptionCallBack copyDescription;
    CFDictionaryEqualCallBack equal;
} CFDictionaryValueCallBacks;

CF_EXPORT const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
CF_EXPORT const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;

typedef void (*CFDictionaryApplierFunction)(const void *key, const void *value, void *context);

typedef const struct __CFDictionary *CFDictionaryRef;
typedef struct __CFDictionary *CFMutableDictionaryRef;

CF_EXPORT CFTypeID CFDictionaryGetTypeID(void);

/* An immutable dictionary owned by the caller. keys and values are parallel
 * arrays of numValues entries; a repeated key keeps the last value. */
CF_EXPORT CFDictionaryRef CFDictionaryCreate(CFAllocatorRef allocator, const void **keys, const void **values,
                                             CFIndex numValues, const CFDictionaryKeyCallBacks *keyCallBacks,
                                             const CFDictionaryValueCallBacks *valueCallBacks);
/* An empty mutable dictionary owned by the caller; capacity is accepted and
 * not enforced. */
CF_EXPORT CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                                           const CFDictionaryKeyCallBacks *keyCallBacks,
                                                           const CFDictionaryValueCallBacks *valueCallBacks);
/* A mutable copy with theDict's callbacks and entries (retained again), owned
 * by the caller; an empty dictionary with the CFType callbacks when theDict is
 * NULL. */
CF_EXPORT CFMutableDictionaryRef CFDictionaryCreateMutableCopy(CFAllocatorRef allocator, CFIndex capacity,
                                                               CFDictionaryRef theDict);

/* 0 for NULL. */
CF_EXPORT CFIndex CFDictionaryGetCount(CFDictionaryRef theDict);
CF_EXPORT Boolean CFDictionaryContainsKey(CFDictionaryRef theDict, const void *key);
/* Borrowed; NULL when the key is absent (or its value is NULL). */
CF_EXPORT const void *CFDictionaryGetValue(CFDictionaryRef theDict, const void *key);
/* True when the key is present; then *value (if value is not NULL) is the
 * borrowed value. */
CF_EXPORT Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef theDict, const void *key, const void **value);
/* Calls applier once per entry, in insertion order. The applier must not
 * change theDict. */
CF_EXPORT void CFDictionaryApplyFunction(CFDictionaryRef theDict, CFDictionaryApplierFunction applier,
                                         void *context);

/* Adds the entry only when the key is absent. */
CF_EXPORT void CFDictionaryAddValue(CFMutableDictionaryRef theDict, const void *key, const void *value);
/* Adds the entry, or replaces the value (releasing the old one) when the key is
 * present; the key object first stored is kept. */
CF_EXPORT void CFDictionarySetValue(CFMutableDictionaryRef theDict, const void *key, const void *value);
/* Removes the entry if present, releasing its key and value. */
CF_EXPORT void CFDictionaryRemoveValue(CFMutableDictionaryRef theDict, const void *key);

CF_EXTERN_C_END

#endif /* ZPCOREFOUNDATION_CFDICTIONARY_H */
