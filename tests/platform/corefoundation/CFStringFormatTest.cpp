// CFStringCreateWithFormat, ...AndArguments and CFStringAppendFormat: "%@" and
// every printf conversion with flags, width and precision.
#include "CFTestSupport.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdint>

using zpcf_test::createString;
using zpcf_test::Owned;
using zpcf_test::utf8;

namespace {

std::string format(CFStringRef fmt, ...) {
    va_list args;
    va_start(args, fmt);
    Owned<CFStringRef> result(CFStringCreateWithFormatAndArguments(nullptr, nullptr, fmt, args));
    va_end(args);
    return utf8(result);
}

} // namespace

TEST(CFStringFormat, ObjectConversionUsesDescriptions) {
    Owned<CFStringRef> name(createString("Zoe \xE4\xB8\xAD"));
    const int answer = 42;
    Owned<CFNumberRef> number(CFNumberCreate(nullptr, kCFNumberIntType, &answer));
    EXPECT_EQ(format(CFSTR("name=%@"), name.get()), "name=Zoe \xE4\xB8\xAD");
    EXPECT_EQ(format(CFSTR("[%@]"), CFSTR("constant")), "[constant]");
    EXPECT_EQ(format(CFSTR("%@/%@"), number.get(), kCFBooleanTrue), "42/true");
    EXPECT_EQ(format(CFSTR("%@"), static_cast<CFTypeRef>(nullptr)), "(null)");
    EXPECT_EQ(format(CFSTR("[%8@][%-8@]"), CFSTR("abc"), CFSTR("abc")), "[     abc][abc     ]");
}

TEST(CFStringFormat, ObjectConversionOfCollections) {
    const void *values[] = {CFSTR("one"), CFSTR("two")};
    Owned<CFArrayRef> array(CFArrayCreate(nullptr, values, 2, &kCFTypeArrayCallBacks));
    EXPECT_EQ(format(CFSTR("%@"), array.get()), "(\n    one,\n    two\n)");
    const void *keys[] = {CFSTR("k")};
    Owned<CFDictionaryRef> dict(CFDictionaryCreate(nullptr, keys, values, 1, &kCFTypeDictionaryKeyCallBacks,
                                                   &kCFTypeDictionaryValueCallBacks));
    EXPECT_EQ(format(CFSTR("%@"), dict.get()), "{\n    k = one;\n}");
}

TEST(CFStringFormat, SignedIntegers) {
    EXPECT_EQ(format(CFSTR("%d|%i"), -12, 34), "-12|34");
    EXPECT_EQ(format(CFSTR("%ld"), -1234567890123L), "-1234567890123");
    EXPECT_EQ(format(CFSTR("%lld"), static_cast<long long>(INT64_MIN)), "-9223372036854775808");
    EXPECT_EQ(format(CFSTR("%qd"), 5LL), "5");
    EXPECT_EQ(format(CFSTR("%hd|%hhd"), 70000, 300), "4464|44");
    EXPECT_EQ(format(CFSTR("%zd|%td|%jd"), static_cast<ssize_t>(-3), static_cast<ptrdiff_t>(4),
                     static_cast<intmax_t>(-5)),
              "-3|4|-5");
}

TEST(CFStringFormat, UnsignedIntegers) {
    EXPECT_EQ(format(CFSTR("%u"), 4000000000u), "4000000000");
    EXPECT_EQ(format(CFSTR("%lu"), 18446744073709551615UL), "18446744073709551615");
    EXPECT_EQ(format(CFSTR("%llu"), 18446744073709551615ULL), "18446744073709551615");
    EXPECT_EQ(format(CFSTR("%x|%X|%o"), 255u, 255u, 8u), "ff|FF|10");
    EXPECT_EQ(format(CFSTR("%lx|%llX"), 0xabcdef012UL, 0xABCDEF0123ULL), "abcdef012|ABCDEF0123");
    EXPECT_EQ(format(CFSTR("%zu"), static_cast<size_t>(7)), "7");
}

TEST(CFStringFormat, FlagsWidthAndPrecisionOnNumbers) {
    EXPECT_EQ(format(CFSTR("[%5d]"), 42), "[   42]");
    EXPECT_EQ(format(CFSTR("[%-5d]"), 42), "[42   ]");
    EXPECT_EQ(format(CFSTR("[%05d]"), -42), "[-0042]");
    EXPECT_EQ(format(CFSTR("[%+d][% d]"), 42, 42), "[+42][ 42]");
    EXPECT_EQ(format(CFSTR("[%#x][%#o]"), 255u, 8u), "[0xff][010]");
    EXPECT_EQ(format(CFSTR("[%.3d]"), 7), "[007]");
    EXPECT_EQ(format(CFSTR("[%8.3f]"), 3.14159), "[   3.142]");
    EXPECT_EQ(format(CFSTR("[%-8.2f]"), 2.5), "[2.50    ]");
    EXPECT_EQ(format(CFSTR("[%+.1e]"), 12345.0), "[+1.2e+04]");
}

TEST(CFStringFormat, StarWidthAndPrecision) {
    EXPECT_EQ(format(CFSTR("[%*d]"), 6, 42), "[    42]");
    EXPECT_EQ(format(CFSTR("[%*d]"), -6, 42), "[42    ]"); // negative width: left-aligned
    EXPECT_EQ(format(CFSTR("[%.*f]"), 2, 3.14159), "[3.14]");
    EXPECT_EQ(format(CFSTR("[%*.*f]"), 8, 1, 2.25), "[     2.2]");
    EXPECT_EQ(format(CFSTR("[%.*s]"), 3, "abcdef"), "[abc]");
    EXPECT_EQ(format(CFSTR("[%*s]"), 5, "ab"), "[   ab]");
    EXPECT_EQ(format(CFSTR("[%.*f]"), -1, 1.5), "[1.500000]"); // negative precision: as if none
}

TEST(CFStringFormat, FloatingPoint) {
    EXPECT_EQ(format(CFSTR("%f"), 1.5), "1.500000");
    EXPECT_EQ(format(CFSTR("%e"), 1234.5), "1.234500e+03");
    EXPECT_EQ(format(CFSTR("%E"), 0.5), "5.000000E-01");
    EXPECT_EQ(format(CFSTR("%g|%g"), 0.0001, 1e20), "0.0001|1e+20");
    EXPECT_EQ(format(CFSTR("%G"), 1e-10), "1E-10");
    EXPECT_EQ(format(CFSTR("%.0f"), 2.5), "2");
    EXPECT_EQ(format(CFSTR("%a"), 1.0), "0x1p+0");
    EXPECT_EQ(format(CFSTR("%Lf"), 1.25L), "1.250000");
    EXPECT_EQ(format(CFSTR("%f"), 1e300).size(), 308u); // long output is not cut
}

TEST(CFStringFormat, CStringsAreUtf8) {
    EXPECT_EQ(format(CFSTR("<%s>"), "plain"), "<plain>");
    EXPECT_EQ(format(CFSTR("<%s>"), "\xC3\xA9\xF0\x9F\x98\x80"), "<\xC3\xA9\xF0\x9F\x98\x80>");
    EXPECT_EQ(format(CFSTR("<%s>"), static_cast<const char *>(nullptr)), "<(null)>");
    EXPECT_EQ(format(CFSTR("<%-4s|%4s>"), "a", "b"), "<a   |   b>");
    // Width counts characters, not bytes.
    EXPECT_EQ(format(CFSTR("<%3s>"), "\xC3\xA9"), "<  \xC3\xA9>");
    // Not UTF-8: read byte for byte as Latin-1 rather than lost.
    EXPECT_EQ(format(CFSTR("<%s>"), "caf\xE9"), "<caf\xC3\xA9>");
    // Precision never splits a surrogate pair.
    EXPECT_EQ(format(CFSTR("<%.2s>"), "a\xF0\x9F\x98\x80"), "<a>");
}

TEST(CFStringFormat, CharactersAndUnicodeConversions) {
    EXPECT_EQ(format(CFSTR("%c%c"), 'o', 'k'), "ok");
    EXPECT_EQ(format(CFSTR("[%3c]"), 'x'), "[  x]");
    EXPECT_EQ(format(CFSTR("%C"), 0x4E2D), "\xE4\xB8\xAD");
    const UniChar text[] = {0x00E9, 'a', 0};
    EXPECT_EQ(format(CFSTR("%S"), text), "\xC3\xA9" "a");
}

TEST(CFStringFormat, PointersAndPercent) {
    int object = 0;
    char expected[32];
    std::snprintf(expected, sizeof expected, "0x%lx", reinterpret_cast<unsigned long>(&object));
    EXPECT_EQ(format(CFSTR("%p"), static_cast<void *>(&object)), expected);
    EXPECT_EQ(format(CFSTR("%p"), static_cast<void *>(nullptr)), "0x0");
    EXPECT_EQ(format(CFSTR("100%%"), 0), "100%");
    EXPECT_EQ(format(CFSTR("%d%%"), 5), "5%");
}

TEST(CFStringFormat, MixedArgumentsStayInStep) {
    EXPECT_EQ(format(CFSTR("%s %d %@ %.2f %lld %c %u"), "s", 1, CFSTR("obj"), 2.0, 3LL, 'c', 4u),
              "s 1 obj 2.00 3 c 4");
}

TEST(CFStringFormat, LiteralTextAndOddFormats) {
    Owned<CFStringRef> fmt(createString("\xE4\xB8\xAD %d \xF0\x9F\x98\x80"));
    EXPECT_EQ(format(fmt, 7), "\xE4\xB8\xAD 7 \xF0\x9F\x98\x80");
    EXPECT_EQ(format(CFSTR("no conversions")), "no conversions");
    EXPECT_EQ(format(CFSTR("trailing %")), "trailing %");
    EXPECT_EQ(format(CFSTR("%k then %d"), 3), "%k then 3"); // unknown conversion kept, takes nothing
}

TEST(CFStringFormat, CreateWithFormatAndAppendFormat) {
    Owned<CFStringRef> created(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%@-%d"), CFSTR("id"), 9));
    EXPECT_EQ(utf8(created), "id-9");
    Owned<CFMutableStringRef> str(CFStringCreateMutableCopy(nullptr, 0, CFSTR("log: ")));
    CFStringAppendFormat(str, nullptr, CFSTR("%s=%lu"), "count", 12UL);
    CFStringAppendFormat(str, nullptr, CFSTR(", %@"), created.get());
    EXPECT_EQ(utf8(str), "log: count=12, id-9");
    // The options dictionary is accepted and has no effect.
    Owned<CFDictionaryRef> options(CFDictionaryCreate(nullptr, nullptr, nullptr, 0, nullptr, nullptr));
    Owned<CFStringRef> withOptions(CFStringCreateWithFormat(nullptr, options, CFSTR("%d"), 1));
    EXPECT_EQ(utf8(withOptions), "1");
}
