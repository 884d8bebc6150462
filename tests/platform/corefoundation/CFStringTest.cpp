// Strings: creation in each encoding, round trips of non-ASCII text, access,
// mutation, searching, comparing and splitting.
#include "CFTestSupport.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>

using zpcf_test::createString;
using zpcf_test::Owned;
using zpcf_test::units;
using zpcf_test::utf8;

namespace {

// "é中文😀" in UTF-8 and in UTF-16 code units.
const char kMixedUtf8[] = "\xC3\xA9\xE4\xB8\xAD\xE6\x96\x87\xF0\x9F\x98\x80";
const std::u16string kMixedUnits = u"\u00E9\u4E2D\u6587\U0001F600";

CFStringRef fromBytes(const std::string &bytes, CFStringEncoding encoding, bool external = false) {
    return CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8 *>(bytes.data()),
                                   static_cast<CFIndex>(bytes.size()), encoding, external);
}

std::string encoded(CFStringRef str, CFStringEncoding encoding) {
    char buffer[256];
    if (!CFStringGetCString(str, buffer, sizeof buffer, encoding))
        return "<failed>";
    return buffer;
}

} // namespace

TEST(CFString, EncodingConstantsMatchApple) {
    EXPECT_EQ(kCFStringEncodingMacRoman, 0u);
    EXPECT_EQ(kCFStringEncodingWindowsLatin1, 0x0500u);
    EXPECT_EQ(kCFStringEncodingISOLatin1, 0x0201u);
    EXPECT_EQ(kCFStringEncodingASCII, 0x0600u);
    EXPECT_EQ(kCFStringEncodingUnicode, 0x0100u);
    EXPECT_EQ(kCFStringEncodingUTF16, 0x0100u);
    EXPECT_EQ(kCFStringEncodingUTF8, 0x08000100u);
    EXPECT_EQ(kCFStringEncodingUTF16BE, 0x10000100u);
    EXPECT_EQ(kCFStringEncodingUTF16LE, 0x14000100u);
    EXPECT_EQ(kCFStringEncodingUTF32, 0x0c000100u);
    EXPECT_EQ(kCFStringEncodingUTF32BE, 0x18000100u);
    EXPECT_EQ(kCFStringEncodingUTF32LE, 0x1c000100u);
    EXPECT_EQ(kCFCompareCaseInsensitive, 1);
    EXPECT_EQ(kCFCompareBackwards, 4);
    EXPECT_EQ(kCFCompareAnchored, 8);
    EXPECT_EQ(kCFCompareNonliteral, 16);
    EXPECT_EQ(kCFCompareNumerically, 64);
}

TEST(CFString, NonAsciiRoundTripsThroughUtf8) {
    Owned<CFStringRef> str(createString(kMixedUtf8));
    ASSERT_TRUE(str);
    EXPECT_EQ(CFStringGetLength(str), 5); // the emoji is a surrogate pair
    EXPECT_EQ(units(str), kMixedUnits);
    EXPECT_EQ(CFStringGetCharacterAtIndex(str, 3), 0xD83D);
    EXPECT_EQ(CFStringGetCharacterAtIndex(str, 4), 0xDE00);
    EXPECT_EQ(utf8(str), kMixedUtf8);
}

TEST(CFString, NonAsciiRoundTripsThroughUtf16) {
    Owned<CFStringRef> str(CFStringCreateWithCharacters(nullptr, reinterpret_cast<const UniChar *>(kMixedUnits.data()),
                                                        static_cast<CFIndex>(kMixedUnits.size())));
    ASSERT_TRUE(str);
    EXPECT_EQ(utf8(str), kMixedUtf8);

    std::string be, le;
    for (char16_t c : kMixedUnits) {
        be += static_cast<char>(c >> 8);
        be += static_cast<char>(c & 0xFF);
        le += static_cast<char>(c & 0xFF);
        le += static_cast<char>(c >> 8);
    }
    Owned<CFStringRef> fromBE(fromBytes(be, kCFStringEncodingUTF16BE));
    Owned<CFStringRef> fromLE(fromBytes(le, kCFStringEncodingUTF16LE));
    EXPECT_EQ(units(fromBE), kMixedUnits);
    EXPECT_EQ(units(fromLE), kMixedUnits);

    char buffer[64];
    ASSERT_TRUE(CFStringGetCString(str, buffer, sizeof buffer, kCFStringEncodingUTF16BE));
    EXPECT_EQ(std::memcmp(buffer, be.data(), be.size()), 0);
    ASSERT_TRUE(CFStringGetCString(str, buffer, sizeof buffer, kCFStringEncodingUTF16LE));
    EXPECT_EQ(std::memcmp(buffer, le.data(), le.size()), 0);
}

TEST(CFString, ExternalUtf16HonoursAndDropsTheByteOrderMark) {
    const std::string beWithBom("\xFE\xFF\x00h\x00i", 6);
    const std::string leWithBom("\xFF\xFEh\x00i\x00", 6);
    const std::string beWithoutBom("\x00h\x00i", 4);
    Owned<CFStringRef> a(fromBytes(beWithBom, kCFStringEncodingUnicode, true));
    Owned<CFStringRef> b(fromBytes(leWithBom, kCFStringEncodingUnicode, true));
    Owned<CFStringRef> c(fromBytes(beWithoutBom, kCFStringEncodingUnicode, true));
    EXPECT_EQ(utf8(a), "hi");
    EXPECT_EQ(utf8(b), "hi");
    EXPECT_EQ(utf8(c), "hi"); // no mark: big-endian

    // Internal representation: the machine's order, and a mark stays text.
    const std::u16string withMark = u"\uFEFFhi";
    Owned<CFStringRef> internal(fromBytes(std::string(reinterpret_cast<const char *>(withMark.data()), 6),
                                          kCFStringEncodingUnicode, false));
    EXPECT_EQ(units(internal), withMark);
}

TEST(CFString, Utf32AndByteOrderMarks) {
    const std::string be("\x00\x01\xF6\x00\x00\x00\x00\x41", 8); // 😀A
    Owned<CFStringRef> str(fromBytes(be, kCFStringEncodingUTF32BE));
    EXPECT_EQ(units(str), u"\U0001F600A");
    const std::string leWithBom("\xFF\xFE\x00\x00\x41\x00\x00\x00", 8);
    Owned<CFStringRef> marked(fromBytes(leWithBom, kCFStringEncodingUTF32, true));
    EXPECT_EQ(utf8(marked), "A");
}

TEST(CFString, EightBitEncodings) {
    Owned<CFStringRef> latin1(CFStringCreateWithCString(nullptr, "caf\xE9", kCFStringEncodingISOLatin1));
    EXPECT_EQ(utf8(latin1), "caf\xC3\xA9");
    Owned<CFStringRef> macRoman(CFStringCreateWithCString(nullptr, "caf\x8E", kCFStringEncodingMacRoman));
    EXPECT_EQ(utf8(macRoman), "caf\xC3\xA9");
    Owned<CFStringRef> windows(CFStringCreateWithCString(nullptr, "\x80", kCFStringEncodingWindowsLatin1));
    EXPECT_EQ(utf8(windows), "\xE2\x82\xAC"); // the euro sign
    EXPECT_EQ(encoded(latin1, kCFStringEncodingISOLatin1), "caf\xE9");
    EXPECT_EQ(encoded(latin1, kCFStringEncodingMacRoman), "caf\x8E");
    EXPECT_EQ(encoded(windows, kCFStringEncodingWindowsLatin1), "\x80");
}

TEST(CFString, InvalidInputBytesGiveNull) {
    EXPECT_EQ(createString("bad \xC3\x28 utf8"), nullptr);
    EXPECT_EQ(createString("\xFF"), nullptr);
    EXPECT_EQ(createString("\xE4\xB8"), nullptr);                 // truncated sequence
    EXPECT_EQ(createString("\xC0\xAF"), nullptr);                 // overlong '/'
    EXPECT_EQ(CFStringCreateWithCString(nullptr, "\xE9", kCFStringEncodingASCII), nullptr);
    EXPECT_EQ(fromBytes(std::string("\x00h\x00", 3), kCFStringEncodingUTF16BE), nullptr); // odd length
    EXPECT_EQ(CFStringCreateWithCString(nullptr, "x", 0x7777u), nullptr); // unknown encoding
}

TEST(CFString, NullAndBadArgumentsAreTolerated) {
    EXPECT_EQ(CFStringCreateWithCString(nullptr, nullptr, kCFStringEncodingUTF8), nullptr);
    EXPECT_EQ(CFStringCreateWithBytes(nullptr, nullptr, 3, kCFStringEncodingUTF8, false), nullptr);
    EXPECT_EQ(CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8 *>("x"), -1, kCFStringEncodingUTF8, false),
              nullptr);
    EXPECT_EQ(CFStringCreateWithCharacters(nullptr, nullptr, 2), nullptr);
    EXPECT_EQ(CFStringCreateCopy(nullptr, nullptr), nullptr);
    EXPECT_EQ(CFStringCreateMutableCopy(nullptr, 0, nullptr), nullptr);
    EXPECT_EQ(CFStringGetLength(nullptr), 0);
    EXPECT_EQ(CFStringGetCharacterAtIndex(CFSTR("ab"), 2), 0);
    EXPECT_EQ(CFStringGetCharacterAtIndex(CFSTR("ab"), -1), 0);
    EXPECT_EQ(CFStringGetCStringPtr(nullptr, kCFStringEncodingUTF8), nullptr);
    EXPECT_EQ(CFStringCreateWithFormat(nullptr, nullptr, nullptr), nullptr);
    EXPECT_EQ(CFStringCreateArrayBySeparatingStrings(nullptr, nullptr, CFSTR(",")), nullptr);
    char buffer[4] = "xyz";
    EXPECT_FALSE(CFStringGetCString(nullptr, buffer, sizeof buffer, kCFStringEncodingUTF8));
    EXPECT_EQ(buffer[0], '\0');
    CFStringAppend(nullptr, CFSTR("x"));
    // Mutating an immutable string is ignored.
    Owned<CFStringRef> immutable(createString("fixed"));
    CFStringAppend(const_cast<CFMutableStringRef>(immutable.get()), CFSTR("!"));
    EXPECT_EQ(utf8(immutable), "fixed");
    // A non-string where a string is expected reads as nothing.
    EXPECT_EQ(CFStringGetLength(reinterpret_cast<CFStringRef>(kCFBooleanTrue)), 0);
}

TEST(CFString, EmptyStrings) {
    Owned<CFStringRef> empty(createString(""));
    ASSERT_TRUE(empty);
    EXPECT_EQ(CFStringGetLength(empty), 0);
    Owned<CFStringRef> noBytes(CFStringCreateWithBytes(nullptr, nullptr, 0, kCFStringEncodingUTF8, false));
    ASSERT_TRUE(noBytes);
    EXPECT_TRUE(CFEqual(empty, noBytes));
    char buffer[1] = {'x'};
    EXPECT_TRUE(CFStringGetCString(empty, buffer, 1, kCFStringEncodingUTF8));
    EXPECT_EQ(buffer[0], '\0');
}

TEST(CFString, GetCStringNeedsRoomForTheTerminator) {
    char buffer[8];
    EXPECT_TRUE(CFStringGetCString(CFSTR("1234567"), buffer, 8, kCFStringEncodingUTF8));
    EXPECT_STREQ(buffer, "1234567");
    EXPECT_FALSE(CFStringGetCString(CFSTR("12345678"), buffer, 8, kCFStringEncodingUTF8));
    EXPECT_EQ(buffer[0], '\0');
    // "é" is two bytes in UTF-8.
    Owned<CFStringRef> accent(createString("\xC3\xA9"));
    EXPECT_FALSE(CFStringGetCString(accent, buffer, 2, kCFStringEncodingUTF8));
    EXPECT_TRUE(CFStringGetCString(accent, buffer, 3, kCFStringEncodingUTF8));
    EXPECT_FALSE(CFStringGetCString(CFSTR("x"), buffer, 0, kCFStringEncodingUTF8));
}

TEST(CFString, GetCStringFailsWhenTheTextCannotBeEncoded) {
    Owned<CFStringRef> chinese(createString("\xE4\xB8\xAD"));
    char buffer[16];
    EXPECT_FALSE(CFStringGetCString(chinese, buffer, sizeof buffer, kCFStringEncodingASCII));
    EXPECT_FALSE(CFStringGetCString(chinese, buffer, sizeof buffer, kCFStringEncodingISOLatin1));
    const UniChar lone[] = {'a', 0xD800};
    Owned<CFStringRef> broken(CFStringCreateWithCharacters(nullptr, lone, 2));
    ASSERT_TRUE(broken);
    EXPECT_FALSE(CFStringGetCString(broken, buffer, sizeof buffer, kCFStringEncodingUTF8));
}

TEST(CFString, CStringPtrIsTheStringsOwnAsciiText) {
    const char *constant = CFStringGetCStringPtr(CFSTR("constant ascii"), kCFStringEncodingUTF8);
    ASSERT_NE(constant, nullptr);
    EXPECT_STREQ(constant, "constant ascii");
    EXPECT_EQ(CFStringGetCStringPtr(CFSTR("constant ascii"), kCFStringEncodingASCII), constant);
    EXPECT_EQ(CFStringGetCStringPtr(CFSTR("constant ascii"), kCFStringEncodingUTF16), nullptr);

    Owned<CFStringRef> created(createString("made"));
    ASSERT_NE(CFStringGetCStringPtr(created, kCFStringEncodingMacRoman), nullptr);
    EXPECT_STREQ(CFStringGetCStringPtr(created, kCFStringEncodingMacRoman), "made");

    Owned<CFStringRef> accent(createString("\xC3\xA9"));
    EXPECT_EQ(CFStringGetCStringPtr(accent, kCFStringEncodingUTF8), nullptr);
    Owned<CFMutableStringRef> mutableStr(CFStringCreateMutableCopy(nullptr, 0, CFSTR("abc")));
    EXPECT_EQ(CFStringGetCStringPtr(mutableStr, kCFStringEncodingUTF8), nullptr);
}

TEST(CFString, MaximumSizeForEncoding) {
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingUTF8), 30);
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingUTF16), 20);
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingASCII), 10);
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingUTF32LE), 40);
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(-1, kCFStringEncodingUTF8), kCFNotFound);
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(LONG_MAX / 2, kCFStringEncodingUTF8), kCFNotFound);
    // Enough for any text: the emoji takes 4 bytes for 2 units.
    Owned<CFStringRef> mixed(createString(kMixedUtf8));
    EXPECT_GE(CFStringGetMaximumSizeForEncoding(CFStringGetLength(mixed), kCFStringEncodingUTF8),
              static_cast<CFIndex>(std::strlen(kMixedUtf8)));
}

TEST(CFString, CopiesAndSubstrings) {
    Owned<CFStringRef> original(createString("hello world"));
    Owned<CFStringRef> copy(CFStringCreateCopy(nullptr, original));
    EXPECT_TRUE(CFEqual(copy, original));
    EXPECT_EQ(CFGetRetainCount(original), 2); // an immutable copy shares the original

    Owned<CFStringRef> world(CFStringCreateWithSubstring(nullptr, original, CFRangeMake(6, 5)));
    EXPECT_EQ(utf8(world), "world");
    Owned<CFStringRef> none(CFStringCreateWithSubstring(nullptr, original, CFRangeMake(11, 0)));
    EXPECT_EQ(utf8(none), "");
    EXPECT_EQ(CFStringCreateWithSubstring(nullptr, original, CFRangeMake(6, 6)), nullptr);
    EXPECT_EQ(CFStringCreateWithSubstring(nullptr, original, CFRangeMake(-1, 2)), nullptr);

    UniChar buffer[5] = {0};
    CFStringGetCharacters(original, CFRangeMake(0, 5), buffer);
    EXPECT_EQ(std::u16string(reinterpret_cast<char16_t *>(buffer), 5), u"hello");
    UniChar untouched[2] = {7, 7};
    CFStringGetCharacters(original, CFRangeMake(10, 2), untouched);
    EXPECT_EQ(untouched[0], 7);
}

TEST(CFString, MutableStrings) {
    Owned<CFMutableStringRef> str(CFStringCreateMutable(nullptr, 0));
    ASSERT_TRUE(str);
    EXPECT_EQ(CFStringGetLength(str), 0);
    CFStringAppend(str, CFSTR("abc"));
    CFStringAppendCString(str, "\xC3\xA9", kCFStringEncodingUTF8);
    CFStringAppendCString(str, "\xE9", kCFStringEncodingISOLatin1);
    CFStringAppendCString(str, "\xFF", kCFStringEncodingUTF8); // invalid: nothing added
    EXPECT_EQ(utf8(str), "abc\xC3\xA9\xC3\xA9");
    CFStringAppend(str, str); // appending to itself doubles it
    EXPECT_EQ(utf8(str), "abc\xC3\xA9\xC3\xA9" "abc\xC3\xA9\xC3\xA9");

    Owned<CFMutableStringRef> copy(CFStringCreateMutableCopy(nullptr, 0, CFSTR("base")));
    CFStringAppend(copy, CFSTR("+"));
    EXPECT_EQ(utf8(copy), "base+");
    EXPECT_EQ(utf8(CFSTR("base")), "base");

    // A copy of a mutable string is a new, frozen string.
    Owned<CFStringRef> frozen(CFStringCreateCopy(nullptr, copy));
    CFStringAppend(copy, CFSTR("more"));
    EXPECT_EQ(utf8(frozen), "base+");
}

TEST(CFString, FindReportsRangesAndNotFound) {
    CFStringRef text = CFSTR("one.two.three");
    CFRange found = CFStringFind(text, CFSTR("."), 0);
    EXPECT_EQ(found.location, 3);
    EXPECT_EQ(found.length, 1);
    found = CFStringFind(text, CFSTR("."), kCFCompareBackwards);
    EXPECT_EQ(found.location, 7);
    found = CFStringFind(text, CFSTR("three"), 0);
    EXPECT_EQ(found.location, 8);
    EXPECT_EQ(found.length, 5);

    const CFRange missing = CFStringFind(text, CFSTR("four"), 0);
    EXPECT_EQ(missing.location, kCFNotFound);
    EXPECT_EQ(missing.length, 0);
    EXPECT_EQ(CFStringFind(text, CFSTR(""), 0).location, kCFNotFound);
    EXPECT_EQ(CFStringFind(text, nullptr, 0).location, kCFNotFound);
    EXPECT_EQ(CFStringFind(nullptr, CFSTR("x"), 0).location, kCFNotFound);
    EXPECT_EQ(CFStringFind(CFSTR("ab"), CFSTR("abc"), 0).location, kCFNotFound);

    EXPECT_EQ(CFStringFind(text, CFSTR("two"), kCFCompareAnchored).location, kCFNotFound);
    EXPECT_EQ(CFStringFind(text, CFSTR("one"), kCFCompareAnchored).location, 0);
    EXPECT_EQ(CFStringFind(text, CFSTR("three"), kCFCompareAnchored | kCFCompareBackwards).location, 8);
}

TEST(CFString, FindCaseInsensitive) {
    EXPECT_EQ(CFStringFind(CFSTR("Hello World"), CFSTR("WORLD"), 0).location, kCFNotFound);
    EXPECT_EQ(CFStringFind(CFSTR("Hello World"), CFSTR("WORLD"), kCFCompareCaseInsensitive).location, 6);
    Owned<CFStringRef> upper(createString("CAF\xC3\x89 \xC3\x89T\xC3\x89"));
    Owned<CFStringRef> lower(createString("\xC3\xA9t\xC3\xA9"));
    EXPECT_EQ(CFStringFind(upper, lower, kCFCompareCaseInsensitive).location, 5);
}

TEST(CFString, CompareOrdersByCodeUnitsAndFoldsCaseWhenAsked) {
    EXPECT_EQ(CFStringCompare(CFSTR("abc"), CFSTR("abd"), 0), kCFCompareLessThan);
    EXPECT_EQ(CFStringCompare(CFSTR("abd"), CFSTR("abc"), 0), kCFCompareGreaterThan);
    EXPECT_EQ(CFStringCompare(CFSTR("abc"), CFSTR("abc"), 0), kCFCompareEqualTo);
    EXPECT_EQ(CFStringCompare(CFSTR("ab"), CFSTR("abc"), 0), kCFCompareLessThan);
    EXPECT_NE(CFStringCompare(CFSTR("ABC"), CFSTR("abc"), 0), kCFCompareEqualTo);
    EXPECT_EQ(CFStringCompare(CFSTR("ABC"), CFSTR("abc"), kCFCompareCaseInsensitive), kCFCompareEqualTo);
    EXPECT_EQ(CFStringCompare(CFSTR("ABC"), CFSTR("abd"), kCFCompareCaseInsensitive), kCFCompareLessThan);
    Owned<CFStringRef> upper(createString("\xC3\x89T\xC3\x89")); // ÉTÉ
    Owned<CFStringRef> lower(createString("\xC3\xA9t\xC3\xA9")); // été
    EXPECT_EQ(CFStringCompare(upper, lower, kCFCompareCaseInsensitive), kCFCompareEqualTo);
}

TEST(CFString, PrefixAndSuffix) {
    EXPECT_TRUE(CFStringHasPrefix(CFSTR("filename.txt"), CFSTR("file")));
    EXPECT_FALSE(CFStringHasPrefix(CFSTR("filename.txt"), CFSTR("name")));
    EXPECT_TRUE(CFStringHasSuffix(CFSTR("filename.txt"), CFSTR(".txt")));
    EXPECT_FALSE(CFStringHasSuffix(CFSTR("filename.txt"), CFSTR(".tx")));
    EXPECT_FALSE(CFStringHasSuffix(CFSTR("txt"), CFSTR("a.txt")));
    EXPECT_FALSE(CFStringHasPrefix(CFSTR("abc"), CFSTR(""))); // as Apple's
    EXPECT_FALSE(CFStringHasPrefix(nullptr, CFSTR("a")));
}

namespace {

std::vector<std::string> split(CFStringRef text, CFStringRef separator) {
    Owned<CFArrayRef> pieces(CFStringCreateArrayBySeparatingStrings(nullptr, text, separator));
    std::vector<std::string> out;
    for (CFIndex i = 0; i < CFArrayGetCount(pieces); ++i)
        out.push_back(utf8(static_cast<CFStringRef>(CFArrayGetValueAtIndex(pieces, i))));
    return out;
}

} // namespace

TEST(CFString, SeparatingKeepsEmptyPieces) {
    using Pieces = std::vector<std::string>;
    EXPECT_EQ(split(CFSTR("a.b.c"), CFSTR(".")), (Pieces{"a", "b", "c"}));
    EXPECT_EQ(split(CFSTR("a..b"), CFSTR(".")), (Pieces{"a", "", "b"}));
    EXPECT_EQ(split(CFSTR(".a"), CFSTR(".")), (Pieces{"", "a"}));
    EXPECT_EQ(split(CFSTR("a."), CFSTR(".")), (Pieces{"a", ""}));
    EXPECT_EQ(split(CFSTR("abc"), CFSTR(".")), (Pieces{"abc"}));
    EXPECT_EQ(split(CFSTR(""), CFSTR(".")), (Pieces{""}));
    EXPECT_EQ(split(CFSTR("1::2"), CFSTR("::")), (Pieces{"1", "2"}));
    EXPECT_EQ(split(CFSTR("abc"), CFSTR("")), (Pieces{"abc"}));
}

TEST(CFString, SeparatedPiecesAreOwnedByTheArray) {
    CFArrayRef pieces = CFStringCreateArrayBySeparatingStrings(nullptr, CFSTR("x,y"), CFSTR(","));
    ASSERT_EQ(CFArrayGetCount(pieces), 2);
    CFTypeRef first = CFArrayGetValueAtIndex(pieces, 0);
    EXPECT_EQ(CFGetRetainCount(first), 1);
    CFRetain(first);
    CFRelease(pieces);
    EXPECT_EQ(CFGetRetainCount(first), 1); // the array gave its reference back
    CFRelease(first);
}
