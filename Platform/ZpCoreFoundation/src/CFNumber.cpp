// CFNumber.cpp: numbers (a 64-bit integer or a double) and the two booleans.
#include "CFRuntime.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <new>

namespace {

// The canonical type Apple reports for each type a number is created with.
CFNumberType canonicalType(CFNumberType type) {
    switch (type) {
    case kCFNumberSInt8Type:
    case kCFNumberCharType:
        return kCFNumberSInt8Type;
    case kCFNumberSInt16Type:
    case kCFNumberShortType:
        return kCFNumberSInt16Type;
    case kCFNumberSInt32Type:
    case kCFNumberIntType:
        return sizeof(int) == 4 ? kCFNumberSInt32Type : kCFNumberSInt64Type;
    case kCFNumberSInt64Type:
    case kCFNumberLongLongType:
        return kCFNumberSInt64Type;
    case kCFNumberLongType:
    case kCFNumberCFIndexType:
    case kCFNumberNSIntegerType:
        return sizeof(long) == 8 ? kCFNumberSInt64Type : kCFNumberSInt32Type;
    case kCFNumberFloat32Type:
    case kCFNumberFloatType:
        return kCFNumberFloat32Type;
    case kCFNumberFloat64Type:
    case kCFNumberDoubleType:
    case kCFNumberCGFloatType:
        return kCFNumberFloat64Type;
    default:
        return 0;
    }
}

bool isFloatType(CFNumberType canonical) {
    return canonical == kCFNumberFloat32Type || canonical == kCFNumberFloat64Type;
}

template <typename T> T readValue(const void *valuePtr) {
    T value;
    std::memcpy(&value, valuePtr, sizeof value);
    return value;
}

template <typename T> void writeValue(void *valuePtr, T value) { std::memcpy(valuePtr, &value, sizeof value); }

// An integer into a narrower signed type: clamped to its range, exact or not.
template <typename T> bool storeInteger(int64_t value, void *valuePtr) {
    const int64_t lo = std::numeric_limits<T>::min(), hi = std::numeric_limits<T>::max();
    writeValue<T>(valuePtr, static_cast<T>(value < lo ? lo : (value > hi ? hi : value)));
    return value >= lo && value <= hi;
}

// A floating value into a signed integer type: truncated toward zero and
// clamped; NaN gives 0. Exact only when nothing was cut off.
template <typename T> bool storeFloatAsInteger(double value, void *valuePtr) {
    // The limits of T as doubles: -2^(n-1) is exact, 2^(n-1) is one past the top.
    const double lo = static_cast<double>(std::numeric_limits<T>::min());
    const double pastHi = -lo;
    if (std::isnan(value)) {
        writeValue<T>(valuePtr, 0);
        return false;
    }
    if (value < lo) {
        writeValue<T>(valuePtr, std::numeric_limits<T>::min());
        return false;
    }
    if (value >= pastHi) {
        writeValue<T>(valuePtr, std::numeric_limits<T>::max());
        return false;
    }
    const T truncated = static_cast<T>(value);
    writeValue<T>(valuePtr, truncated);
    return static_cast<double>(truncated) == value;
}

} // namespace

struct __CFNumber final : zpcf::Object {
    __CFNumber(CFNumberType type_, int64_t integer_, double real_) : type(type_), integer(integer_), real(real_) {}

    CFTypeID typeID() const override { return zpcf::kTypeIDNumber; }

    bool isFloat() const { return isFloatType(type); }

    // Integers that a double represents exactly compare and hash as that
    // integer, so 1 and 1.0 are equal, as with Apple's CFEqual.
    bool equals(const Object &other) const override {
        const auto &that = static_cast<const __CFNumber &>(other);
        if (!isFloat() && !that.isFloat())
            return integer == that.integer;
        if (isFloat() && that.isFloat())
            return real == that.real || (std::isnan(real) && std::isnan(that.real));
        const __CFNumber &f = isFloat() ? *this : that;
        const __CFNumber &i = isFloat() ? that : *this;
        int64_t asInteger;
        return storeFloatAsInteger<int64_t>(f.real, &asInteger) && asInteger == i.integer;
    }

    CFHashCode hash() const override {
        int64_t asInteger = integer;
        if (isFloat() && !storeFloatAsInteger<int64_t>(real, &asInteger))
            return static_cast<CFHashCode>(std::hash<double>()(real));
        return static_cast<CFHashCode>(std::hash<int64_t>()(asInteger));
    }

    std::u16string description() const override {
        char buffer[64];
        const std::to_chars_result written =
            isFloat() ? (type == kCFNumberFloat32Type ? std::to_chars(buffer, buffer + sizeof buffer, static_cast<float>(real))
                                                      : std::to_chars(buffer, buffer + sizeof buffer, real))
                      : std::to_chars(buffer, buffer + sizeof buffer, integer);
        return zpcf::asciiToUtf16(std::string_view(buffer, static_cast<size_t>(written.ptr - buffer)));
    }

    const CFNumberType type; // canonical
    const int64_t integer;   // when !isFloat()
    const double real;       // when isFloat()
};

struct __CFBoolean final : zpcf::Object {
    explicit __CFBoolean(bool value_) : Object(Lifetime::Immortal), value(value_) {}
    CFTypeID typeID() const override { return zpcf::kTypeIDBoolean; }
    // Only two booleans exist, so identity (the default) is equality.
    CFHashCode hash() const override { return value ? 1 : 0; }
    std::u16string description() const override { return value ? u"true" : u"false"; }
    const bool value;
};

// Created while this library initialises, which the loader finishes before any
// library that links it starts its own static initialisers. Never destroyed.
const CFBooleanRef kCFBooleanTrue = new __CFBoolean(true);
const CFBooleanRef kCFBooleanFalse = new __CFBoolean(false);

CFTypeID CFBooleanGetTypeID(void) { return zpcf::kTypeIDBoolean; }

Boolean CFBooleanGetValue(CFBooleanRef boolean) {
    return zpcf::isA(boolean, zpcf::kTypeIDBoolean) && boolean->value;
}

CFTypeID CFNumberGetTypeID(void) { return zpcf::kTypeIDNumber; }

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType theType, const void *valuePtr) {
    const CFNumberType canonical = canonicalType(theType);
    if (!valuePtr || canonical == 0)
        return nullptr;
    int64_t integer = 0;
    double real = 0;
    switch (theType) {
    case kCFNumberSInt8Type: integer = readValue<int8_t>(valuePtr); break;
    case kCFNumberCharType: integer = readValue<signed char>(valuePtr); break;
    case kCFNumberSInt16Type: integer = readValue<int16_t>(valuePtr); break;
    case kCFNumberShortType: integer = readValue<short>(valuePtr); break;
    case kCFNumberSInt32Type: integer = readValue<int32_t>(valuePtr); break;
    case kCFNumberIntType: integer = readValue<int>(valuePtr); break;
    case kCFNumberSInt64Type: integer = readValue<int64_t>(valuePtr); break;
    case kCFNumberLongLongType: integer = readValue<long long>(valuePtr); break;
    case kCFNumberLongType: integer = readValue<long>(valuePtr); break;
    case kCFNumberCFIndexType: integer = readValue<CFIndex>(valuePtr); break;
    case kCFNumberNSIntegerType: integer = readValue<long>(valuePtr); break;
    case kCFNumberFloat32Type:
    case kCFNumberFloatType: real = readValue<float>(valuePtr); break;
    case kCFNumberFloat64Type:
    case kCFNumberDoubleType:
    case kCFNumberCGFloatType: real = readValue<double>(valuePtr); break;
    default: return nullptr;
    }
    try {
        return new __CFNumber(canonical, integer, real);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

CFNumberType CFNumberGetType(CFNumberRef number) {
    return zpcf::isA(number, zpcf::kTypeIDNumber) ? number->type : 0;
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType theType, void *valuePtr) {
    if (!zpcf::isA(number, zpcf::kTypeIDNumber) || !valuePtr)
        return false;
    const CFNumberType wanted = canonicalType(theType);
    if (wanted == 0)
        return false;
    if (isFloatType(wanted)) {
        const double value = number->isFloat() ? number->real : static_cast<double>(number->integer);
        // An integer is exact when it comes back unchanged from the double
        // (2^63, the rounding of the largest values, is out of int64 range).
        const bool exact = number->isFloat() ||
                           (value < 9223372036854775808.0 && static_cast<int64_t>(value) == number->integer);
        if (wanted == kCFNumberFloat32Type) {
            const float narrowed = static_cast<float>(value);
            writeValue<float>(valuePtr, narrowed);
            return exact && (static_cast<double>(narrowed) == value || std::isnan(value));
        }
        writeValue<double>(valuePtr, value);
        return exact;
    }
    switch (wanted) {
    case kCFNumberSInt8Type:
        return number->isFloat() ? storeFloatAsInteger<int8_t>(number->real, valuePtr)
                                 : storeInteger<int8_t>(number->integer, valuePtr);
    case kCFNumberSInt16Type:
        return number->isFloat() ? storeFloatAsInteger<int16_t>(number->real, valuePtr)
                                 : storeInteger<int16_t>(number->integer, valuePtr);
    case kCFNumberSInt32Type:
        return number->isFloat() ? storeFloatAsInteger<int32_t>(number->real, valuePtr)
                                 : storeInteger<int32_t>(number->integer, valuePtr);
    default: // kCFNumberSInt64Type
        return number->isFloat() ? storeFloatAsInteger<int64_t>(number->real, valuePtr)
                                 : storeInteger<int64_t>(number->integer, valuePtr);
    }
}
