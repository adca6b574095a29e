#include <foundation/Versions.h>
#include <toolbox/MacMemory.h>
#include <toolbox/MacTypes.h>
#include <toolbox/Resources.h>

#include <cstring>

namespace {

constexpr ResType kVersionType = FourChars("vers");
constexpr SInt16 kVersionID = 1;

// The resource: 4 bytes of numbers, the region, the short text and then the long one, as Pascal strings.
constexpr long kRegionOffset = 4;
constexpr long kShortTextOffset = 6;

constexpr UInt8 kDevelopmentStage = 0x20;
constexpr UInt8 kAlphaStage = 0x40;
constexpr UInt8 kBetaStage = 0x60;
constexpr UInt8 kReleaseStage = 0x80;

bool IsDigit(char inChar) {
    return inChar >= '0' && inChar <= '9';
}

UInt32 DigitOf(char inChar) {
    return static_cast<UInt32>(inChar - '0');
}

void SkipPeriod(const char*& ioAt) {
    if (*ioAt == '.') ++ioAt;
}

// One digit, and the period behind it.
UInt32 ReadDigit(const char*& ioAt) {
    const UInt32 digit = IsDigit(*ioAt) ? DigitOf(*ioAt++) : 0;
    SkipPeriod(ioAt);
    return digit;
}

// Each digit makes the number inBase times as large.
UInt32 ReadNumber(const char*& ioAt, UInt32 inBase) {
    UInt32 number = 0;
    for (; IsDigit(*ioAt); ++ioAt)
        number = number * inBase + DigitOf(*ioAt);
    return number;
}

// 0 for a character that is no stage's letter.
UInt8 StageOf(char inLetter) {
    switch (inLetter) {
        case 'd':
            return kDevelopmentStage;
        case 'a':
            return kAlphaStage;
        case 'b':
            return kBetaStage;
        case 'r':
            return kReleaseStage;
        default:
            return 0;
    }
}

}  // namespace

void GetVersion(unsigned char* outVersion, short* outRegion) {
    outVersion[0] = 0;
    if (outRegion != nullptr) *outRegion = 0;
    const Handle resource = GetResource(kVersionType, kVersionID);
    if (resource == nullptr) return;
    HLock(resource);
    const Size byteCount = GetHandleSize(resource);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(*resource);
    // A resource is a file's contents: of one that ends too soon, what is there counts.
    if (byteCount >= kShortTextOffset && outRegion != nullptr)
        *outRegion = static_cast<short>(bytes[kRegionOffset] << 8 | bytes[kRegionOffset + 1]);
    if (byteCount > kShortTextOffset && bytes[kShortTextOffset] < byteCount - kShortTextOffset)
        std::memcpy(outVersion, bytes + kShortTextOffset, bytes[kShortTextOffset] + 1U);
    ReleaseResource(resource);
}

unsigned long VersionStrToNum(const char* inText) {
    const char* at = inText == nullptr ? "" : inText;
    while (*at != '\0' && !IsDigit(*at))
        ++at;
    const UInt32 major = ReadNumber(at, 10);
    SkipPeriod(at);
    const UInt32 minor = ReadDigit(at);
    const UInt32 bugFix = ReadDigit(at);
    UInt8 stage = StageOf(*at);
    if (stage != 0)
        ++at;
    else
        stage = kReleaseStage;
    SkipPeriod(at);
    const UInt32 nonRelease = ReadNumber(at, 16);
    return (major & 0xFF) << 24 | minor << 20 | bugFix << 16 | UInt32{stage} << 8 | (nonRelease & 0xFF);
}
