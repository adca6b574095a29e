#include "ApplicationEncoding.h"

#include <toolbox/CFStringEncodings.h>
#include <toolbox/MacErrors.h>
#include <toolbox/TextEncoding.h>

#include <algorithm>
#include <cstring>
#include <limits>

namespace toolbox::text {

namespace {

// The encodings to try after the application's own, in this order: Japanese, which has Greek and Cyrillic
// letters in two bytes each, after those that have them in one.
constexpr TextEncoding kMacEncodings[] = {
    kCFStringEncodingMacRoman,     kCFStringEncodingMacCentralEurRoman, kCFStringEncodingMacGreek,
    kCFStringEncodingMacCyrillic,  kCFStringEncodingMacTurkish,         kCFStringEncodingMacCroatian,
    kCFStringEncodingMacIcelandic, kCFStringEncodingMacRomanian,        kCFStringEncodingMacJapanese};

// noErr with the bytes written in outLength, or why the encoding will not do.
OSStatus EncodeWhole(CFStringRef inString, TextEncoding inEncoding, UInt8* outText, CFIndex inMaxLength,
                     CFIndex& outLength) {
    const CFIndex unitCount = CFStringGetLength(inString);
    const CFRange whole = CFRangeMake(0, unitCount);
    if (CFStringGetBytes(inString, whole, inEncoding, 0, false, nullptr, 0, nullptr) != unitCount)
        return kTECUnmappableElementErr;
    const CFIndex done =
        CFStringGetBytes(inString, whole, inEncoding, 0, false, outText, inMaxLength, &outLength);
    return done == unitCount ? OSStatus{noErr} : OSStatus{kTECOutputBufferFullStatus};
}

}  // namespace

}  // namespace toolbox::text

using namespace toolbox::text;

TextEncoding GetApplicationTextEncoding() {
    return ApplicationEncoding();
}

OSStatus GetTextAndEncodingFromCFString(CFStringRef inString, UInt8* outText, ByteCount inTextMaxLength,
                                        ByteCount* outTextLength, TextEncoding* outEncoding) {
    if (inString == nullptr || outText == nullptr || outTextLength == nullptr) return paramErr;
    const auto maxLength =
        static_cast<CFIndex>(std::min<ByteCount>(inTextMaxLength, std::numeric_limits<CFIndex>::max()));
    TextEncoding encoding = GetApplicationTextEncoding();
    CFIndex length = 0;
    OSStatus status = EncodeWhole(inString, encoding, outText, maxLength, length);
    for (const TextEncoding macEncoding : kMacEncodings) {
        if (status == noErr) break;
        encoding = macEncoding;
        const OSStatus macStatus = EncodeWhole(inString, encoding, outText, maxLength, length);
        // That the text is too long says more than that one encoding more does not hold it.
        if (macStatus == noErr || status != kTECOutputBufferFullStatus) status = macStatus;
    }
    if (status != noErr) return status;
    *outTextLength = static_cast<ByteCount>(length);
    if (outEncoding != nullptr) *outEncoding = encoding;
    return noErr;
}

void c2pstrcpy(StringPtr outPascal, const char* inText) {
    const std::size_t count = inText == nullptr ? 0 : strnlen(inText, 255);
    if (count != 0) std::memmove(outPascal + 1, inText, count);
    outPascal[0] = static_cast<unsigned char>(count);
}
