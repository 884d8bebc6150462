#pragma once

// Ownership of the CoreFoundation references the library keeps or makes.

#include <CoreFoundation/CoreFoundation.h>
#include <ZpQtCoreLite/ZpQtPathUtils.h>

// Replaces *slot with `value`, retained (either may be null); releases what
// *slot held.
template <typename Ref>
void retainInto(Ref* slot, Ref value)
{
    if (value)
        CFRetain(value);
    if (*slot)
        CFRelease(*slot);
    *slot = value;
}

template <typename Ref>
void releaseInto(Ref* slot)
{
    retainInto(slot, Ref(nullptr));
}

// Keeps `given` in *slot, or, when it is null, the product's own user data
// folder (which may be null too).
inline void keepUserAppDataPath(CFURLRef* slot, CFURLRef given, CFStringRef product)
{
    if (given) {
        retainInto(slot, given);
        return;
    }
    CFURLRef own = ZpQtPathUtils::getUserAppDataPathForProduct(product); // created: ours already
    retainInto(slot, own);
    if (own)
        CFRelease(own);
}

// Releases a reference the code made when it goes out of scope.
template <typename Ref>
class CFOwned {
public:
    explicit CFOwned(Ref ref = nullptr)
        : mRef(ref)
    {
    }
    ~CFOwned()
    {
        if (mRef)
            CFRelease(mRef);
    }
    CFOwned(const CFOwned&) = delete;
    CFOwned& operator=(const CFOwned&) = delete;
    Ref get() const { return mRef; }
    explicit operator bool() const { return mRef != nullptr; }

private:
    Ref mRef;
};
