// Strings from foreign bytes in every encoding: what is made holds together, and goes back into bytes that
// make it again.
#include <corefoundation/CF_test_access.h>
#include <toolbox/CFString.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr CFStringEncoding kEncodings[] = {kCFStringEncodingMacRoman,
                                           kCFStringEncodingMacJapanese,
                                           kCFStringEncodingISOLatin1,
                                           kCFStringEncodingASCII,
                                           kCFStringEncodingWindowsLatin1,
                                           kCFStringEncodingNextStepLatin,
                                           kCFStringEncodingUnicode,
                                           kCFStringEncodingUTF8,
                                           kCFStringEncodingUTF16BE,
                                           kCFStringEncodingUTF16LE,
                                           kCFStringEncodingUTF32,
                                           kCFStringEncodingUTF32BE,
                                           kCFStringEncodingUTF32LE,
                                           kCFStringEncodingInvalidId,
                                           2,
                                           3,
                                           25,
                                           0x0A01};

// The line tells which law does not hold.
void Check(bool inHolds, int inLine = __builtin_LINE()) {
    if (inHolds) return;
    std::fprintf(stderr, "%s:%d: does not hold\n", __FILE__, inLine);
    std::abort();
}

class Owned {
  public:
    explicit Owned(CFStringRef inString) : mString(inString) {}
    ~Owned() {
        if (mString != nullptr) CFRelease(mString);
    }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    CFStringRef Get() const { return mString; }
    explicit operator bool() const { return mString != nullptr; }

  private:
    CFStringRef mString;
};

std::vector<UniChar> UnitsOf(CFStringRef inString) {
    std::vector<UniChar> units(static_cast<std::size_t>(CFStringGetLength(inString)));
    CFStringGetCharacters(inString, CFRangeMake(0, CFStringGetLength(inString)), units.data());
    return units;
}

CFComparisonResult Reversed(CFComparisonResult inResult) {
    return static_cast<CFComparisonResult>(-inResult);
}

// Counting, writing and reading again agree; every shorter buffer holds a beginning.
void CheckBytes(CFStringRef inString, CFStringEncoding inEncoding, bool inExternal) {
    const CFRange all = CFRangeMake(0, CFStringGetLength(inString));
    CFIndex byteCount = 0;
    const CFIndex counted =
        CFStringGetBytes(inString, all, inEncoding, 0, inExternal, nullptr, 0, &byteCount);
    Check(counted >= 0 && counted <= all.length && byteCount >= 0);
    std::vector<UInt8> bytes(static_cast<std::size_t>(byteCount));
    CFIndex written = 0;
    Check(CFStringGetBytes(inString, all, inEncoding, 0, inExternal, bytes.data(), byteCount, &written) ==
          counted);
    Check(written == byteCount);
    // A null buffer, as an empty vector may have, asks for the count alone.
    if (byteCount > 1) {
        std::vector<UInt8> fewer(bytes.size() - 1);
        CFIndex fewerCount = 0;
        const CFIndex taken = CFStringGetBytes(inString, all, inEncoding, 0, inExternal, fewer.data(),
                                               static_cast<CFIndex>(fewer.size()), &fewerCount);
        Check(taken <= counted && fewerCount < byteCount);
        Check(fewerCount == 0 ||
              std::memcmp(fewer.data(), bytes.data(), static_cast<std::size_t>(fewerCount)) == 0);
    }
    if (counted != all.length) return;
    const Owned again(CFStringCreateWithBytes(nullptr, bytes.data(), byteCount, inEncoding, inExternal));
    // A surrogate without a partner is written, but is no text to read.
    if (!again) return;
    std::vector<UniChar> units = UnitsOf(inString);
    // UTF-8 is written without a mark, so a first character that is one reads as a mark.
    const bool isMarked = inExternal && inEncoding == kCFStringEncodingUTF8;
    if (isMarked && !units.empty() && units[0] == 0xFEFF) units.erase(units.begin());
    Check(UnitsOf(again.Get()) == units);
}

void CheckWhole(CFStringRef inString) {
    const std::vector<UniChar> units = UnitsOf(inString);
    const auto length = static_cast<CFIndex>(units.size());
    for (CFIndex i = 0; i < std::min<CFIndex>(length, 32); ++i)
        Check(CFStringGetCharacterAtIndex(inString, i) == units[static_cast<std::size_t>(i)]);
    Check(CFStringGetCharacterAtIndex(inString, length) == 0);
    const Owned head(CFStringCreateWithSubstring(nullptr, inString, CFRangeMake(0, length / 2)));
    Check(head && CFStringGetLength(head.Get()) == length / 2);
    Check(!Owned(CFStringCreateWithSubstring(nullptr, inString, CFRangeMake(length, 1))));
    for (const CFStringCompareFlags flags : {0, 1, 16, 17, 64, 65, 32, 33, 96}) {
        Check(CFStringCompare(inString, inString, flags) == kCFCompareEqualTo);
        Check(CFStringCompare(inString, head.Get(), flags) ==
              Reversed(CFStringCompare(head.Get(), inString, flags)));
    }
}

void CheckCString(CFStringRef inString, CFStringEncoding inEncoding) {
    std::vector<char> buffer(static_cast<std::size_t>(CFStringGetLength(inString)) * 4 + 1, 'x');
    if (!CFStringGetCString(inString, buffer.data(), static_cast<CFIndex>(buffer.size()), inEncoding)) {
        Check(buffer[0] == 0);
        return;
    }
    const Owned again(CFStringCreateWithCString(nullptr, buffer.data(), inEncoding));
    const std::vector<UniChar> units = UnitsOf(inString);
    if (again && std::find(units.begin(), units.end(), 0) == units.end())
        Check(UnitsOf(again.Get()) == units);
}

void CheckEncoding(const std::uint8_t* inBytes, std::size_t inByteCount, CFStringEncoding inEncoding,
                   bool inExternal) {
    const Owned string(
        CFStringCreateWithBytes(nullptr, inBytes, static_cast<CFIndex>(inByteCount), inEncoding, inExternal));
    if (!string) return;
    CheckWhole(string.Get());
    // Text goes back as it came: every byte that was read is a character that can be written.
    Check(CFStringGetBytes(string.Get(), CFRangeMake(0, CFStringGetLength(string.Get())), inEncoding, 0,
                           false, nullptr, 0, nullptr) == CFStringGetLength(string.Get()));
    for (const CFStringEncoding other : kEncodings) {
        CheckBytes(string.Get(), other, inExternal);
        CheckCString(string.Get(), other);
    }
}

void CheckPascal(const std::uint8_t* inBytes, std::size_t inByteCount, CFStringEncoding inEncoding) {
    Str255 text = {};
    text[0] = static_cast<unsigned char>(std::min<std::size_t>(inByteCount, 255));
    std::copy_n(inBytes, text[0], text + 1);
    const Owned string(CFStringCreateWithPascalString(nullptr, text, inEncoding));
    if (!string) return;
    Str255 back = {};
    if (!CFStringGetPascalString(string.Get(), back, sizeof(back), inEncoding)) return;
    const Owned again(CFStringCreateWithPascalString(nullptr, back, inEncoding));
    Check(again && UnitsOf(again.Get()) == UnitsOf(string.Get()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inBytes, std::size_t inByteCount) {
    const SInt64 live = toolbox::corefoundation::LiveObjectsForTesting();
    for (const CFStringEncoding encoding : kEncodings) {
        CheckEncoding(inBytes, inByteCount, encoding, false);
        CheckEncoding(inBytes, inByteCount, encoding, true);
        CheckPascal(inBytes, inByteCount, encoding);
    }
    const CFIndex unitCount = static_cast<CFIndex>(inByteCount / 2);
    std::vector<UniChar> units(inByteCount / 2 + 1);
    if (unitCount > 0) std::memcpy(units.data(), inBytes, inByteCount / 2 * 2);
    {
        const Owned string(CFStringCreateWithCharacters(nullptr, units.data(), unitCount));
        Check(static_cast<bool>(string));
        CheckWhole(string.Get());
        for (const CFStringEncoding encoding : kEncodings)
            CheckBytes(string.Get(), encoding, true);
    }
    Check(toolbox::corefoundation::LiveObjectsForTesting() == live);
    return 0;
}
