#include <ZpCore/ZpUtils.h>

extern "C" {

CFMutableDictionaryRef ZpUtilsCFDictionaryCreateMutable(void)
{
    return CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                     &kCFTypeDictionaryValueCallBacks);
}

void ZpUtilsCFDictionarySetValueInt(CFMutableDictionaryRef dict, CFStringRef key, int32_t value)
{
    if (!dict || !key)
        return;
    CFNumberRef number = CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt32Type, &value);
    if (!number)
        return;
    CFDictionarySetValue(dict, key, number);
    CFRelease(number);
}

void ZpUtilsCFDictionarySetValueString(CFMutableDictionaryRef dict, CFStringRef key, CFStringRef value)
{
    if (!dict || !key || !value)
        return;
    CFDictionarySetValue(dict, key, value);
}

} // extern "C"
