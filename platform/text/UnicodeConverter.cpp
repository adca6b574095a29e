#include "corefoundation/Encodings.h"

#include <toolbox/UnicodeConverter.h>

#include <limits>

// A converter is the coder of its encoding: it has no state, lives as long as the process, and takes no
// memory.
namespace toolbox::text {

namespace {

using corefoundation::Coder;
using corefoundation::Encoded;

constexpr CFIndex kMaxPascalBytes = 255;

template <typename Info>
OSStatus Create(TextEncoding inEncoding, Info* outInfo) {
    if (outInfo == nullptr) return paramErr;
    const Coder* const coder = corefoundation::FindCoder(inEncoding);
    *outInfo = reinterpret_cast<Info>(const_cast<Coder*>(coder));
    return coder != nullptr ? OSStatus{noErr} : OSStatus{kTextUnsupportedEncodingErr};
}

template <typename Info>
OSStatus Dispose(Info* ioInfo) {
    if (ioInfo == nullptr || *ioInfo == nullptr) return paramErr;
    *ioInfo = nullptr;
    return noErr;
}

template <typename Info>
const Coder& CoderOf(Info inInfo) {
    return *reinterpret_cast<const Coder*>(inInfo);
}

}  // namespace

}  // namespace toolbox::text

using namespace toolbox::text;

OSStatus CreateTextToUnicodeInfoByEncoding(TextEncoding inEncoding, TextToUnicodeInfo* outInfo) {
    return Create(inEncoding, outInfo);
}

OSStatus CreateUnicodeToTextInfoByEncoding(TextEncoding inEncoding, UnicodeToTextInfo* outInfo) {
    return Create(inEncoding, outInfo);
}

OSStatus DisposeTextToUnicodeInfo(TextToUnicodeInfo* ioInfo) {
    return Dispose(ioInfo);
}

OSStatus DisposeUnicodeToTextInfo(UnicodeToTextInfo* ioInfo) {
    return Dispose(ioInfo);
}

OSStatus ConvertFromPStringToUnicode(TextToUnicodeInfo inInfo, ConstStr255Param inString,
                                     ByteCount inCapacity, ByteCount* outByteCount, UniChar outText[]) {
    if (inInfo == nullptr || inString == nullptr || outByteCount == nullptr || outText == nullptr)
        return paramErr;
    const Coder& coder = CoderOf(inInfo);
    const CFIndex unitCount = coder.CountUnits(inString + 1, inString[0]);
    if (unitCount == kCFNotFound) return kTextMalformedInputErr;
    const ByteCount byteCount = static_cast<ByteCount>(unitCount) * sizeof(UniChar);
    if (byteCount > inCapacity) return kTECOutputBufferFullStatus;
    if (!coder.Decode(inString + 1, inString[0], outText, unitCount)) return kTextMalformedInputErr;
    *outByteCount = byteCount;
    return noErr;
}

OSStatus ConvertFromUnicodeToPString(UnicodeToTextInfo inInfo, ByteCount inByteCount, const UniChar inText[],
                                     Str255 outString) {
    if (inInfo == nullptr || outString == nullptr || (inText == nullptr && inByteCount != 0)) return paramErr;
    if (inByteCount % sizeof(UniChar) != 0) return paramErr;
    const auto unitCount = static_cast<CFIndex>(inByteCount / sizeof(UniChar));
    const Encoded needed =
        Encode(CoderOf(inInfo), inText, unitCount, 0, nullptr, std::numeric_limits<CFIndex>::max());
    if (needed.unitCount != unitCount) return kTECUnmappableElementErr;
    if (needed.byteCount > kMaxPascalBytes) return kTECOutputBufferFullStatus;
    (void)Encode(CoderOf(inInfo), inText, unitCount, 0, outString + 1, kMaxPascalBytes);
    outString[0] = static_cast<unsigned char>(needed.byteCount);
    return noErr;
}
