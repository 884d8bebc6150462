/*
 * CFNumber.h: immutable numbers and the two constant booleans.
 *
 * A number keeps either a 64-bit signed integer or a double, decided by the
 * type it was created with; CFNumberGetType reports that canonical type
 * (kCFNumberIntType comes back as kCFNumberSInt32Type, kCFNumberDoubleType as
 * kCFNumberFloat64Type, and so on), as Apple's does.
 */
#ifndef ZPCOREFOUNDATION_CFNUMBER_H
#define ZPCOREFOUNDATION_CFNUMBER_H

#include <CoreFoundation/CFBase.h>

CF_EXTERN_C_BEGIN

typedef const struct __CFBoolean *CFBooleanRef;

/* Constant objects: never freed; retain and release do nothing to them. */
CF_EXPORT const CFBooleanRef kCFBooleanTrue;
CF_EXPORT const CFBooleanRef kCFBooleanFalse;

CF_EXPORT CFTypeID CFBooleanGetTypeID(void);
/* False for NULL. */
CF_EXPORT Boolean CFBooleanGetValue(CFBooleanRef boolean);

typedef CFIndex CFNumberType;
enum {
    kCFNumberSInt8Type = 1,
    kCFNumberSInt16Type = 2,
    kCFNumberSInt32Type = 3,
    kCFNumberSInt64Type = 4,
    kCFNumberFloat32Type = 5,
    kCFNumberFloat64Type = 6,
    kCFNumberCharType = 7,
    kCFNumberShortType = 8,
    kCFNumberIntType = 9,
    kCFNumberLongType = 10,
    kCFNumberLongLongType = 11,
    kCFNumberFloatType = 12,
    kCFNumberDoubleType = 13,
    kCFNumberCFIndexType = 14,
    kCFNumberNSIntegerType = 15,
    kCFNumberCGFloatType = 16,
    kCFNumberMaxType = 16
};

typedef const struct __CFNumber *CFNumberRef;

CF_EXPORT CFTypeID CFNumberGetTypeID(void);

/* A number holding *valuePtr, read as theType; owned by the caller. NULL when
 * valuePtr is NULL or theType is not one of the types above. */
CF_EXPORT CFNumberRef CFNumberCreate(CFAllocatorRef allocator, CFNumberType theType, const void *valuePtr);
/* The canonical type (see above); 0 for NULL. */
CF_EXPORT CFNumberType CFNumberGetType(CFNumberRef number);
/* Writes the value converted to theType into *valuePtr. Returns false when the
 * conversion loses something (a fraction, or a value out of the type's range,
 * which is then clamped to the nearest limit), true when exact. */
CF_EXPORT Boolean CFNumberGetValue(CFNumberRef number, CFNumberType theType, void *valuePtr);

CF_EXTERN_C_END

#endif /* ZPCOREFOUNDATION_CFNUMBER_H */
