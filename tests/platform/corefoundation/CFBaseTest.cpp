// Object model: the create rule, retain counts (also across threads), type ids,
// equality, hashing, descriptions, and what NULL does.
#include "CFTestSupport.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using zpcf_test::createString;
using zpcf_test::describe;
using zpcf_test::Owned;
using zpcf_test::utf8;

TEST(CFBase, ConstantValuesMatchApple) {
    EXPECT_EQ(kCFNotFound, -1);
    EXPECT_EQ(kCFCompareLessThan, -1);
    EXPECT_EQ(kCFCompareEqualTo, 0);
    EXPECT_EQ(kCFCompareGreaterThan, 1);
    EXPECT_EQ(kCFAllocatorDefault, nullptr);
    EXPECT_EQ(kCFAllocatorSystemDefault, nullptr);
    EXPECT_EQ(sizeof(CFIndex), sizeof(long));
    EXPECT_LT(CFIndex(-1), 0);
    EXPECT_EQ(sizeof(Boolean), 1u);
    EXPECT_EQ(sizeof(UniChar), 2u);
    const CFRange range = CFRangeMake(3, 4);
    EXPECT_EQ(range.location, 3);
    EXPECT_EQ(range.length, 4);
}

TEST(CFBase, CreateGivesOneReferenceAndRetainReleaseCount) {
    CFStringRef str = createString("counted");
    ASSERT_NE(str, nullptr);
    EXPECT_EQ(CFGetRetainCount(str), 1);
    EXPECT_EQ(CFRetain(str), str);
    EXPECT_EQ(CFGetRetainCount(str), 2);
    CFRelease(str);
    EXPECT_EQ(CFGetRetainCount(str), 1);
    CFRelease(str);
}

TEST(CFBase, NullIsToleratedWhereCFReturnsNothing) {
    CFRelease(nullptr); // must not crash
    EXPECT_EQ(CFRetain(nullptr), nullptr);
    EXPECT_EQ(CFGetRetainCount(nullptr), 0);
    EXPECT_EQ(CFGetTypeID(nullptr), 0u);
    EXPECT_EQ(CFHash(nullptr), 0u);
    EXPECT_EQ(CFCopyDescription(nullptr), nullptr);
    EXPECT_TRUE(CFEqual(nullptr, nullptr));
    EXPECT_FALSE(CFEqual(CFSTR("a"), nullptr));
    EXPECT_FALSE(CFEqual(nullptr, CFSTR("a")));
}

TEST(CFBase, TypeIdsAreDistinctAndReported) {
    Owned<CFStringRef> str(createString("s"));
    const int value = 1;
    Owned<CFNumberRef> number(CFNumberCreate(nullptr, kCFNumberIntType, &value));
    Owned<CFArrayRef> array(CFArrayCreate(nullptr, nullptr, 0, &kCFTypeArrayCallBacks));
    Owned<CFDictionaryRef> dict(CFDictionaryCreate(nullptr, nullptr, nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                   &kCFTypeDictionaryValueCallBacks));
    Owned<CFURLRef> url(CFURLCreateWithFileSystemPath(nullptr, CFSTR("/tmp"), kCFURLPOSIXPathStyle, true));

    EXPECT_EQ(CFGetTypeID(str), CFStringGetTypeID());
    EXPECT_EQ(CFGetTypeID(CFSTR("constant")), CFStringGetTypeID());
    EXPECT_EQ(CFGetTypeID(number), CFNumberGetTypeID());
    EXPECT_EQ(CFGetTypeID(kCFBooleanTrue), CFBooleanGetTypeID());
    EXPECT_EQ(CFGetTypeID(array), CFArrayGetTypeID());
    EXPECT_EQ(CFGetTypeID(dict), CFDictionaryGetTypeID());
    EXPECT_EQ(CFGetTypeID(url), CFURLGetTypeID());

    const std::vector<CFTypeID> ids = {CFStringGetTypeID(), CFNumberGetTypeID(), CFBooleanGetTypeID(),
                                       CFArrayGetTypeID(),  CFDictionaryGetTypeID(), CFURLGetTypeID()};
    for (size_t i = 0; i < ids.size(); ++i)
        for (size_t j = i + 1; j < ids.size(); ++j)
            EXPECT_NE(ids[i], ids[j]);
}

TEST(CFBase, EqualAndHashFollowContents) {
    Owned<CFStringRef> a(createString("same text"));
    Owned<CFStringRef> b(createString("same text"));
    Owned<CFStringRef> c(createString("other text"));
    ASSERT_NE(a.get(), b.get());
    EXPECT_TRUE(CFEqual(a, b));
    EXPECT_EQ(CFHash(a), CFHash(b));
    EXPECT_FALSE(CFEqual(a, c));
    EXPECT_TRUE(CFEqual(a, CFSTR("same text")));
    EXPECT_EQ(CFHash(a), CFHash(CFSTR("same text")));

    // Different types are never equal, even when their descriptions match.
    const int one = 1;
    Owned<CFNumberRef> number(CFNumberCreate(nullptr, kCFNumberIntType, &one));
    EXPECT_FALSE(CFEqual(number, CFSTR("1")));
}

TEST(CFBase, DescriptionsAreReadable) {
    EXPECT_EQ(describe(CFSTR("plain text")), "plain text");
    EXPECT_EQ(describe(kCFBooleanTrue), "true");
    EXPECT_EQ(describe(kCFBooleanFalse), "false");
    const long long big = 9000000000LL;
    Owned<CFNumberRef> integer(CFNumberCreate(nullptr, kCFNumberLongLongType, &big));
    EXPECT_EQ(describe(integer), "9000000000");
    const double tenth = 0.1;
    Owned<CFNumberRef> real(CFNumberCreate(nullptr, kCFNumberDoubleType, &tenth));
    EXPECT_EQ(describe(real), "0.1");
    Owned<CFURLRef> url(CFURLCreateWithFileSystemPath(nullptr, CFSTR("/tmp/a b"), kCFURLPOSIXPathStyle, false));
    EXPECT_EQ(describe(url), "file:///tmp/a%20b");
}

TEST(CFBase, CopyDescriptionOfMutableStringIsASnapshot) {
    Owned<CFMutableStringRef> str(CFStringCreateMutable(nullptr, 0));
    CFStringAppend(str, CFSTR("before"));
    Owned<CFStringRef> description(CFCopyDescription(str));
    CFStringAppend(str, CFSTR(" after"));
    EXPECT_EQ(utf8(description), "before");
    EXPECT_NE(static_cast<CFTypeRef>(description.get()), static_cast<CFTypeRef>(str.get()));
}

TEST(CFBase, ReleaseFromManyThreadsDestroysExactlyOnce) {
    // An array with the CFType callbacks holds one reference to the probe; it
    // is released by whichever thread drops the array's last reference.
    Owned<CFStringRef> probe(createString("probe"));
    CFArrayRef array = CFArrayCreate(nullptr, reinterpret_cast<const void **>(&probe), 1, &kCFTypeArrayCallBacks);
    ASSERT_EQ(CFGetRetainCount(probe), 2);

    constexpr int kThreads = 8;
    constexpr int kRounds = 20000;
    for (int i = 0; i < kThreads * kRounds; ++i)
        CFRetain(array);
    EXPECT_EQ(CFGetRetainCount(array), 1 + kThreads * kRounds);

    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([array] {
            for (int i = 0; i < kRounds; ++i) {
                CFRetain(array);
                CFRelease(array);
                CFRelease(array);
            }
        });
    for (std::thread &thread : threads)
        thread.join();

    EXPECT_EQ(CFGetRetainCount(array), 1);
    EXPECT_EQ(CFGetRetainCount(probe), 2);
    CFRelease(array);
    EXPECT_EQ(CFGetRetainCount(probe), 1);
}
