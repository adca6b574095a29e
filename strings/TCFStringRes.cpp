// Strings of the application's resources.
#include <foundation/LException.h>
#include <strings/TCFString.h>
#include <toolbox/MacMemory.h>
#include <toolbox/Resources.h>

#include <algorithm>
#include <cstring>
#include <map>

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

}  // namespace

TCFString TCFString::Res(short inResID, short inIndex) {
    static std::map<short, StringsOfResource> sResStrings;
    TCFString& string = sResStrings[inResID][inIndex];
    if (!string.IsEmpty()) return string;
    Str255 text = {0};
    if (inIndex < 0)
        ReadString(inResID, text);
    else
        GetIndString(text, inResID, inIndex);
    string = TCFString(text, DefaultEncoding());
    return string;
}
