// Strings kept as resources.
#include "os/BigEndian.h"
#include "resources/Chain.h"

#include <toolbox/Resources.h>

#include <algorithm>

using namespace toolbox::resources;

namespace {

constexpr ResType kStringType = FourChars("STR ");
constexpr ResType kListType = FourChars("STR#");
constexpr std::size_t kCountBytes = 2;

// A list is the number of its strings, 16 bits big-endian, and the strings one after the other without
// padding, so that one is found by walking over those before it. Null when it ends before the string does.
const unsigned char* StringAt(const unsigned char* inList, std::size_t inByteCount, SInt16 inIndex) {
    if (inByteCount < kCountBytes || inIndex < 1 || inIndex > toolbox::os::Load16(inList)) return nullptr;
    std::size_t at = kCountBytes;
    for (SInt16 left = inIndex;; --left) {
        if (at >= inByteCount || inList[at] > inByteCount - at - 1) return nullptr;
        if (left == 1) return inList + at;
        at += std::size_t{1} + inList[at];
    }
}

}  // namespace

Handle GetString(SInt16 inID) {
    return GetResource(kStringType, inID);
}

void GetIndString(unsigned char* outString, SInt16 inListID, SInt16 inIndex) {
    outString[0] = 0;
    WithData(kListType, inListID, [&](const UInt8* inBytes, std::size_t inByteCount) {
        const unsigned char* string = StringAt(inBytes, inByteCount, inIndex);
        if (string != nullptr) std::copy_n(string, string[0] + 1, outString);
    });
}
