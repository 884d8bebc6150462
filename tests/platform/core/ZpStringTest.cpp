#include <ZpCore/ZpString.h>

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace {

TEST(ZpCoreString, DefaultIsEmptyWithAnEmptyCFString)
{
    const ZpString empty;
    EXPECT_TRUE(empty.isEmpty());
    EXPECT_EQ(empty.length(), 0);
    ASSERT_NE(empty.cfString(), nullptr);
    EXPECT_EQ(CFStringGetLength(empty.cfString()), 0);
    EXPECT_EQ(empty.utf8(), "");
}

TEST(ZpCoreString, NullInputsGiveTheEmptyString)
{
    const ZpString fromCF(static_cast<CFStringRef>(nullptr));
    const ZpString fromUtf16(static_cast<const char16_t*>(nullptr));
    const ZpString fromUtf8(static_cast<const char*>(nullptr));
    for (const ZpString* s : {&fromCF, &fromUtf16, &fromUtf8}) {
        EXPECT_TRUE(s->isEmpty());
        ASSERT_NE(s->cfString(), nullptr);
        EXPECT_EQ(CFStringGetLength(s->cfString()), 0);
    }
}

TEST(ZpCoreString, AllConstructorsAgreeOnNonAsciiText)
{
    // Every character but the emoji is one UTF-16 unit; the emoji is a surrogate
    // pair: 6 + 2 + 1 + 2 = 11 units.
    const char* utf8 = "Grüße 中文 😀";
    const std::u16string utf16 = u"Grüße 中文 😀";
    CFStringRef cf = CFStringCreateWithCString(kCFAllocatorDefault, utf8, kCFStringEncodingUTF8);
    ASSERT_NE(cf, nullptr);

    const ZpString fromUtf8(utf8);
    const ZpString fromPointer(utf16.c_str());
    const ZpString fromU16(utf16);
    const ZpString fromCF(cf);
    CFRelease(cf);

    for (const ZpString* s : {&fromUtf8, &fromPointer, &fromU16, &fromCF}) {
        EXPECT_EQ(s->length(), 11);
        EXPECT_FALSE(s->isEmpty());
        EXPECT_EQ(s->utf16(), utf16);
        EXPECT_EQ(s->utf8(), utf8);
        EXPECT_EQ(CFStringGetLength(s->cfString()), 11);
        EXPECT_EQ(CFStringGetCharacterAtIndex(s->cfString(), 9), 0xD83D);
        EXPECT_TRUE(*s == fromUtf8);
    }
}

TEST(ZpCoreString, InvalidUtf8GivesTheEmptyString)
{
    EXPECT_TRUE(ZpString("abc\xff").isEmpty());
    EXPECT_TRUE(ZpString("\xc3").isEmpty());
}

TEST(ZpCoreString, CFStringConstructorKeepsAnImmutableCopy)
{
    CFMutableStringRef mutableText = CFStringCreateMutableCopy(kCFAllocatorDefault, 0, CFSTR("before"));
    const ZpString copy(mutableText);
    CFStringAppend(mutableText, CFSTR(" after"));
    CFRelease(mutableText);
    EXPECT_EQ(copy.utf8(), "before");
    EXPECT_EQ(ZpString(copy.cfString()).utf8(), "before");
}

TEST(ZpCoreString, CFStringConstructorRetainsAnImmutableString)
{
    CFStringRef created = CFStringCreateWithCString(kCFAllocatorDefault, "kept", kCFStringEncodingUTF8);
    const CFIndex before = CFGetRetainCount(created);
    {
        const ZpString held(created);
        EXPECT_EQ(held.cfString(), created);
        EXPECT_EQ(CFGetRetainCount(created), before + 1);
    }
    EXPECT_EQ(CFGetRetainCount(created), before);
    CFRelease(created);
}

TEST(ZpCoreString, CFStringOutlivesTheSourceOfACopy)
{
    ZpString copy;
    {
        const ZpString original(u"short-lived");
        copy = original;
        EXPECT_EQ(copy.cfString(), original.cfString());
    }
    EXPECT_EQ(ZpString(copy.cfString()).utf8(), "short-lived");
}

TEST(ZpCoreString, CopiesAreIndependentValues)
{
    ZpString a("one");
    ZpString b(a);
    EXPECT_EQ(a, b);
    b = ZpString("two");
    EXPECT_EQ(a.utf8(), "one");
    EXPECT_EQ(b.utf8(), "two");
    EXPECT_NE(a, b);

    ZpString& self = a;
    a = self;
    EXPECT_EQ(a.utf8(), "one");
}

TEST(ZpCoreString, MovingTransfersTheTextAndLeavesAUsableObject)
{
    ZpString source("moving");
    CFStringRef cf = source.cfString();
    ZpString target(std::move(source));
    EXPECT_EQ(target.utf8(), "moving");
    EXPECT_EQ(target.cfString(), cf);
    ASSERT_NE(source.cfString(), nullptr); // NOLINT(bugprone-use-after-move): moved-from must stay usable
    EXPECT_TRUE(source.isEmpty());

    ZpString other("other");
    other = std::move(target);
    EXPECT_EQ(other.utf8(), "moving");
    ASSERT_NE(target.cfString(), nullptr); // NOLINT(bugprone-use-after-move)
    source = ZpString("reused");
    EXPECT_EQ(source.utf8(), "reused");
}

TEST(ZpCoreString, EqualityComparesText)
{
    EXPECT_TRUE(ZpString("abc") == ZpString(CFSTR("abc")));
    EXPECT_FALSE(ZpString("abc") != ZpString(u"abc"));
    EXPECT_TRUE(ZpString("abc") != ZpString("abd"));
    EXPECT_TRUE(ZpString("abc") != ZpString("ABC"));
    EXPECT_TRUE(ZpString("abc") != ZpString("abc "));
    EXPECT_TRUE(ZpString() == ZpString(""));
}

TEST(ZpCoreString, OrderIsLexicographicByUtf16CodeUnits)
{
    EXPECT_TRUE(ZpString("") < ZpString("a"));
    EXPECT_TRUE(ZpString("a") < ZpString("ab"));
    EXPECT_TRUE(ZpString("ab") < ZpString("b"));
    EXPECT_TRUE(ZpString("B") < ZpString("a"));
    EXPECT_FALSE(ZpString("a") < ZpString("a"));
    EXPECT_FALSE(ZpString("b") < ZpString("a"));
    // U+1F600 is stored as D83D DE00, below the single unit U+FFFD: code-unit
    // order, not code-point order.
    EXPECT_TRUE(ZpString(u"😀") < ZpString(u"\uFFFD"));
    EXPECT_FALSE(ZpString(u"\uFFFD") < ZpString(u"😀"));
    EXPECT_TRUE(ZpString(u"é") < ZpString(u"中"));
}

TEST(ZpCoreString, WorksAsMapKey)
{
    std::map<ZpString, int> counts;
    counts[ZpString("beta")] = 2;
    counts[ZpString(CFSTR("alpha"))] = 1;
    counts[ZpString(u"中文")] = 3;
    counts[ZpString("beta")] += 10;

    ASSERT_EQ(counts.size(), 3u);
    std::vector<std::string> order;
    for (const auto& entry : counts)
        order.push_back(entry.first.utf8());
    EXPECT_EQ(order, (std::vector<std::string>{"alpha", "beta", "中文"}));
    EXPECT_EQ(counts.at(ZpString(u"alpha")), 1);
    EXPECT_EQ(counts.at(ZpString(CFSTR("beta"))), 12);
    EXPECT_EQ(counts.at(ZpString("中文")), 3);
    EXPECT_EQ(counts.count(ZpString("gamma")), 0u);
}

} // namespace
