// CFSTR: one immortal object per literal text, across translation units,
// libraries and threads.
#include "CFConstantStringLibrary.h"
#include "CFTestSupport.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

CFStringRef zpcfOtherUnitSharedLiteral(); // CFConstantStringOtherUnit.cpp

using zpcf_test::createString;
using zpcf_test::Owned;
using zpcf_test::utf8;

TEST(CFConstantString, SameTextGivesSamePointerInEveryUnitAndLibrary) {
    CFStringRef here = CFSTR("zpcf shared literal");
    ASSERT_NE(here, nullptr);
    EXPECT_EQ(utf8(here), "zpcf shared literal");
    EXPECT_EQ(here, zpcfOtherUnitSharedLiteral());
    EXPECT_EQ(here, zpcfLibraryLiteralNow());
    EXPECT_EQ(here, zpcfLibraryLiteralFromStaticInit());
    EXPECT_NE(here, CFSTR("zpcf other literal"));
}

TEST(CFConstantString, TextNotPointerDecidesIdentity) {
    // Two different arrays holding the same text are one constant string.
    const std::string first = "built at run time";
    const std::string second = first;
    ASSERT_NE(first.c_str(), second.c_str());
    EXPECT_EQ(__CFStringMakeConstantString(first.c_str()), __CFStringMakeConstantString(second.c_str()));
    EXPECT_EQ(__CFStringMakeConstantString(nullptr), nullptr);
}

TEST(CFConstantString, RetainAndReleaseNeverFreeIt) {
    CFStringRef constant = CFSTR("zpcf immortal");
    const CFIndex count = CFGetRetainCount(constant);
    EXPECT_GT(count, 1000000);
    for (int i = 0; i < 10; ++i)
        CFRelease(constant);
    CFRetain(constant);
    EXPECT_EQ(CFGetRetainCount(constant), count);
    EXPECT_EQ(utf8(constant), "zpcf immortal");
    EXPECT_EQ(CFSTR("zpcf immortal"), constant);
}

TEST(CFConstantString, NonAsciiLiteral) {
    CFStringRef constant = CFSTR("caf\xC3\xA9 \xE4\xB8\xAD");
    EXPECT_EQ(CFStringGetLength(constant), 6);
    Owned<CFStringRef> created(createString("caf\xC3\xA9 \xE4\xB8\xAD"));
    EXPECT_TRUE(CFEqual(constant, created));
    EXPECT_EQ(CFStringGetCStringPtr(constant, kCFStringEncodingUTF8), nullptr);
}

TEST(CFConstantString, ConcurrentFirstUseGivesOneObject) {
    constexpr int kThreads = 8;
    constexpr int kTexts = 200;
    std::vector<std::vector<CFStringRef>> seen(kThreads, std::vector<CFStringRef>(kTexts));
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([t, &seen] {
            for (int i = 0; i < kTexts; ++i) {
                const std::string text = "zpcf race " + std::to_string(i);
                seen[t][i] = __CFStringMakeConstantString(text.c_str());
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    for (int i = 0; i < kTexts; ++i) {
        ASSERT_NE(seen[0][i], nullptr);
        EXPECT_EQ(utf8(seen[0][i]), "zpcf race " + std::to_string(i));
        for (int t = 1; t < kThreads; ++t)
            EXPECT_EQ(seen[t][i], seen[0][i]);
    }
}
