// Dictionaries: keys by content, ownership of keys and values, insertion
// order, copies, and the NULL cases.
#include "CFTestSupport.h"

#include <gtest/gtest.h>

#include <vector>

using zpcf_test::createString;
using zpcf_test::describe;
using zpcf_test::Owned;
using zpcf_test::utf8;

namespace {

CFMutableDictionaryRef createTypeDictionary() {
    return CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
}

std::vector<std::string> keysInOrder(CFDictionaryRef dict) {
    std::vector<std::string> keys;
    CFDictionaryApplyFunction(
        dict,
        [](const void *key, const void *, void *context) {
            static_cast<std::vector<std::string> *>(context)->push_back(utf8(static_cast<CFStringRef>(key)));
        },
        &keys);
    return keys;
}

} // namespace

TEST(CFDictionary, ConstantAndCreatedStringsAreTheSameKey) {
    Owned<CFMutableDictionaryRef> dict(createTypeDictionary());
    CFDictionarySetValue(dict, CFSTR("product"), CFSTR("toolbox"));
    Owned<CFStringRef> created(createString("product"));
    EXPECT_EQ(CFDictionaryGetValue(dict, created), CFSTR("toolbox"));
    EXPECT_TRUE(CFDictionaryContainsKey(dict, created));

    // And the other way round: a created key found through CFSTR.
    Owned<CFStringRef> key(createString("\xE4\xB8\xAD\xE6\x96\x87"));
    CFDictionarySetValue(dict, key, kCFBooleanTrue);
    EXPECT_EQ(CFDictionaryGetValue(dict, CFSTR("\xE4\xB8\xAD\xE6\x96\x87")), kCFBooleanTrue);
    EXPECT_EQ(CFDictionaryGetCount(dict), 2);

    // Setting through an equal key replaces, it does not add.
    CFDictionarySetValue(dict, created, CFSTR("other"));
    EXPECT_EQ(CFDictionaryGetCount(dict), 2);
    EXPECT_EQ(CFDictionaryGetValue(dict, CFSTR("product")), CFSTR("other"));
}

TEST(CFDictionary, KeysAndValuesAreRetainedAndReleased) {
    CFStringRef key = createString("key");
    CFStringRef value = createString("value");
    CFStringRef replacement = createString("replacement");
    CFMutableDictionaryRef dict = createTypeDictionary();

    CFDictionarySetValue(dict, key, value);
    EXPECT_EQ(CFGetRetainCount(key), 2);
    EXPECT_EQ(CFGetRetainCount(value), 2);
    EXPECT_EQ(CFGetRetainCount(dict), 1);

    CFDictionaryGetValue(dict, key); // borrowed
    EXPECT_EQ(CFGetRetainCount(value), 2);

    CFDictionarySetValue(dict, key, replacement); // the old value is released
    EXPECT_EQ(CFGetRetainCount(value), 1);
    EXPECT_EQ(CFGetRetainCount(replacement), 2);
    EXPECT_EQ(CFGetRetainCount(key), 2);

    CFDictionaryRemoveValue(dict, key);
    EXPECT_EQ(CFGetRetainCount(key), 1);
    EXPECT_EQ(CFGetRetainCount(replacement), 1);
    EXPECT_EQ(CFDictionaryGetCount(dict), 0);

    CFDictionarySetValue(dict, key, value);
    CFRelease(dict); // destruction releases what is left
    EXPECT_EQ(CFGetRetainCount(key), 1);
    EXPECT_EQ(CFGetRetainCount(value), 1);
    CFRelease(key);
    CFRelease(value);
    CFRelease(replacement);
}

TEST(CFDictionary, AddValueDoesNothingWhenTheKeyExists) {
    Owned<CFMutableDictionaryRef> dict(createTypeDictionary());
    Owned<CFStringRef> second(createString("second"));
    CFDictionaryAddValue(dict, CFSTR("k"), CFSTR("first"));
    CFDictionaryAddValue(dict, CFSTR("k"), second);
    EXPECT_EQ(CFDictionaryGetValue(dict, CFSTR("k")), CFSTR("first"));
    EXPECT_EQ(CFGetRetainCount(second), 1); // not retained either
    EXPECT_EQ(CFDictionaryGetCount(dict), 1);
}

TEST(CFDictionary, GetValueIfPresentTellsAbsentFromNull) {
    int marker = 0;
    Owned<CFMutableDictionaryRef> dict(CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, nullptr));
    CFDictionarySetValue(dict, CFSTR("null"), nullptr);
    CFDictionarySetValue(dict, CFSTR("ptr"), &marker);
    const void *value = &marker;
    EXPECT_TRUE(CFDictionaryGetValueIfPresent(dict, CFSTR("null"), &value));
    EXPECT_EQ(value, nullptr);
    EXPECT_TRUE(CFDictionaryGetValueIfPresent(dict, CFSTR("ptr"), &value));
    EXPECT_EQ(value, &marker);
    EXPECT_TRUE(CFDictionaryGetValueIfPresent(dict, CFSTR("ptr"), nullptr));
    value = &marker;
    EXPECT_FALSE(CFDictionaryGetValueIfPresent(dict, CFSTR("absent"), &value));
    EXPECT_EQ(value, &marker); // untouched
    EXPECT_FALSE(CFDictionaryContainsKey(dict, CFSTR("absent")));
    EXPECT_EQ(CFDictionaryGetValue(dict, CFSTR("absent")), nullptr);
}

TEST(CFDictionary, IterationFollowsInsertionOrder) {
    Owned<CFMutableDictionaryRef> dict(createTypeDictionary());
    for (const char *key : {"zeta", "alpha", "mid", "beta"}) {
        Owned<CFStringRef> k(createString(key));
        CFDictionarySetValue(dict, k, kCFBooleanTrue);
    }
    CFDictionarySetValue(dict, CFSTR("alpha"), kCFBooleanFalse); // keeps its place
    CFDictionaryRemoveValue(dict, CFSTR("mid"));
    CFDictionarySetValue(dict, CFSTR("mid"), kCFBooleanFalse); // back at the end
    EXPECT_EQ(keysInOrder(dict), (std::vector<std::string>{"zeta", "alpha", "beta", "mid"}));
    EXPECT_EQ(describe(dict), "{\n    zeta = true;\n    alpha = false;\n    beta = true;\n    mid = false;\n}");
}

TEST(CFDictionary, CreateWithArraysAndRepeatedKeys) {
    const void *keys[] = {CFSTR("a"), CFSTR("b"), CFSTR("a")};
    const void *values[] = {CFSTR("1"), CFSTR("2"), CFSTR("3")};
    Owned<CFDictionaryRef> dict(CFDictionaryCreate(nullptr, keys, values, 3, &kCFTypeDictionaryKeyCallBacks,
                                                   &kCFTypeDictionaryValueCallBacks));
    ASSERT_TRUE(dict);
    EXPECT_EQ(CFDictionaryGetCount(dict), 2);
    EXPECT_EQ(CFDictionaryGetValue(dict, CFSTR("a")), CFSTR("3"));
    EXPECT_EQ(CFDictionaryGetValue(dict, CFSTR("b")), CFSTR("2"));
    // Immutable: mutating calls are ignored.
    CFDictionarySetValue(const_cast<CFMutableDictionaryRef>(dict.get()), CFSTR("c"), CFSTR("4"));
    CFDictionaryRemoveValue(const_cast<CFMutableDictionaryRef>(dict.get()), CFSTR("a"));
    EXPECT_EQ(CFDictionaryGetCount(dict), 2);
    EXPECT_EQ(CFDictionaryCreate(nullptr, nullptr, values, 1, nullptr, nullptr), nullptr);
}

TEST(CFDictionary, NullCallBacksMeanIdentityAndNoRetain) {
    Owned<CFStringRef> key(createString("k"));
    Owned<CFStringRef> equalKey(createString("k"));
    Owned<CFStringRef> value(createString("v"));
    Owned<CFMutableDictionaryRef> dict(CFDictionaryCreateMutable(nullptr, 0, nullptr, nullptr));
    CFDictionarySetValue(dict, key, value);
    EXPECT_EQ(CFGetRetainCount(key), 1);
    EXPECT_EQ(CFGetRetainCount(value), 1);
    EXPECT_EQ(CFDictionaryGetValue(dict, key), value.get());
    EXPECT_EQ(CFDictionaryGetValue(dict, equalKey), nullptr); // a different pointer
    int rawKey = 0;
    CFDictionarySetValue(dict, &rawKey, &rawKey);
    EXPECT_EQ(CFDictionaryGetValue(dict, &rawKey), &rawKey);
}

TEST(CFDictionary, MutableCopyRetainsAgainAndIsIndependent) {
    Owned<CFMutableDictionaryRef> original(createTypeDictionary());
    Owned<CFStringRef> value(createString("v"));
    CFDictionarySetValue(original, CFSTR("k"), value);
    EXPECT_EQ(CFGetRetainCount(value), 2);
    {
        Owned<CFMutableDictionaryRef> copy(CFDictionaryCreateMutableCopy(nullptr, 0, original));
        ASSERT_TRUE(copy);
        EXPECT_EQ(CFGetRetainCount(value), 3);
        EXPECT_TRUE(CFEqual(copy, original));
        CFDictionarySetValue(copy, CFSTR("extra"), kCFBooleanTrue);
        EXPECT_EQ(CFDictionaryGetCount(original), 1);
        EXPECT_FALSE(CFEqual(copy, original));
    }
    EXPECT_EQ(CFGetRetainCount(value), 2);

    Owned<CFMutableDictionaryRef> fromNull(CFDictionaryCreateMutableCopy(nullptr, 0, nullptr));
    ASSERT_TRUE(fromNull);
    EXPECT_EQ(CFDictionaryGetCount(fromNull), 0);
    Owned<CFStringRef> key(createString("retained key"));
    CFDictionarySetValue(fromNull, key, kCFBooleanTrue);
    EXPECT_EQ(CFGetRetainCount(key), 2); // the empty copy uses the CFType callbacks
}

TEST(CFDictionary, EqualityComparesEntriesNotOrder) {
    Owned<CFMutableDictionaryRef> a(createTypeDictionary());
    Owned<CFMutableDictionaryRef> b(createTypeDictionary());
    CFDictionarySetValue(a, CFSTR("x"), CFSTR("1"));
    CFDictionarySetValue(a, CFSTR("y"), CFSTR("2"));
    Owned<CFStringRef> one(createString("1"));
    CFDictionarySetValue(b, CFSTR("y"), CFSTR("2"));
    CFDictionarySetValue(b, CFSTR("x"), one);
    EXPECT_TRUE(CFEqual(a, b));
    EXPECT_EQ(CFHash(a), CFHash(b));
    CFDictionarySetValue(b, CFSTR("x"), CFSTR("changed"));
    EXPECT_FALSE(CFEqual(a, b));
}

TEST(CFDictionary, NullDictionaryIsTolerated) {
    EXPECT_EQ(CFDictionaryGetCount(nullptr), 0);
    EXPECT_EQ(CFDictionaryGetValue(nullptr, CFSTR("k")), nullptr);
    EXPECT_FALSE(CFDictionaryContainsKey(nullptr, CFSTR("k")));
    EXPECT_FALSE(CFDictionaryGetValueIfPresent(nullptr, CFSTR("k"), nullptr));
    CFDictionarySetValue(nullptr, CFSTR("k"), CFSTR("v"));
    CFDictionaryAddValue(nullptr, CFSTR("k"), CFSTR("v"));
    CFDictionaryRemoveValue(nullptr, CFSTR("k"));
    CFDictionaryApplyFunction(nullptr, [](const void *, const void *, void *) { FAIL(); }, nullptr);
    Owned<CFMutableDictionaryRef> dict(createTypeDictionary());
    CFDictionaryRemoveValue(dict, CFSTR("absent")); // nothing to remove
    EXPECT_EQ(CFDictionaryGetCount(dict), 0);
}

TEST(CFDictionary, CallBackConstantsHaveAppleLayout) {
    EXPECT_EQ(kCFTypeDictionaryKeyCallBacks.version, 0);
    EXPECT_NE(kCFTypeDictionaryKeyCallBacks.retain, nullptr);
    EXPECT_NE(kCFTypeDictionaryKeyCallBacks.release, nullptr);
    EXPECT_EQ(kCFTypeDictionaryKeyCallBacks.copyDescription, &CFCopyDescription);
    EXPECT_EQ(kCFTypeDictionaryKeyCallBacks.equal, &CFEqual);
    EXPECT_EQ(kCFTypeDictionaryKeyCallBacks.hash, &CFHash);
    EXPECT_EQ(kCFTypeDictionaryValueCallBacks.equal, &CFEqual);
    EXPECT_EQ(kCFTypeArrayCallBacks.equal, &CFEqual);
    EXPECT_EQ(sizeof(CFDictionaryKeyCallBacks), 6 * sizeof(void *));
    EXPECT_EQ(sizeof(CFDictionaryValueCallBacks), 5 * sizeof(void *));
    EXPECT_EQ(sizeof(CFArrayCallBacks), 5 * sizeof(void *));
}
