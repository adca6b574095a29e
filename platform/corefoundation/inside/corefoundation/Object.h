// What every Core Foundation object begins with.
#pragma once

#include <toolbox/CFBase.h>

#include <atomic>
#include <cstddef>

namespace toolbox::corefoundation {

struct Object;

// One static instance for each type of object.
struct TypeInfo {
    CFTypeID id;
    void (*finish)(Object* inObject) = nullptr;  // gives back what the object holds; null: it holds nothing
    const char* name = "object";                 // ASCII, for descriptions
    bool (*equal)(CFTypeRef inOne, CFTypeRef inOther) = nullptr;   // both of this type; null: one object only
    CFHashCode (*hash)(CFTypeRef inObject) = nullptr;              // must be there when equal is
    CFStringRef (*copyDescription)(CFTypeRef inObject) = nullptr;  // null: name and address
};

enum : CFTypeID {
    kStringTypeID = 1,
    kBooleanTypeID = 2,
    kNumberTypeID = 3,
    kDataTypeID = 4,
    kArrayTypeID = 5,
    kDictionaryTypeID = 6,
    kURLTypeID = 7,
    kBundleTypeID = 8,
    kLocaleTypeID = 9,
    kDateTypeID = 10,
    kDateFormatterTypeID = 11,
    kUUIDTypeID = 12
};

struct Object {
    const void* type;  // a TypeInfo, or &kCFStringTypeMarker for a constant string, which is never counted
    std::atomic<SInt64> retainCount;
};

// Memory for an object of inByteCount bytes, its Object filled in with one count, the rest unspecified; or
// null.
[[nodiscard]] void* NewObject(const TypeInfo& inType, std::size_t inByteCount);

const TypeInfo& TypeOf(CFTypeRef inObject);

SInt64 CountLiveObjects();

}  // namespace toolbox::corefoundation
