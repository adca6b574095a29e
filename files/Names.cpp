#include "OwnedObject.h"

#include <files/Names.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/ItemLookup.h>
#include <toolbox/MacErrors.h>
#include <toolbox/TextEncoding.h>
#include <toolbox/UnicodeConverter.h>

#include <algorithm>
#include <iterator>
#include <limits>

namespace {

constexpr UInt16 kSeedDigits = 8;
constexpr int kBitsOfDigit = 4;
constexpr TextEncoding kNoEncoding = 0;

using OwnedString = OwnedObject<CFStringRef>;

HFSUniStr255 NameOfSeed(UInt32 inSeed) {
    HFSUniStr255 name = {};
    name.length = kSeedDigits;
    for (int i = 0; i < kSeedDigits; ++i) {
        const int shift = kBitsOfDigit * (kSeedDigits - 1 - i);
        name.unicode[i] = static_cast<UniChar>(u"0123456789ABCDEF"[inSeed >> shift & 0xF]);
    }
    return name;
}

OSErr FindIn(const FSRef* inFolder, const HFSUniStr255& inName) {
    FSRef found = {};
    FSRefParam block = {};
    block.ref = inFolder;
    block.nameLength = inName.length;
    block.name = inName.unicode;
    block.newRef = &found;
    return PBMakeFSRefUnicodeSync(&block);
}

// Of an item that is there; false when it is not.
bool GetCatalogueName(const FSSpec& inSpec, HFSUniStr255& outName, TextEncoding& outHint) {
    FSRef ref = {};
    if (FSpMakeFSRef(&inSpec, &ref) != noErr) return false;
    FSCatalogInfo info = {};
    if (FSGetCatalogInfo(&ref, kFSCatInfoTextEncoding, &info, &outName, nullptr, nullptr) != noErr)
        return false;
    outHint = info.textEncodingHint;
    return true;
}

// What there is room for of a name that tells of more.
struct SpecName {
    explicit SpecName(const FSSpec& inSpec) {
        std::copy(std::begin(inSpec.name), std::end(inSpec.name), text);
        text[0] = std::min<UInt8>(inSpec.name[0], sizeof text - 1);
    }
    Str63 text = {};
};

OwnedString NewStringOfSpecName(const FSSpec& inSpec) {
    return OwnedString(CFStringCreateWithPascalString(kCFAllocatorSystemDefault, SpecName(inSpec).text,
                                                      GetApplicationTextEncoding()));
}

void CopyUnits(CFStringRef inString, HFSUniStr255& outName) {
    constexpr CFIndex kMaxUnits = std::extent_v<decltype(HFSUniStr255::unicode)>;
    const CFIndex length = std::min(CFStringGetLength(inString), kMaxUnits);
    CFStringGetCharacters(inString, CFRangeMake(0, length), outName.unicode);
    outName.length = static_cast<UInt16>(length);
}

}  // namespace

OSErr FSGetFileDirName(const FSRef* inRef, HFSUniStr255* outName) {
    if (inRef == nullptr || outName == nullptr) return paramErr;
    return FSGetCatalogInfo(inRef, kFSCatInfoNone, nullptr, outName, nullptr, nullptr);
}

OSErr UnicodeNameGetHFSName(UniCharCount inLength, const UniChar* inName, TextEncoding inEncoding,
                            StringPtr outName) {
    UnicodeToTextInfo converter = nullptr;
    OSStatus status = CreateUnicodeToTextInfoByEncoding(inEncoding, &converter);
    if (status != noErr) return static_cast<OSErr>(status);
    status = inLength > std::numeric_limits<ByteCount>::max() / sizeof(UniChar)
                 ? OSStatus{paramErr}
                 : ConvertFromUnicodeToPString(converter, inLength * sizeof(UniChar), inName, outName);
    (void)DisposeUnicodeToTextInfo(&converter);
    return static_cast<OSErr>(status);
}

OSErr HFSNameGetUnicodeName(ConstStr255Param inName, TextEncoding inEncoding, HFSUniStr255* outName) {
    if (outName == nullptr) return paramErr;
    TextToUnicodeInfo converter = nullptr;
    OSStatus status = CreateTextToUnicodeInfoByEncoding(inEncoding, &converter);
    if (status != noErr) return static_cast<OSErr>(status);
    HFSUniStr255 name = {};
    ByteCount byteCount = 0;
    status = ConvertFromPStringToUnicode(converter, inName, sizeof name.unicode, &byteCount, name.unicode);
    (void)DisposeTextToUnicodeInfo(&converter);
    if (status != noErr) return static_cast<OSErr>(status);
    name.length = static_cast<UInt16>(byteCount / sizeof(UniChar));
    *outName = name;
    return noErr;
}

OSErr GenerateUniqueHFSUniStr(UInt32* ioSeed, const FSRef* inFolder1, const FSRef* inFolder2,
                              HFSUniStr255* outUniqueName) {
    if (ioSeed == nullptr || inFolder1 == nullptr || inFolder2 == nullptr || outUniqueName == nullptr)
        return paramErr;
    for (;; ++*ioSeed) {
        const HFSUniStr255 name = NameOfSeed(*ioSeed);
        OSErr error = FindIn(inFolder1, name);
        if (error == fnfErr) error = FindIn(inFolder2, name);
        if (error == noErr) continue;
        if (error != fnfErr) return error;
        *outUniqueName = name;
        return noErr;
    }
}

OSErr FSSpecToUniStr(const FSSpec* inSpec, HFSUniStr255* outName, TextEncoding* outEncoding) {
    if (inSpec == nullptr || outName == nullptr) return paramErr;
    TextEncoding encoding = GetApplicationTextEncoding();
    if (!GetCatalogueName(*inSpec, *outName, encoding)) {
        if (const OwnedString string = NewStringOfSpecName(*inSpec)) {
            CopyUnits(string.get(), *outName);
        } else {
            encoding = kNoEncoding;
            const SpecName name(*inSpec);
            outName->length = name.text[0];
            std::copy_n(name.text + 1, name.text[0], outName->unicode);
        }
    }
    if (outEncoding != nullptr) *outEncoding = encoding;
    return noErr;
}

CFStringRef FSSpecToCFString(const FSSpec* inSpec) {
    if (inSpec == nullptr) return nullptr;
    HFSUniStr255 name = {};
    TextEncoding hint = kNoEncoding;
    if (GetCatalogueName(*inSpec, name, hint))
        return CFStringCreateWithCharacters(kCFAllocatorSystemDefault, name.unicode, name.length);
    return NewStringOfSpecName(*inSpec).release();
}

OSErr FSSpecToCStr(const FSSpec* inSpec, char* outText, ByteCount inTextSize) {
    if (inSpec == nullptr || outText == nullptr) return paramErr;
    const OwnedString string(FSSpecToCFString(inSpec));
    const auto size =
        static_cast<CFIndex>(std::min<ByteCount>(inTextSize, std::numeric_limits<CFIndex>::max()));
    if (string == nullptr || !CFStringGetCString(string.get(), outText, size, GetApplicationTextEncoding()))
        return coreFoundationUnknownErr;
    return noErr;
}

OSErr FSSpecToPStr(const FSSpec* inSpec, StringPtr outText) {
    if (inSpec == nullptr || outText == nullptr) return paramErr;
    const OwnedString string(FSSpecToCFString(inSpec));
    if (string == nullptr ||
        !CFStringGetPascalString(string.get(), outText, sizeof(Str255), GetApplicationTextEncoding()))
        return coreFoundationUnknownErr;
    return noErr;
}
