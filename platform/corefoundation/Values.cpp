#include "corefoundation/Values.h"

#include "corefoundation/Object.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <string_view>

namespace toolbox::corefoundation {

namespace {

// Each is followed by what it holds.
struct DataObject {
    Object base;
    CFIndex byteCount;
};
struct ArrayObject {
    Object base;
    CFIndex count;
};
struct DictionaryObject {
    Object base;
    CFIndex count;  // of keys in rising order, and then of their values
};

template <class Held, class Holder>
Held* ContentsOf(Holder* inHolder) {
    return reinterpret_cast<Held*>(inHolder + 1);
}

void ReleaseAll(const CFTypeRef* inObjects, CFIndex inCount) {
    for (CFIndex i = 0; i < inCount; ++i)
        CFRelease(inObjects[i]);
}

void FinishArray(Object* inObject) {
    auto* array = reinterpret_cast<ArrayObject*>(inObject);
    ReleaseAll(ContentsOf<CFTypeRef>(array), array->count);
}

void FinishDictionary(Object* inObject) {
    auto* dictionary = reinterpret_cast<DictionaryObject*>(inObject);
    ReleaseAll(ContentsOf<CFTypeRef>(dictionary), 2 * dictionary->count);
}

bool IsSameData(CFTypeRef inData1, CFTypeRef inData2) {
    const auto* first = static_cast<const DataObject*>(inData1);
    const auto* second = static_cast<const DataObject*>(inData2);
    const auto* bytes = ContentsOf<const UInt8>(first);
    return first->byteCount == second->byteCount &&
           std::equal(bytes, bytes + first->byteCount, ContentsOf<const UInt8>(second));
}
CFHashCode HashOfData(CFTypeRef inData) {
    const auto* data = static_cast<const DataObject*>(inData);
    return std::hash<std::string_view>()(
        {ContentsOf<const char>(data), static_cast<std::size_t>(data->byteCount)});
}

bool AreEqual(const CFTypeRef* inObjects1, const CFTypeRef* inObjects2, CFIndex inCount) {
    return std::equal(inObjects1, inObjects1 + inCount, inObjects2,
                      [](CFTypeRef inOne, CFTypeRef inOther) { return CFEqual(inOne, inOther) != 0; });
}
bool IsSameArray(CFTypeRef inArray1, CFTypeRef inArray2) {
    const auto* first = static_cast<const ArrayObject*>(inArray1);
    const auto* second = static_cast<const ArrayObject*>(inArray2);
    return first->count == second->count &&
           AreEqual(ContentsOf<const CFTypeRef>(first), ContentsOf<const CFTypeRef>(second), first->count);
}
CFHashCode HashOfArray(CFTypeRef inArray) {
    return static_cast<CFHashCode>(static_cast<const ArrayObject*>(inArray)->count);
}
bool IsSameDictionary(CFTypeRef inDictionary1, CFTypeRef inDictionary2) {
    const auto* first = static_cast<const DictionaryObject*>(inDictionary1);
    const auto* second = static_cast<const DictionaryObject*>(inDictionary2);
    return first->count == second->count && AreEqual(ContentsOf<const CFTypeRef>(first),
                                                     ContentsOf<const CFTypeRef>(second), 2 * first->count);
}
CFHashCode HashOfDictionary(CFTypeRef inDictionary) {
    return static_cast<CFHashCode>(static_cast<const DictionaryObject*>(inDictionary)->count);
}

constexpr TypeInfo kDataType = {kDataTypeID, nullptr, "CFData", IsSameData, HashOfData};
constexpr TypeInfo kArrayType = {kArrayTypeID, FinishArray, "CFArray", IsSameArray, HashOfArray};
constexpr TypeInfo kDictionaryType = {kDictionaryTypeID, FinishDictionary, "CFDictionary", IsSameDictionary,
                                      HashOfDictionary};

template <class Holder>
Holder* NewHolder(const TypeInfo& inType, std::size_t inCount, std::size_t inByteCountEach) {
    if (inCount > (std::numeric_limits<CFIndex>::max() - sizeof(Holder)) / inByteCountEach) return nullptr;
    return static_cast<Holder*>(NewObject(inType, sizeof(Holder) + inCount * inByteCountEach));
}

template <class Holder, class Ref>
const Holder& HolderOf(Ref inRef) {
    return *reinterpret_cast<const Holder*>(inRef);
}

bool IsBefore(CFTypeRef inKey1, CFTypeRef inKey2) {
    return CFStringCompare(static_cast<CFStringRef>(inKey1), static_cast<CFStringRef>(inKey2), 0) ==
           kCFCompareLessThan;
}

// kCFNotFound when there is no such key.
CFIndex FindKey(const DictionaryObject& inDictionary, CFTypeRef inKey) {
    const CFTypeRef* keys = ContentsOf<const CFTypeRef>(&inDictionary);
    const CFTypeRef* end = keys + inDictionary.count;
    const CFTypeRef* found = std::lower_bound(keys, end, inKey, IsBefore);
    return found == end || IsBefore(inKey, *found) ? CFIndex{kCFNotFound} : found - keys;
}

}  // namespace

Owned<CFDataRef> NewData(std::span<const UInt8> inBytes) {
    auto* data = NewHolder<DataObject>(kDataType, inBytes.size(), 1);
    if (data == nullptr) return {};
    data->byteCount = static_cast<CFIndex>(inBytes.size());
    std::copy(inBytes.begin(), inBytes.end(), ContentsOf<UInt8>(data));
    return Owned(reinterpret_cast<CFDataRef>(data));
}

Owned<CFArrayRef> NewArray(std::span<Owned<CFTypeRef>> ioValues) {
    auto* array = NewHolder<ArrayObject>(kArrayType, ioValues.size(), sizeof(CFTypeRef));
    if (array == nullptr) return {};
    array->count = static_cast<CFIndex>(ioValues.size());
    CFTypeRef* values = ContentsOf<CFTypeRef>(array);
    for (Owned<CFTypeRef>& value : ioValues)
        *values++ = value.Release();
    return Owned(reinterpret_cast<CFArrayRef>(array));
}

Owned<CFDictionaryRef> NewDictionary(std::span<Entry> ioEntries) {
    const auto isBefore = [](const Entry& inEntry1, const Entry& inEntry2) {
        return IsBefore(inEntry1.key.Get(), inEntry2.key.Get());
    };
    std::stable_sort(ioEntries.begin(), ioEntries.end(), isBefore);
    const auto isSame = [&](const Entry& inEntry1, const Entry& inEntry2) {
        return !isBefore(inEntry1, inEntry2);
    };
    const auto end = std::unique(ioEntries.begin(), ioEntries.end(), isSame);
    const auto count = static_cast<std::size_t>(end - ioEntries.begin());
    auto* dictionary = NewHolder<DictionaryObject>(kDictionaryType, count, 2 * sizeof(CFTypeRef));
    if (dictionary == nullptr) return {};
    dictionary->count = static_cast<CFIndex>(count);
    CFTypeRef* keys = ContentsOf<CFTypeRef>(dictionary);
    for (std::size_t i = 0; i < count; ++i) {
        keys[i] = ioEntries[i].key.Release();
        keys[count + i] = ioEntries[i].value.Release();
    }
    return Owned(reinterpret_cast<CFDictionaryRef>(dictionary));
}

}  // namespace toolbox::corefoundation

using namespace toolbox::corefoundation;

CFTypeID CFDataGetTypeID() {
    return kDataTypeID;
}

CFIndex CFDataGetLength(CFDataRef inData) {
    return HolderOf<DataObject>(inData).byteCount;
}

const UInt8* CFDataGetBytePtr(CFDataRef inData) {
    return ContentsOf<const UInt8>(&HolderOf<DataObject>(inData));
}

CFTypeID CFArrayGetTypeID() {
    return kArrayTypeID;
}

CFIndex CFArrayGetCount(CFArrayRef inArray) {
    return HolderOf<ArrayObject>(inArray).count;
}

const void* CFArrayGetValueAtIndex(CFArrayRef inArray, CFIndex inIndex) {
    const auto& array = HolderOf<ArrayObject>(inArray);
    if (inIndex < 0 || inIndex >= array.count) return nullptr;
    return ContentsOf<const CFTypeRef>(&array)[inIndex];
}

CFTypeID CFDictionaryGetTypeID() {
    return kDictionaryTypeID;
}

CFIndex CFDictionaryGetCount(CFDictionaryRef inDictionary) {
    return HolderOf<DictionaryObject>(inDictionary).count;
}

const void* CFDictionaryGetValue(CFDictionaryRef inDictionary, const void* inKey) {
    const auto& dictionary = HolderOf<DictionaryObject>(inDictionary);
    const CFIndex index = FindKey(dictionary, inKey);
    if (index == kCFNotFound) return nullptr;
    return ContentsOf<const CFTypeRef>(&dictionary)[dictionary.count + index];
}

Boolean CFDictionaryContainsKey(CFDictionaryRef inDictionary, const void* inKey) {
    return FindKey(HolderOf<DictionaryObject>(inDictionary), inKey) != kCFNotFound;
}

void CFDictionaryGetKeysAndValues(CFDictionaryRef inDictionary, const void** outKeys,
                                  const void** outValues) {
    const auto& dictionary = HolderOf<DictionaryObject>(inDictionary);
    const CFTypeRef* keys = ContentsOf<const CFTypeRef>(&dictionary);
    if (outKeys != nullptr) std::copy_n(keys, dictionary.count, outKeys);
    if (outValues != nullptr) std::copy_n(keys + dictionary.count, dictionary.count, outValues);
}
