/*
 * CoreFoundation.h: the whole of ZpCoreFoundation, for code written against
 * Apple's <CoreFoundation/CoreFoundation.h>.
 */
#ifndef ZPCOREFOUNDATION_COREFOUNDATION_H
#define ZPCOREFOUNDATION_COREFOUNDATION_H

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFArray.h>
#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFNumber.h>
#include <CoreFoundation/CFString.h>
#include <CoreFoundation/CFURL.h>

#endif /* ZPCOREFOUNDATION_COREFOUNDATION_H */
