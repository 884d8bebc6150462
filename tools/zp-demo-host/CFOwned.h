#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <memory>
#include <type_traits>

// Holds one CoreFoundation reference that the host owns (from a Create or
// Copy function) and releases it when the holder goes: the create/copy rule,
// kept by scope. Null is allowed and released by nobody.
struct CFReleaser {
    void operator()(CFTypeRef reference) const
    {
        if (reference)
            CFRelease(reference);
    }
};

template <typename Ref>
using CFOwned = std::unique_ptr<std::remove_pointer_t<Ref>, CFReleaser>;
