// Numbers and booleans: types, conversions and when they are lossy.
#include "CFTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

using zpcf_test::describe;
using zpcf_test::Owned;

namespace {

// Makes a number of `type` holding `value` and reads it back as `outType` into
// *out: what CFNumberGetValue answers (false for a lossy conversion).
template <typename In, typename Out>
bool convert(In value, CFNumberType type, CFNumberType outType, Out *out) {
    Owned<CFNumberRef> number(CFNumberCreate(nullptr, type, &value));
    EXPECT_TRUE(number);
    return CFNumberGetValue(number, outType, out);
}

} // namespace

TEST(CFNumber, TypeConstantsMatchApple) {
    EXPECT_EQ(kCFNumberSInt8Type, 1);
    EXPECT_EQ(kCFNumberSInt16Type, 2);
    EXPECT_EQ(kCFNumberSInt32Type, 3);
    EXPECT_EQ(kCFNumberSInt64Type, 4);
    EXPECT_EQ(kCFNumberFloat32Type, 5);
    EXPECT_EQ(kCFNumberFloat64Type, 6);
    EXPECT_EQ(kCFNumberCharType, 7);
    EXPECT_EQ(kCFNumberShortType, 8);
    EXPECT_EQ(kCFNumberIntType, 9);
    EXPECT_EQ(kCFNumberLongType, 10);
    EXPECT_EQ(kCFNumberLongLongType, 11);
    EXPECT_EQ(kCFNumberFloatType, 12);
    EXPECT_EQ(kCFNumberDoubleType, 13);
    EXPECT_EQ(kCFNumberCFIndexType, 14);
    EXPECT_EQ(kCFNumberNSIntegerType, 15);
    EXPECT_EQ(kCFNumberCGFloatType, 16);
    EXPECT_EQ(kCFNumberMaxType, 16);
}

TEST(CFNumber, GetTypeReportsTheCanonicalType) {
    const int i = 1;
    const long l = 2;
    const long long ll = 3;
    const double d = 4;
    const float f = 5;
    const short s = 6;
    const char c = 7;
    EXPECT_EQ(CFNumberGetType(Owned<CFNumberRef>(CFNumberCreate(nullptr, kCFNumberIntType, &i))), kCFNumberSInt32Type);
    EXPECT_EQ(CFNumberGetType(Owned<CFNumberRef>(CFNumberCreate(nullptr, kCFNumberLongType, &l))), kCFNumberSInt64Type);
    EXPECT_EQ(CFNumberGetType(Owned<CFNumberRef>(CFNumberCreate(nullptr, kCFNumberLongLongType, &ll))),
              kCFNumberSInt64Type);
    EXPECT_EQ(CFNumberGetType(Owned<CFNumberRef>(CFNumberCreate(nullptr, kCFNumberDoubleType, &d))),
              kCFNumberFloat64Type);
    EXPECT_EQ(CFNumberGetType(Owned<CFNumberRef>(CFNumberCreate(nullptr, kCFNumberFloatType, &f))),
              kCFNumberFloat32Type);
    EXPECT_EQ(CFNumberGetType(Owned<CFNumberRef>(CFNumberCreate(nullptr, kCFNumberShortType, &s))),
              kCFNumberSInt16Type);
    EXPECT_EQ(CFNumberGetType(Owned<CFNumberRef>(CFNumberCreate(nullptr, kCFNumberCharType, &c))), kCFNumberSInt8Type);
    EXPECT_EQ(CFNumberGetType(nullptr), 0);
}

TEST(CFNumber, ExactConversionsSucceed) {
    const SInt32 value = -123456;
    Owned<CFNumberRef> number(CFNumberCreate(nullptr, kCFNumberSInt32Type, &value));
    SInt64 wide = 0;
    EXPECT_TRUE(CFNumberGetValue(number, kCFNumberSInt64Type, &wide));
    EXPECT_EQ(wide, -123456);
    double real = 0;
    EXPECT_TRUE(CFNumberGetValue(number, kCFNumberFloat64Type, &real));
    EXPECT_EQ(real, -123456.0);
    int asInt = 0;
    EXPECT_TRUE(CFNumberGetValue(number, kCFNumberIntType, &asInt));
    EXPECT_EQ(asInt, -123456);
    long asLong = 0;
    EXPECT_TRUE(CFNumberGetValue(number, kCFNumberLongType, &asLong));
    EXPECT_EQ(asLong, -123456);
    long long asLongLong = 0;
    EXPECT_TRUE(CFNumberGetValue(number, kCFNumberLongLongType, &asLongLong));
    EXPECT_EQ(asLongLong, -123456);
    float asFloat = 0;
    EXPECT_TRUE(CFNumberGetValue(number, kCFNumberFloatType, &asFloat));
    EXPECT_EQ(asFloat, -123456.0f);

    SInt32 fromWhole = 0;
    EXPECT_TRUE(convert(8.0, kCFNumberFloat64Type, kCFNumberSInt32Type, &fromWhole));
    EXPECT_EQ(fromWhole, 8);
}

TEST(CFNumber, LossyConversionsReturnFalseAndStillWrite) {
    SInt32 truncated = 0;
    EXPECT_FALSE(convert(3.75, kCFNumberDoubleType, kCFNumberSInt32Type, &truncated));
    EXPECT_EQ(truncated, 3);

    const SInt64 big = 5000000000LL;
    SInt32 clamped = 0;
    EXPECT_FALSE(convert(big, kCFNumberSInt64Type, kCFNumberSInt32Type, &clamped));
    EXPECT_EQ(clamped, std::numeric_limits<SInt32>::max());
    SInt64 exact = 0;
    EXPECT_TRUE(convert(big, kCFNumberSInt64Type, kCFNumberSInt64Type, &exact));
    EXPECT_EQ(exact, big);

    double approx = 0;
    EXPECT_FALSE(convert(SInt64((1LL << 53) + 1), kCFNumberSInt64Type, kCFNumberFloat64Type, &approx));
    EXPECT_EQ(approx, 9007199254740992.0);

    float narrowed = 0;
    EXPECT_FALSE(convert(0.1, kCFNumberFloat64Type, kCFNumberFloat32Type, &narrowed));
    EXPECT_EQ(narrowed, 0.1f);

    SInt64 low = 0;
    EXPECT_FALSE(convert(-1e30, kCFNumberFloat64Type, kCFNumberSInt64Type, &low));
    EXPECT_EQ(low, std::numeric_limits<SInt64>::min());

    SInt32 fromNan = 5;
    EXPECT_FALSE(convert(std::nan(""), kCFNumberFloat64Type, kCFNumberSInt32Type, &fromNan));
    EXPECT_EQ(fromNan, 0);

    SInt8 byte = 0;
    EXPECT_FALSE(convert(SInt16(300), kCFNumberSInt16Type, kCFNumberSInt8Type, &byte));
    EXPECT_EQ(byte, 127);
}

TEST(CFNumber, ValuesOfEverySizeAreReadWithTheirOwnWidth) {
    const SInt8 s8 = -8;
    const SInt16 s16 = -16000;
    const SInt64 s64 = INT64_MIN;
    const Float32 f32 = 1.5f;
    Owned<CFNumberRef> n8(CFNumberCreate(nullptr, kCFNumberSInt8Type, &s8));
    Owned<CFNumberRef> n16(CFNumberCreate(nullptr, kCFNumberSInt16Type, &s16));
    Owned<CFNumberRef> n64(CFNumberCreate(nullptr, kCFNumberSInt64Type, &s64));
    Owned<CFNumberRef> nf(CFNumberCreate(nullptr, kCFNumberFloat32Type, &f32));
    SInt64 out = 0;
    EXPECT_TRUE(CFNumberGetValue(n8, kCFNumberSInt64Type, &out));
    EXPECT_EQ(out, -8);
    EXPECT_TRUE(CFNumberGetValue(n16, kCFNumberSInt64Type, &out));
    EXPECT_EQ(out, -16000);
    EXPECT_TRUE(CFNumberGetValue(n64, kCFNumberSInt64Type, &out));
    EXPECT_EQ(out, INT64_MIN);
    double d = 0;
    EXPECT_TRUE(CFNumberGetValue(nf, kCFNumberDoubleType, &d));
    EXPECT_EQ(d, 1.5);
    // Writing an SInt8 touches one byte only.
    unsigned char bytes[2] = {0xAA, 0xAA};
    EXPECT_TRUE(CFNumberGetValue(n8, kCFNumberSInt8Type, bytes));
    EXPECT_EQ(static_cast<SInt8>(bytes[0]), -8);
    EXPECT_EQ(bytes[1], 0xAA);
}

TEST(CFNumber, EqualityAcrossTypesAndDescriptions) {
    const int one = 1;
    const double oneReal = 1.0;
    const double half = 0.5;
    Owned<CFNumberRef> a(CFNumberCreate(nullptr, kCFNumberIntType, &one));
    Owned<CFNumberRef> b(CFNumberCreate(nullptr, kCFNumberDoubleType, &oneReal));
    Owned<CFNumberRef> c(CFNumberCreate(nullptr, kCFNumberDoubleType, &half));
    EXPECT_TRUE(CFEqual(a, b));
    EXPECT_EQ(CFHash(a), CFHash(b));
    EXPECT_FALSE(CFEqual(a, c));
    EXPECT_EQ(describe(a), "1");
    EXPECT_EQ(describe(b), "1");
    EXPECT_EQ(describe(c), "0.5");
    const double large = 1e20;
    EXPECT_EQ(describe(Owned<CFNumberRef>(CFNumberCreate(nullptr, kCFNumberDoubleType, &large))), "1e+20");
    const float third = 1.0f / 3.0f;
    EXPECT_EQ(describe(Owned<CFNumberRef>(CFNumberCreate(nullptr, kCFNumberFloatType, &third))), "0.33333334");
    const long negative = -42;
    EXPECT_EQ(describe(Owned<CFNumberRef>(CFNumberCreate(nullptr, kCFNumberLongType, &negative))), "-42");
}

TEST(CFNumber, NullAndUnknownTypes) {
    const int value = 3;
    EXPECT_EQ(CFNumberCreate(nullptr, kCFNumberIntType, nullptr), nullptr);
    EXPECT_EQ(CFNumberCreate(nullptr, 0, &value), nullptr);
    EXPECT_EQ(CFNumberCreate(nullptr, 17, &value), nullptr);
    Owned<CFNumberRef> number(CFNumberCreate(nullptr, kCFNumberIntType, &value));
    int out = 0;
    EXPECT_FALSE(CFNumberGetValue(nullptr, kCFNumberIntType, &out));
    EXPECT_FALSE(CFNumberGetValue(number, kCFNumberIntType, nullptr));
    EXPECT_FALSE(CFNumberGetValue(number, 99, &out));
    EXPECT_EQ(CFGetRetainCount(number), 1);
}

TEST(CFBoolean, ConstantsAndValues) {
    EXPECT_TRUE(CFBooleanGetValue(kCFBooleanTrue));
    EXPECT_FALSE(CFBooleanGetValue(kCFBooleanFalse));
    EXPECT_FALSE(CFBooleanGetValue(nullptr));
    EXPECT_NE(kCFBooleanTrue, kCFBooleanFalse);
    EXPECT_FALSE(CFEqual(kCFBooleanTrue, kCFBooleanFalse));
    const CFIndex count = CFGetRetainCount(kCFBooleanTrue);
    CFRelease(kCFBooleanTrue);
    CFRelease(kCFBooleanTrue);
    EXPECT_EQ(CFGetRetainCount(kCFBooleanTrue), count);
    EXPECT_TRUE(CFBooleanGetValue(kCFBooleanTrue));
}
