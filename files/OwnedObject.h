// Objects of Core Foundation that give their count back.
#pragma once

#include <toolbox/CFBase.h>

#include <memory>
#include <type_traits>

struct ReleaseObject {
    void operator()(CFTypeRef inObject) const { CFRelease(inObject); }
};
// Owns one count of an object, or holds null.
template <class Ref>
using OwnedObject = std::unique_ptr<std::remove_pointer_t<Ref>, ReleaseObject>;
