#include "Analytics/TrackingObjectFactory.h"

#include <ZpCore/ZpUtils.h>

TrackingObjectFactory& TrackingObjectFactory::current()
{
    static TrackingObjectFactory factory;
    return factory;
}

CFMutableDictionaryRef TrackingObjectFactory::copyOrCreate(CFDictionaryRef properties) const
{
    return properties ? mutableCopy(kCFAllocatorDefault, 0, properties) : emptyDictionary();
}

CFMutableDictionaryRef TrackingObjectFactory::newEmptyDictionary()
{
    return ZpUtilsCFDictionaryCreateMutable();
}
