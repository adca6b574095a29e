#include "bundles/PropertyList.h"

#include "corefoundation/UTF8Text.h"
#include "corefoundation/Values.h"
#include "os/SystemCalls.h"

#include <plist/plist.h>
#include <toolbox/CFDate.h>

#include <memory>
#include <type_traits>
#include <vector>

namespace toolbox::corefoundation {

namespace {

constexpr std::string_view kBinaryMark = "bplist";

struct FreeDeleter {
    void operator()(void* inBlock) const { os::Calls().free(inBlock); }
};
struct NodeDeleter {
    void operator()(void* inNode) const { plist_free(inNode); }
};
using OwnedNode = std::unique_ptr<std::remove_pointer_t<plist_t>, NodeDeleter>;

// A value, or none where Core Foundation has no such type; false when the whole list is to be refused.
struct Converted {
    bool isGood = false;
    Owned<CFTypeRef> value;
};

template <class Ref>
Converted GoodUnlessNull(Owned<Ref> inValue) {
    const bool isGood = static_cast<bool>(inValue);
    return {isGood, Owned<CFTypeRef>(inValue.Release())};
}

Converted Convert(plist_t inNode, std::size_t inDepth);

Converted ConvertNumber(CFNumberType inType, const void* inValue) {
    return GoodUnlessNull(Owned(CFNumberCreate(kCFAllocatorDefault, inType, inValue)));
}

Converted ConvertInteger(plist_t inNode) {
    UInt64 bits = 0;  // of a negative number, those of its SInt64
    plist_get_uint_val(inNode, &bits);
    return ConvertNumber(kCFNumberSInt64Type, &bits);
}

Converted ConvertReal(plist_t inNode) {
    double real = 0;
    plist_get_real_val(inNode, &real);
    return ConvertNumber(kCFNumberFloat64Type, &real);
}

Converted ConvertDate(plist_t inNode) {
    SInt32 seconds = 0;  // since the reference date
    SInt32 microseconds = 0;
    plist_get_date_val(inNode, &seconds, &microseconds);
    return GoodUnlessNull(Owned(CFDateCreate(kCFAllocatorDefault, seconds + microseconds / 1e6)));
}

Converted ConvertBoolean(plist_t inNode) {
    UInt8 value = 0;
    plist_get_bool_val(inNode, &value);
    return {true, Owned(CFRetain(value != 0 ? kCFBooleanTrue : kCFBooleanFalse))};
}

Converted ConvertString(plist_t inNode) {
    UInt64 byteCount = 0;
    const char* text = plist_get_string_ptr(inNode, &byteCount);
    if (text == nullptr) return {};
    return GoodUnlessNull(StringOf({text, static_cast<std::size_t>(byteCount)}));
}

Converted ConvertData(plist_t inNode) {
    UInt64 byteCount = 0;
    const auto* bytes = reinterpret_cast<const UInt8*>(plist_get_data_ptr(inNode, &byteCount));
    return GoodUnlessNull(NewData({bytes, bytes == nullptr ? 0 : static_cast<std::size_t>(byteCount)}));
}

Converted ConvertArray(plist_t inNode, std::size_t inDepth) {
    std::vector<Owned<CFTypeRef>> values;
    plist_array_iter iterator = nullptr;
    plist_array_new_iter(inNode, &iterator);
    const std::unique_ptr<void, FreeDeleter> iteratorOwner(iterator);
    for (;;) {
        plist_t item = nullptr;
        plist_array_next_item(inNode, iterator, &item);
        if (item == nullptr) break;
        Converted converted = Convert(item, inDepth);
        if (!converted.isGood) return {};
        if (converted.value) values.push_back(std::move(converted.value));
    }
    return GoodUnlessNull(NewArray(values));
}

Converted ConvertDictionary(plist_t inNode, std::size_t inDepth) {
    std::vector<Entry> entries;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(inNode, &iterator);
    const std::unique_ptr<void, FreeDeleter> iteratorOwner(iterator);
    for (;;) {
        char* keyText = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(inNode, iterator, &keyText, &item);
        const std::unique_ptr<char, FreeDeleter> keyOwner(keyText);
        if (item == nullptr) break;
        Owned<CFStringRef> key = StringOf(keyText == nullptr ? "" : keyText);
        Converted converted = Convert(item, inDepth);
        if (!key || !converted.isGood) return {};
        if (converted.value) entries.push_back({std::move(key), std::move(converted.value)});
    }
    return GoodUnlessNull(NewDictionary(entries));
}

Converted Convert(plist_t inNode, std::size_t inDepth) {
    switch (plist_get_node_type(inNode)) {
        case PLIST_BOOLEAN:
            return ConvertBoolean(inNode);
        case PLIST_UINT:
            return ConvertInteger(inNode);
        case PLIST_REAL:
            return ConvertReal(inNode);
        case PLIST_DATE:
            return ConvertDate(inNode);
        case PLIST_STRING:
            return ConvertString(inNode);
        case PLIST_DATA:
            return ConvertData(inNode);
        case PLIST_ARRAY:
            return inDepth == kMaxContainerDepth ? Converted() : ConvertArray(inNode, inDepth + 1);
        case PLIST_DICT:
            return inDepth == kMaxContainerDepth ? Converted() : ConvertDictionary(inNode, inDepth + 1);
        default:
            return {true, {}};
    }
}

OwnedNode Parse(std::string_view inBytes) {
    plist_t node = nullptr;
    const auto byteCount = static_cast<UInt32>(inBytes.size());
    if (inBytes.starts_with(kBinaryMark))
        plist_from_bin(inBytes.data(), byteCount, &node);
    else
        plist_from_xml(inBytes.data(), byteCount, &node);
    return OwnedNode(node);
}

}  // namespace

Owned<CFTypeRef> ReadPropertyList(std::string_view inBytes) {
    if (inBytes.empty() || !IsModestPropertyList(inBytes)) return {};
    const OwnedNode root = Parse(inBytes);
    if (root == nullptr) return {};
    return std::move(Convert(root.get(), 0).value);
}

}  // namespace toolbox::corefoundation
