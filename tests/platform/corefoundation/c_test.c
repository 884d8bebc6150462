/* Uses ZpCoreFoundation from plain C (C11) to prove the headers are C-clean and
 * the C calling conventions work. Run by CTest as zpcf_c_test; exits non-zero on
 * the first failed check. */
#include <CoreFoundation/CoreFoundation.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static const char *phase = "";

#define CHECK(cond)                                                                    \
    do {                                                                               \
        if (!(cond)) {                                                                 \
            fprintf(stderr, "%s:%d: %s: check failed: %s\n", __FILE__, __LINE__, phase, \
                    #cond);                                                            \
            exit(1);                                                                   \
        }                                                                              \
    } while (0)

static void CheckText(CFStringRef str, const char *expected) {
    char buffer[256];
    CHECK(str != NULL);
    CHECK(CFStringGetCString(str, buffer, sizeof buffer, kCFStringEncodingUTF8));
    if (strcmp(buffer, expected) != 0) {
        fprintf(stderr, "%s: expected \"%s\", got \"%s\"\n", phase, expected, buffer);
        exit(1);
    }
}

static void CountEntry(const void *key, const void *value, void *context) {
    (void)key;
    (void)value;
    ++*(int *)context;
}

int main(void) {
    phase = "strings";
    {
        CFStringRef str = CFStringCreateWithCString(kCFAllocatorDefault, "caf\xC3\xA9", kCFStringEncodingUTF8);
        CHECK(CFStringGetLength(str) == 4);
        CHECK(CFGetTypeID(str) == CFStringGetTypeID());
        CHECK(CFEqual(str, CFSTR("caf\xC3\xA9")));
        CHECK(CFStringCreateWithCString(NULL, "\xFF", kCFStringEncodingUTF8) == NULL);
        CFRange range = CFStringFind(str, CFSTR("f"), 0);
        CHECK(range.location == 2 && range.length == 1);
        CHECK(CFStringFind(str, CFSTR("z"), 0).location == kCFNotFound);
        CHECK(CFStringCompare(CFSTR("A"), CFSTR("a"), kCFCompareCaseInsensitive) == kCFCompareEqualTo);
        CHECK(CFStringHasPrefix(str, CFSTR("ca")));
        CHECK(CFStringGetCStringPtr(CFSTR("ascii"), kCFStringEncodingUTF8) != NULL);
        CFRelease(str);
        CFRelease(NULL);
    }

    phase = "format";
    {
        CFMutableStringRef str = CFStringCreateMutable(NULL, 0);
        CFStringAppendFormat(str, NULL, CFSTR("%@ %d %ld %lld %llu %s %5.1f%%"), CFSTR("obj"), -1, 2L, 3LL, 4ULL,
                             "c", 2.25);
        CheckText(str, "obj -1 2 3 4 c   2.2%");
        CFStringRef created = CFStringCreateWithFormat(NULL, NULL, CFSTR("[%@]"), (CFTypeRef)NULL);
        CheckText(created, "[(null)]");
        CFRelease(created);
        CFRelease(str);
    }

    phase = "collections";
    {
        CFStringRef value = CFStringCreateWithCString(NULL, "v", kCFStringEncodingUTF8);
        CFMutableArrayRef array = CFArrayCreateMutable(NULL, 0, &kCFTypeArrayCallBacks);
        CFArrayAppendValue(array, value);
        CHECK(CFGetRetainCount(value) == 2);
        CHECK(CFArrayGetCount(array) == 1);
        CHECK(CFArrayGetValueAtIndex(array, 0) == value);
        CHECK(CFArrayGetValueAtIndex(array, 5) == NULL);

        CFMutableDictionaryRef dict =
            CFDictionaryCreateMutable(NULL, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
        CFDictionarySetValue(dict, CFSTR("k"), value);
        CFDictionarySetValue(dict, CFSTR("list"), array);
        CHECK(CFDictionaryGetValue(dict, CFSTR("k")) == value);
        CHECK(CFDictionaryContainsKey(dict, CFSTR("list")));
        int entries = 0;
        CFDictionaryApplyFunction(dict, CountEntry, &entries);
        CHECK(entries == 2);
        CFRelease(array);
        CFRelease(dict);
        CHECK(CFGetRetainCount(value) == 1);

        CFArrayRef pieces = CFStringCreateArrayBySeparatingStrings(NULL, CFSTR("a..b"), CFSTR("."));
        CHECK(CFArrayGetCount(pieces) == 3);
        CheckText((CFStringRef)CFArrayGetValueAtIndex(pieces, 1), "");
        CFRelease(pieces);
        CFRelease(value);
    }

    phase = "numbers";
    {
        SInt64 big = 5000000000LL;
        CFNumberRef number = CFNumberCreate(NULL, kCFNumberSInt64Type, &big);
        SInt32 small = 0;
        CHECK(!CFNumberGetValue(number, kCFNumberSInt32Type, &small));
        double real = 0;
        CHECK(CFNumberGetValue(number, kCFNumberDoubleType, &real) && real == 5e9);
        CHECK(CFNumberGetType(number) == kCFNumberSInt64Type);
        CFRelease(number);
        CHECK(CFBooleanGetValue(kCFBooleanTrue) && !CFBooleanGetValue(kCFBooleanFalse));
    }

    phase = "urls";
    {
        CFURLRef url = CFURLCreateWithFileSystemPath(NULL, CFSTR("C:\\Users\\x y"), kCFURLWindowsPathStyle, false);
        CheckText(CFURLGetString(url), "file:///C:/Users/x%20y");
        CFStringRef last = CFURLCopyLastPathComponent(url);
        CheckText(last, "x y");
        CFRelease(last);
        UInt8 path[64];
        CHECK(CFURLGetFileSystemRepresentation(url, true, path, sizeof path));
        CHECK(strcmp((const char *)path, "/C:/Users/x y") == 0);
        CHECK(!CFURLGetFileSystemRepresentation(url, true, path, 4));
        CFRelease(url);
    }

    fprintf(stderr, "PASS\n");
    return 0;
}
