// Conversions of TCFString to and from units and bytes in a named encoding.
#include "NewString.h"

#include <foundation/StPointerBlock.h>
#include <strings/TCFString.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>

namespace {

// No encoding takes more for a unit, nor do marks and shifts around it.
constexpr long kMaxBytesPerUnit = 6;

}  // namespace

bool TCFString::CStringWithEncoding(long inMaxLength, char* outBuffer, CFStringEncoding inEncoding) const {
    outBuffer[0] = '\0';
    if (IsEmpty() || CFStringGetCString(mString, outBuffer, inMaxLength + 1, inEncoding)) return true;
    outBuffer[0] = '\0';
    return false;
}

bool TCFString::PStringWithEncoding(unsigned char* outBuffer, long inMaxLength,
                                    CFStringEncoding inEncoding) const {
    outBuffer[0] = 0;
    if (IsEmpty() || CFStringGetPascalString(mString, outBuffer, inMaxLength + 1, inEncoding)) return true;
    outBuffer[0] = 0;
    return false;
}

bool TCFString::StdStringWithEncoding(std::string& outText, CFStringEncoding inEncoding) const {
    const long maxLength = Length() * kMaxBytesPerUnit;
    const StPointerBlock bytes(maxLength + 1, false, false);
    if (bytes.Get() == nullptr || !CStringWithEncoding(maxLength, bytes.Get(), inEncoding)) return false;
    try {
        outText = bytes.Get();
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

char* TCFString::UTF8(long inMaxLength, char* outBuffer) const {
    CFStringGetCString(mString, outBuffer, inMaxLength + 1, kCFStringEncodingUTF8);
    return outBuffer;
}

long TCFString::UTF8Length() const {
    const long maxLength = Length() * kMaxBytesPerUnit;
    const StPointerBlock bytes(maxLength + 1, false, true);
    if (bytes.Get() == nullptr) return 0;
    return static_cast<long>(std::strlen(UTF8(maxLength, bytes.Get())));
}

UniChar* TCFString::Unicode(long inCount, UniChar* outUnits) const {
    CFStringGetCharacters(mString, CFRangeMake(0, inCount), outUnits);
    return outUnits;
}

HFSUniStr255& TCFString::HFSUniStr(HFSUniStr255& outName) const {
    outName.length = static_cast<UInt16>(std::min<long>(Length(), std::size(outName.unicode)));
    Unicode(outName.length, outName.unicode);
    return outName;
}

TCFString TCFString::WithBytes(const unsigned char* inBytes, long inByteCount, CFStringEncoding inEncoding,
                               bool inIsExternalRepresentation) {
    return MakeString(CFStringCreateWithBytes(kCFAllocatorDefault, inBytes, inByteCount, inEncoding,
                                              inIsExternalRepresentation));
}
