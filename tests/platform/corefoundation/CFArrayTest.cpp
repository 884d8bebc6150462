// Arrays: what the callbacks do with values, bounds, equality, descriptions.
#include "CFTestSupport.h"

#include <gtest/gtest.h>

using zpcf_test::createString;
using zpcf_test::describe;
using zpcf_test::Owned;

TEST(CFArray, TypeCallBacksRetainAndReleaseValues) {
    CFStringRef a = createString("a");
    CFStringRef b = createString("b");
    const void *values[] = {a, b};
    CFArrayRef array = CFArrayCreate(nullptr, values, 2, &kCFTypeArrayCallBacks);
    ASSERT_NE(array, nullptr);
    EXPECT_EQ(CFGetRetainCount(array), 1);
    EXPECT_EQ(CFGetRetainCount(a), 2);
    EXPECT_EQ(CFGetRetainCount(b), 2);
    EXPECT_EQ(CFArrayGetCount(array), 2);
    EXPECT_EQ(CFArrayGetValueAtIndex(array, 0), a);
    EXPECT_EQ(CFArrayGetValueAtIndex(array, 1), b);
    EXPECT_EQ(CFGetRetainCount(a), 2); // Get borrows: no new reference
    CFRelease(array);
    EXPECT_EQ(CFGetRetainCount(a), 1);
    EXPECT_EQ(CFGetRetainCount(b), 1);
    CFRelease(a);
    CFRelease(b);
}

TEST(CFArray, MutableArrayRetainsAppendedValues) {
    CFMutableArrayRef array = CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks);
    ASSERT_NE(array, nullptr);
    EXPECT_EQ(CFArrayGetCount(array), 0);
    CFStringRef value = createString("v");
    CFArrayAppendValue(array, value);
    CFArrayAppendValue(array, value);
    EXPECT_EQ(CFGetRetainCount(value), 3);
    EXPECT_EQ(CFArrayGetCount(array), 2);
    CFRelease(array);
    EXPECT_EQ(CFGetRetainCount(value), 1);
    CFRelease(value);
}

TEST(CFArray, NullCallBacksKeepRawPointers) {
    int first = 1, second = 2;
    const void *values[] = {&first, &second};
    Owned<CFArrayRef> array(CFArrayCreate(nullptr, values, 2, nullptr));
    EXPECT_EQ(CFArrayGetValueAtIndex(array, 1), &second);

    CFStringRef str = createString("not retained");
    Owned<CFMutableArrayRef> raw(CFArrayCreateMutable(nullptr, 0, nullptr));
    CFArrayAppendValue(raw, str);
    EXPECT_EQ(CFGetRetainCount(str), 1);
    CFRelease(str);
}

TEST(CFArray, CustomCallBacksAreCalled) {
    static int retained = 0, released = 0;
    retained = released = 0;
    CFArrayCallBacks counting = {0, [](CFAllocatorRef, const void *v) { ++retained; return v; },
                                 [](CFAllocatorRef, const void *) { ++released; }, nullptr, nullptr};
    int x = 0;
    CFMutableArrayRef array = CFArrayCreateMutable(nullptr, 0, &counting);
    counting.retain = nullptr; // the array keeps its own copy of the struct
    CFArrayAppendValue(array, &x);
    CFArrayAppendValue(array, &x);
    EXPECT_EQ(retained, 2);
    CFRelease(array);
    EXPECT_EQ(released, 2);
}

TEST(CFArray, OutOfRangeAndNullAreTolerated) {
    const void *values[] = {CFSTR("only")};
    Owned<CFArrayRef> array(CFArrayCreate(nullptr, values, 1, &kCFTypeArrayCallBacks));
    EXPECT_EQ(CFArrayGetValueAtIndex(array, 1), nullptr);
    EXPECT_EQ(CFArrayGetValueAtIndex(array, -1), nullptr);
    EXPECT_EQ(CFArrayGetValueAtIndex(nullptr, 0), nullptr);
    EXPECT_EQ(CFArrayGetCount(nullptr), 0);
    EXPECT_EQ(CFArrayCreate(nullptr, nullptr, 2, &kCFTypeArrayCallBacks), nullptr);
    EXPECT_EQ(CFArrayCreate(nullptr, values, -1, &kCFTypeArrayCallBacks), nullptr);
    CFArrayAppendValue(nullptr, CFSTR("x"));
    // Appending to an immutable array is ignored.
    CFArrayAppendValue(const_cast<CFMutableArrayRef>(array.get()), CFSTR("x"));
    EXPECT_EQ(CFArrayGetCount(array), 1);
    Owned<CFArrayRef> empty(CFArrayCreate(nullptr, nullptr, 0, &kCFTypeArrayCallBacks));
    ASSERT_TRUE(empty);
    EXPECT_EQ(CFArrayGetCount(empty), 0);
}

TEST(CFArray, EqualityUsesTheEqualCallBack) {
    Owned<CFStringRef> created(createString("x"));
    const void *constant[] = {CFSTR("x")};
    const void *dynamic[] = {created.get()};
    Owned<CFArrayRef> a(CFArrayCreate(nullptr, constant, 1, &kCFTypeArrayCallBacks));
    Owned<CFArrayRef> b(CFArrayCreate(nullptr, dynamic, 1, &kCFTypeArrayCallBacks));
    EXPECT_TRUE(CFEqual(a, b));
    EXPECT_EQ(CFHash(a), CFHash(b));
    Owned<CFArrayRef> rawA(CFArrayCreate(nullptr, constant, 1, nullptr));
    Owned<CFArrayRef> rawB(CFArrayCreate(nullptr, dynamic, 1, nullptr));
    EXPECT_FALSE(CFEqual(rawA, rawB)); // identity only without callbacks
    Owned<CFArrayRef> shorter(CFArrayCreate(nullptr, nullptr, 0, &kCFTypeArrayCallBacks));
    EXPECT_FALSE(CFEqual(a, shorter));
}

TEST(CFArray, DescriptionNestsCollections) {
    const void *inner[] = {CFSTR("x")};
    Owned<CFArrayRef> nested(CFArrayCreate(nullptr, inner, 1, &kCFTypeArrayCallBacks));
    const int seven = 7;
    Owned<CFNumberRef> number(CFNumberCreate(nullptr, kCFNumberIntType, &seven));
    const void *outer[] = {number.get(), nested.get()};
    Owned<CFArrayRef> array(CFArrayCreate(nullptr, outer, 2, &kCFTypeArrayCallBacks));
    EXPECT_EQ(describe(array), "(\n    7,\n    (\n        x\n    )\n)");
    Owned<CFArrayRef> empty(CFArrayCreate(nullptr, nullptr, 0, &kCFTypeArrayCallBacks));
    EXPECT_EQ(describe(empty), "(\n)");
    int raw = 0;
    const void *pointers[] = {&raw};
    Owned<CFArrayRef> rawArray(CFArrayCreate(nullptr, pointers, 1, nullptr));
    EXPECT_NE(describe(rawArray).find("<0x"), std::string::npos);
}
