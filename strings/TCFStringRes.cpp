// Strings of the application's resources.
#include <foundation/LException.h>
#include <strings/TCFString.h>
#include <toolbox/MacMemory.h>
#include <toolbox/Resources.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <new>

namespace {

using StringsOfResource = std::map<short, TCFString>;

// The resource may be shorter than its length byte says.
void CopyPascalString(Handle inString, unsigned char* outText) {
    outText[0] = 0;
    const Size byteCount = *inString != nullptr ? GetHandleSize(inString) : Size{0};
    if (byteCount <= 0) return;
    const auto* const text = reinterpret_cast<const unsigned char*>(*inString);
    const auto length = std::min<Size>(text[0], byteCount - 1);
    outText[0] = static_cast<unsigned char>(length);
    std::memcpy(outText + 1, text + 1, static_cast<std::size_t>(length));
}

void ReadString(short inResID, unsigned char* outText) {
    const Handle string = GetString(inResID);
    if (string == nullptr) LException::Throw(FourChars("nilP"));
    CopyPascalString(string, outText);
    ReleaseResource(string);
}

TCFString Read(short inResID, short inIndex) {
    Str255 text = {0};
    if (inIndex < 0)
        ReadString(inResID, text);
    else
        GetIndString(text, inResID, inIndex);
    return TCFString(text, TCFString::DefaultEncoding());
}

// The place where a string is kept; null when memory is short.
TCFString* PlaceOf(short inResID, short inIndex) {
    static std::map<short, StringsOfResource> sResStrings;
    try {
        return &sResStrings[inResID][inIndex];
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // namespace

TCFString TCFString::Res(short inResID, short inIndex) {
    TCFString* const kept = PlaceOf(inResID, inIndex);
    if (kept == nullptr) return Read(inResID, inIndex);
    if (kept->IsEmpty()) *kept = Read(inResID, inIndex);
    return *kept;
}
