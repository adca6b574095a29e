#include "Converters.h"

#include "Calls.h"
#include "CountedString.h"

#include <algorithm>
#include <set>

namespace fakes {

namespace {

struct Converter {
    TextEncoding encoding;
};

std::set<const Converter*>& Converters() {
    static auto& sConverters = *new std::set<const Converter*>;
    return sConverters;
}

template <typename Info>
OSStatus Create(const char* inCall, TextEncoding inEncoding, Info* outInfo) {
    *outInfo = nullptr;
    if (LogAndFail(CallText(inCall, inEncoding))) return memFullErr;
    if (inEncoding != kCFStringEncodingMacRoman && inEncoding != kCFStringEncodingUTF8)
        return kTextUnsupportedEncodingErr;
    auto* const converter = new Converter{inEncoding};
    Converters().insert(converter);
    *outInfo = reinterpret_cast<Info>(converter);
    return noErr;
}

template <typename Info>
TextEncoding EncodingOf(Info inInfo) {
    const auto* const converter = reinterpret_cast<const Converter*>(inInfo);
    if (Converters().count(converter) != 0) return converter->encoding;
    ReportMisuse("a converter that is not live");
    return 0;
}

template <typename Info>
OSStatus Dispose(Info* ioInfo) {
    const auto* const converter = reinterpret_cast<const Converter*>(*ioInfo);
    *ioInfo = nullptr;
    if (Converters().erase(converter) == 0) {
        ReportMisuse("disposing of a converter that is not live");
        return paramErr;
    }
    delete converter;
    return noErr;
}

}  // namespace

int LiveConverters() {
    return static_cast<int>(Converters().size());
}

}  // namespace fakes

using namespace fakes;

OSStatus CreateTextToUnicodeInfoByEncoding(TextEncoding inEncoding, TextToUnicodeInfo* outInfo) {
    return Create("CreateTextToUnicodeInfoByEncoding", inEncoding, outInfo);
}

OSStatus CreateUnicodeToTextInfoByEncoding(TextEncoding inEncoding, UnicodeToTextInfo* outInfo) {
    return Create("CreateUnicodeToTextInfoByEncoding", inEncoding, outInfo);
}

OSStatus DisposeTextToUnicodeInfo(TextToUnicodeInfo* ioInfo) {
    Log("DisposeTextToUnicodeInfo()");
    return Dispose(ioInfo);
}

OSStatus DisposeUnicodeToTextInfo(UnicodeToTextInfo* ioInfo) {
    Log("DisposeUnicodeToTextInfo()");
    return Dispose(ioInfo);
}

OSStatus ConvertFromPStringToUnicode(TextToUnicodeInfo inInfo, ConstStr255Param inString,
                                     ByteCount inCapacity, ByteCount* outByteCount, UniChar outText[]) {
    if (LogAndFail(CallText("ConvertFromPStringToUnicode", inCapacity))) return kTextMalformedInputErr;
    if (inString == nullptr) return paramErr;
    const auto text = Decode({reinterpret_cast<const char*>(inString) + 1, inString[0]}, EncodingOf(inInfo));
    if (!text) return kTextMalformedInputErr;
    if (text->size() * 2 > inCapacity) return kTECOutputBufferFullStatus;
    std::copy(text->begin(), text->end(), outText);
    *outByteCount = text->size() * 2;
    return noErr;
}

OSStatus ConvertFromUnicodeToPString(UnicodeToTextInfo inInfo, ByteCount inByteCount, const UniChar inText[],
                                     Str255 outString) {
    if (LogAndFail(CallText("ConvertFromUnicodeToPString", inByteCount))) return kTECUnmappableElementErr;
    if (inText == nullptr || outString == nullptr) return paramErr;
    const auto bytes =
        Encode({reinterpret_cast<const char16_t*>(inText), inByteCount / 2}, EncodingOf(inInfo));
    if (!bytes) return kTECUnmappableElementErr;
    if (bytes->size() > 255) return kTECOutputBufferFullStatus;
    outString[0] = static_cast<unsigned char>(bytes->size());
    std::copy(bytes->begin(), bytes->end(), outString + 1);
    return noErr;
}
