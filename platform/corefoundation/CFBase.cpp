#include "ICUCalls.h"
#include "StringObject.h"
#include "corefoundation/Object.h"
#include "os/SystemCalls.h"

#include <toolbox/CFBase.h>
#include <toolbox/CFString.h>

#include <cassert>
#include <cstdio>
#include <functional>
#include <limits>
#include <new>

namespace toolbox::corefoundation {

namespace {

std::atomic<SInt64> sLiveObjects{0};

int StartWithSuccess() {
    return 0;
}

bool IsConstant(const Object* inObject) {
    return inObject->type == &kCFStringTypeMarker;
}

void Destroy(Object* inObject) {
    const auto finish = static_cast<const TypeInfo*>(inObject->type)->finish;
    if (finish != nullptr) finish(inObject);
    os::Calls().free(inObject);
    sLiveObjects.fetch_sub(1, std::memory_order_relaxed);
}

}  // namespace

ICUCalls sICUCalls = {StartWithSuccess};

void* NewObject(const TypeInfo& inType, std::size_t inByteCount) {
    assert(inByteCount >= sizeof(Object));
    assert(inType.equal == nullptr || inType.hash != nullptr);
    void* memory = os::Calls().malloc(inByteCount);
    if (memory == nullptr) return nullptr;
    new (memory) Object{&inType, 1};
    sLiveObjects.fetch_add(1, std::memory_order_relaxed);
    return memory;
}

const TypeInfo& TypeOf(CFTypeRef inObject) {
    const auto* object = static_cast<const Object*>(inObject);
    return IsConstant(object) ? kStringType : *static_cast<const TypeInfo*>(object->type);
}

SInt64 CountLiveObjects() {
    return sLiveObjects.load(std::memory_order_relaxed);
}

}  // namespace toolbox::corefoundation

using namespace toolbox::corefoundation;

CFTypeRef CFRetain(CFTypeRef inObject) {
    auto* object = static_cast<Object*>(const_cast<void*>(inObject));
    if (!IsConstant(object)) object->retainCount.fetch_add(1, std::memory_order_relaxed);
    return inObject;
}

void CFRelease(CFTypeRef inObject) {
    auto* object = static_cast<Object*>(const_cast<void*>(inObject));
    if (IsConstant(object)) return;
    // A count of one is the caller's own: nobody else can add to it, so nothing needs to be written.
    if (object->retainCount.load(std::memory_order_acquire) == 1 ||
        object->retainCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
        Destroy(object);
}

CFIndex CFGetRetainCount(CFTypeRef inObject) {
    const auto* object = static_cast<const Object*>(inObject);
    if (IsConstant(object)) return std::numeric_limits<CFIndex>::max();
    return static_cast<CFIndex>(object->retainCount.load(std::memory_order_relaxed));
}

CFTypeID CFGetTypeID(CFTypeRef inObject) {
    return TypeOf(inObject).id;
}

Boolean CFEqual(CFTypeRef inObject1, CFTypeRef inObject2) {
    if (inObject1 == inObject2) return true;
    const TypeInfo& type = TypeOf(inObject1);
    return type.equal != nullptr && type.id == TypeOf(inObject2).id && type.equal(inObject1, inObject2);
}

CFHashCode CFHash(CFTypeRef inObject) {
    const TypeInfo& type = TypeOf(inObject);
    return type.hash != nullptr ? type.hash(inObject) : std::hash<CFTypeRef>()(inObject);
}

CFStringRef CFCopyDescription(CFTypeRef inObject) {
    if (inObject == nullptr) return nullptr;
    const TypeInfo& type = TypeOf(inObject);
    if (type.copyDescription != nullptr) return type.copyDescription(inObject);
    char text[96];
    std::snprintf(text, sizeof text, "<%s %p>", type.name, inObject);
    return CFStringCreateWithCString(nullptr, text, kCFStringEncodingASCII);
}
