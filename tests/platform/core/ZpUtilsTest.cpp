#include <ZpCore/ZpString.h>
#include <ZpCore/ZpUtils.h>

#include "ZpSysfsVideoMemory.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

TEST(ZpCoreUtils, CreatedDictionaryIsEmptyAndMutable)
{
    CFMutableDictionaryRef dict = ZpUtilsCFDictionaryCreateMutable();
    ASSERT_NE(dict, nullptr);
    EXPECT_EQ(CFGetTypeID(dict), CFDictionaryGetTypeID());
    EXPECT_EQ(CFDictionaryGetCount(dict), 0);
    EXPECT_EQ(CFGetRetainCount(dict), 1);
    CFDictionarySetValue(dict, CFSTR("k"), CFSTR("v"));
    EXPECT_EQ(CFDictionaryGetCount(dict), 1);
    CFRelease(dict);
}

TEST(ZpCoreUtils, DictionaryRetainsAndComparesKeysByContent)
{
    CFMutableDictionaryRef dict = ZpUtilsCFDictionaryCreateMutable();
    CFStringRef key = CFStringCreateWithCString(kCFAllocatorDefault, "name", kCFStringEncodingUTF8);
    CFStringRef value = CFStringCreateWithCString(kCFAllocatorDefault, "value", kCFStringEncodingUTF8);
    ZpUtilsCFDictionarySetValueString(dict, key, value);
    EXPECT_EQ(CFGetRetainCount(key), 2);
    EXPECT_EQ(CFGetRetainCount(value), 2);
    CFRelease(key);
    CFRelease(value);

    // A constant string with the same text finds the entry stored under a created key.
    CFTypeRef stored = CFDictionaryGetValue(dict, CFSTR("name"));
    ASSERT_NE(stored, nullptr);
    EXPECT_EQ(ZpString(static_cast<CFStringRef>(stored)).utf8(), "value");
    CFRelease(dict);
}

TEST(ZpCoreUtils, SetValueIntStoresAnSInt32Number)
{
    CFMutableDictionaryRef dict = ZpUtilsCFDictionaryCreateMutable();
    ZpUtilsCFDictionarySetValueInt(dict, CFSTR("count"), -42);
    ZpUtilsCFDictionarySetValueInt(dict, CFSTR("max"), std::numeric_limits<int32_t>::max());

    const struct {
        CFStringRef key;
        int32_t expected;
    } cases[] = {{CFSTR("count"), -42}, {CFSTR("max"), std::numeric_limits<int32_t>::max()}};
    for (const auto& c : cases) {
        CFTypeRef stored = CFDictionaryGetValue(dict, c.key);
        ASSERT_NE(stored, nullptr);
        ASSERT_EQ(CFGetTypeID(stored), CFNumberGetTypeID());
        auto number = static_cast<CFNumberRef>(stored);
        EXPECT_EQ(CFNumberGetType(number), kCFNumberSInt32Type);
        int32_t value = 0;
        EXPECT_TRUE(CFNumberGetValue(number, kCFNumberSInt32Type, &value));
        EXPECT_EQ(value, c.expected);
        // Held by the dictionary alone: the helper released its own reference.
        EXPECT_EQ(CFGetRetainCount(number), 1);
    }

    ZpUtilsCFDictionarySetValueInt(dict, CFSTR("count"), 7);
    EXPECT_EQ(CFDictionaryGetCount(dict), 2);
    int32_t replaced = 0;
    CFNumberGetValue(static_cast<CFNumberRef>(CFDictionaryGetValue(dict, CFSTR("count"))), kCFNumberSInt32Type,
                     &replaced);
    EXPECT_EQ(replaced, 7);
    CFRelease(dict);
}

TEST(ZpCoreUtils, SetValueStringStoresAndReplaces)
{
    CFMutableDictionaryRef dict = ZpUtilsCFDictionaryCreateMutable();
    ZpUtilsCFDictionarySetValueString(dict, CFSTR("os"), CFSTR("Linux"));
    EXPECT_EQ(CFDictionaryGetValue(dict, CFSTR("os")), CFSTR("Linux"));
    ZpUtilsCFDictionarySetValueString(dict, CFSTR("os"), CFSTR("Windows"));
    EXPECT_EQ(CFDictionaryGetValue(dict, CFSTR("os")), CFSTR("Windows"));
    EXPECT_EQ(CFDictionaryGetCount(dict), 1);
    CFRelease(dict);
}

TEST(ZpCoreUtils, NullArgumentsDoNothing)
{
    CFMutableDictionaryRef dict = ZpUtilsCFDictionaryCreateMutable();
    ZpUtilsCFDictionarySetValueInt(nullptr, CFSTR("a"), 1);
    ZpUtilsCFDictionarySetValueInt(dict, nullptr, 1);
    ZpUtilsCFDictionarySetValueString(nullptr, CFSTR("a"), CFSTR("b"));
    ZpUtilsCFDictionarySetValueString(dict, nullptr, CFSTR("b"));
    ZpUtilsCFDictionarySetValueString(dict, CFSTR("a"), nullptr);
    EXPECT_EQ(CFDictionaryGetCount(dict), 0);
    CFRelease(dict);
}

// The public functions must report the live /sys figures the reader finds; on a
// machine without an amdgpu adapter all of them are 0.
TEST(ZpCoreUtils, VideoMemoryFunctionsReportTheLiveSysfsFigures)
{
    const ZpSysfsVideoMemory::Figures live = ZpSysfsVideoMemory::read("/sys");
    EXPECT_EQ(ZpUtilsGetVRAMDedicatedVideoMemoryInMB(), ZpSysfsVideoMemory::toMiB(live.dedicatedVideo));
    EXPECT_EQ(ZpUtilsGetVRAMDedicatedSystemMemoryInMB(), 0);
    EXPECT_EQ(ZpUtilsGetVRAMSharedSystemMemoryInMB(), ZpSysfsVideoMemory::toMiB(live.sharedSystem));
    // Usage moves while a desktop runs, so only its bounds are fixed.
    const int32_t available = ZpUtilsGetVRAMAvaliableInMB();
    EXPECT_GE(available, 0);
    EXPECT_LE(available, ZpUtilsGetVRAMDedicatedVideoMemoryInMB());
}

} // namespace
