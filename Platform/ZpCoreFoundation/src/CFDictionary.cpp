// CFDictionary.cpp: dictionaries that keep insertion order.
//
// Entries live in a std::list in the order their keys were first added; an
// std::unordered_map from key to list position finds them, hashing and
// comparing keys through the key callbacks (or by pointer when there are none).
#include "CFRuntime.h"

#include <functional>
#include <list>
#include <new>
#include <unordered_map>
#include <utility>

namespace {

const void *retainCFType(CFAllocatorRef, const void *value) { return CFRetain(value); }
void releaseCFType(CFAllocatorRef, const void *value) { CFRelease(value); }

CFDictionaryKeyCallBacks keyCallBacksOrNone(const CFDictionaryKeyCallBacks *callBacks) {
    return callBacks ? *callBacks : CFDictionaryKeyCallBacks{0, nullptr, nullptr, nullptr, nullptr, nullptr};
}

CFDictionaryValueCallBacks valueCallBacksOrNone(const CFDictionaryValueCallBacks *callBacks) {
    return callBacks ? *callBacks : CFDictionaryValueCallBacks{0, nullptr, nullptr, nullptr, nullptr};
}

struct KeyHash {
    CFDictionaryHashCallBack hash;
    size_t operator()(const void *key) const {
        return hash ? static_cast<size_t>(hash(key)) : std::hash<const void *>()(key);
    }
};

struct KeyEqual {
    CFDictionaryEqualCallBack equal;
    bool operator()(const void *a, const void *b) const { return a == b || (equal && equal(a, b)); }
};

} // namespace

const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks = {0,       retainCFType, releaseCFType,
                                                                 CFCopyDescription, CFEqual, CFHash};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks = {0, retainCFType, releaseCFType,
                                                                     CFCopyDescription, CFEqual};

struct __CFDictionary final : zpcf::Object {
    struct Entry {
        const void *key;
        const void *value;
    };
    using Entries = std::list<Entry>;

    __CFDictionary(const CFDictionaryKeyCallBacks &keyCallBacks_, const CFDictionaryValueCallBacks &valueCallBacks_,
                   bool isMutable_)
        : keyCallBacks(keyCallBacks_), valueCallBacks(valueCallBacks_), isMutable(isMutable_),
          index(0, KeyHash{keyCallBacks.hash}, KeyEqual{keyCallBacks.equal}) {}

    ~__CFDictionary() override {
        for (const Entry &entry : entries)
            releaseEntry(entry);
    }

    CFTypeID typeID() const override { return zpcf::kTypeIDDictionary; }

    bool equals(const Object &other) const override {
        const auto &that = static_cast<const __CFDictionary &>(other);
        if (entries.size() != that.entries.size())
            return false;
        for (const Entry &entry : entries) {
            const Entry *found = that.find(entry.key);
            if (!found)
                return false;
            const bool same = valueCallBacks.equal ? valueCallBacks.equal(entry.value, found->value) != 0
                                                   : entry.value == found->value;
            if (!same)
                return false;
        }
        return true;
    }

    CFHashCode hash() const override { return static_cast<CFHashCode>(entries.size()); }

    std::u16string description() const override {
        std::u16string out = u"{\n";
        for (const Entry &entry : entries) {
            std::u16string line = zpcf::describeValue(entry.key, keyCallBacks.copyDescription) + u" = " +
                                  zpcf::describeValue(entry.value, valueCallBacks.copyDescription) + u";";
            for (size_t at = line.find(u'\n'); at != std::u16string::npos; at = line.find(u'\n', at + 1))
                line.insert(at + 1, u"    ");
            out += u"    " + line + u"\n";
        }
        out += u"}";
        return out;
    }

    const Entry *find(const void *key) const {
        auto found = index.find(key);
        return found == index.end() ? nullptr : &*found->second;
    }

    // Stores a new entry or, when replace is set, a new value for an existing
    // key. On std::bad_alloc the dictionary is left as it was.
    void put(const void *key, const void *value, bool replace) {
        auto found = index.find(key);
        if (found != index.end()) {
            if (!replace)
                return;
            Entry &entry = *found->second;
            const void *old = entry.value;
            entry.value = valueCallBacks.retain ? valueCallBacks.retain(nullptr, value) : value;
            if (valueCallBacks.release)
                valueCallBacks.release(nullptr, old);
            return;
        }
        const Entry entry{keyCallBacks.retain ? keyCallBacks.retain(nullptr, key) : key,
                          valueCallBacks.retain ? valueCallBacks.retain(nullptr, value) : value};
        try {
            entries.push_back(entry);
            try {
                index.emplace(entry.key, std::prev(entries.end()));
            } catch (...) {
                entries.pop_back();
                throw;
            }
        } catch (...) {
            releaseEntry(entry);
            throw;
        }
    }

    void remove(const void *key) {
        auto found = index.find(key);
        if (found == index.end())
            return;
        const Entry entry = *found->second;
        entries.erase(found->second);
        index.erase(found);
        releaseEntry(entry);
    }

    void releaseEntry(const Entry &entry) const {
        if (keyCallBacks.release)
            keyCallBacks.release(nullptr, entry.key);
        if (valueCallBacks.release)
            valueCallBacks.release(nullptr, entry.value);
    }

    const CFDictionaryKeyCallBacks keyCallBacks;
    const CFDictionaryValueCallBacks valueCallBacks;
    const bool isMutable;
    Entries entries;
    std::unordered_map<const void *, Entries::iterator, KeyHash, KeyEqual> index;
};

namespace {

__CFDictionary *mutableDictionary(CFMutableDictionaryRef dict) {
    return (zpcf::isA(dict, zpcf::kTypeIDDictionary) && dict->isMutable) ? dict : nullptr;
}

const __CFDictionary *dictionary(CFDictionaryRef dict) {
    return zpcf::isA(dict, zpcf::kTypeIDDictionary) ? dict : nullptr;
}

} // namespace

CFTypeID CFDictionaryGetTypeID(void) { return zpcf::kTypeIDDictionary; }

CFDictionaryRef CFDictionaryCreate(CFAllocatorRef, const void **keys, const void **values, CFIndex numValues,
                                   const CFDictionaryKeyCallBacks *keyCallBacks,
                                   const CFDictionaryValueCallBacks *valueCallBacks) {
    if (numValues < 0 || ((!keys || !values) && numValues > 0))
        return nullptr;
    __CFDictionary *dict = nullptr;
    try {
        dict = new __CFDictionary(keyCallBacksOrNone(keyCallBacks), valueCallBacksOrNone(valueCallBacks), false);
        for (CFIndex i = 0; i < numValues; ++i)
            dict->put(keys[i], values[i], true);
        return dict;
    } catch (const std::bad_alloc &) {
        delete dict;
        return nullptr;
    }
}

CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef, CFIndex capacity,
                                                 const CFDictionaryKeyCallBacks *keyCallBacks,
                                                 const CFDictionaryValueCallBacks *valueCallBacks) {
    if (capacity < 0)
        return nullptr;
    try {
        return new __CFDictionary(keyCallBacksOrNone(keyCallBacks), valueCallBacksOrNone(valueCallBacks), true);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

CFMutableDictionaryRef CFDictionaryCreateMutableCopy(CFAllocatorRef, CFIndex capacity, CFDictionaryRef theDict) {
    if (capacity < 0)
        return nullptr;
    const __CFDictionary *source = dictionary(theDict);
    __CFDictionary *copy = nullptr;
    try {
        if (!source)
            return new __CFDictionary(kCFTypeDictionaryKeyCallBacks, kCFTypeDictionaryValueCallBacks, true);
        copy = new __CFDictionary(source->keyCallBacks, source->valueCallBacks, true);
        for (const __CFDictionary::Entry &entry : source->entries)
            copy->put(entry.key, entry.value, true);
        return copy;
    } catch (const std::bad_alloc &) {
        delete copy;
        return nullptr;
    }
}

CFIndex CFDictionaryGetCount(CFDictionaryRef theDict) {
    const __CFDictionary *dict = dictionary(theDict);
    return dict ? static_cast<CFIndex>(dict->entries.size()) : 0;
}

Boolean CFDictionaryContainsKey(CFDictionaryRef theDict, const void *key) {
    const __CFDictionary *dict = dictionary(theDict);
    return dict && dict->find(key);
}

const void *CFDictionaryGetValue(CFDictionaryRef theDict, const void *key) {
    const __CFDictionary *dict = dictionary(theDict);
    const __CFDictionary::Entry *entry = dict ? dict->find(key) : nullptr;
    return entry ? entry->value : nullptr;
}

Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef theDict, const void *key, const void **value) {
    const __CFDictionary *dict = dictionary(theDict);
    const __CFDictionary::Entry *entry = dict ? dict->find(key) : nullptr;
    if (!entry)
        return false;
    if (value)
        *value = entry->value;
    return true;
}

void CFDictionaryApplyFunction(CFDictionaryRef theDict, CFDictionaryApplierFunction applier, void *context) {
    const __CFDictionary *dict = dictionary(theDict);
    if (!dict || !applier)
        return;
    for (const __CFDictionary::Entry &entry : dict->entries)
        applier(entry.key, entry.value, context);
}

void CFDictionaryAddValue(CFMutableDictionaryRef theDict, const void *key, const void *value) {
    if (__CFDictionary *dict = mutableDictionary(theDict)) {
        try {
            dict->put(key, value, false);
        } catch (const std::bad_alloc &) {
        }
    }
}

void CFDictionarySetValue(CFMutableDictionaryRef theDict, const void *key, const void *value) {
    if (__CFDictionary *dict = mutableDictionary(theDict)) {
        try {
            dict->put(key, value, true);
        } catch (const std::bad_alloc &) {
        }
    }
}

void CFDictionaryRemoveValue(CFMutableDictionaryRef theDict, const void *key) {
    if (__CFDictionary *dict = mutableDictionary(theDict))
        dict->remove(key);
}
