// Strings kept as resources.
#include <toolbox/Resources.h>

#include <algorithm>

namespace {

constexpr ResType kStringType = FourChars("STR ");
constexpr ResType kListType = FourChars("STR#");
constexpr std::size_t kCountBytes = 2;

// Walks the Pascal strings of a list; null when it ends before the string does.
const unsigned char* StringAt(const unsigned char* inList, std::size_t inByteCount, SInt16 inIndex) {
    if (inByteCount < kCountBytes || inIndex < 1 || inIndex > (inList[0] << 8 | inList[1])) return nullptr;
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
    const Handle list = GetResource(kListType, inListID);
    if (list == nullptr || *list == nullptr) return;
    const auto* bytes = reinterpret_cast<const unsigned char*>(*list);
    const unsigned char* string = StringAt(bytes, static_cast<std::size_t>(GetHandleSize(list)), inIndex);
    if (string != nullptr) std::copy_n(string, string[0] + 1, outString);
}
