#include "NewString.h"

#include <strings/TCFString.h>
#include <strings/TruncatingCopies.h>
#include <toolbox/TextEncoding.h>

#include <algorithm>
#include <iterator>
#include <limits>

static_assert(sizeof(TCFString) == sizeof(CFStringRef));

namespace {

constexpr char kCannotDisplayText[] = "<CANNOT DISPLAY>";
constexpr unsigned char kCannotDisplayPascalText[] = "\x10<CANNOT DISPLAY>";

constexpr CFIndex kScratchByteCount = 1024;  // terminator included
constexpr long kMaxPascalLength = 255;

// The default encoding first, then the system's. The buffer's contents are unspecified after a failure.
bool GetCString(CFStringRef inString, char* outBuffer, CFIndex inBufferByteCount) {
    return CFStringGetCString(inString, outBuffer, inBufferByteCount, TCFString::DefaultEncoding()) ||
           CFStringGetCString(inString, outBuffer, inBufferByteCount, CFStringGetSystemEncoding());
}

bool GetBestFit(CFStringRef inString, unsigned char* outText, long inMaxLength, ByteCount& outLength) {
    TextEncoding encoding = 0;
    const auto capacity = static_cast<ByteCount>(inMaxLength);
    return GetTextAndEncodingFromCFString(inString, outText, capacity, &outLength, &encoding) == noErr;
}

}  // namespace

// The order of these two definitions is the order of construction.
const TCFString TCFString::Empty;
const TCFString TCFString::kCannotDisplayCFString(kCannotDisplayPascalText, TCFString::DefaultEncoding());

constinit const char* const TCFString::kCannotDisplayCString = kCannotDisplayText;
constinit const unsigned char* const TCFString::kCannotDisplayString = kCannotDisplayPascalText;

TCFString::TCFString() : TCFString(EmptyCFString()) {}

TCFString::TCFString(const TCFString& inOther) : mString(inOther.Retain()) {}

TCFString::TCFString(CFStringRef inString) : mString(inString) {
    if (mString != nullptr) CFRetain(mString);
    EnsureNonNullRef();
}

TCFString::TCFString(const char* inText, CFStringEncoding inEncoding)
    : mString(NullIfEmpty(CFStringCreateWithCString(kCFAllocatorDefault, inText, inEncoding))) {
    EnsureNonNullRef();
}

TCFString::TCFString(const unsigned char* inPascalText, CFStringEncoding inEncoding)
    : mString(NullIfEmpty(CFStringCreateWithPascalString(kCFAllocatorDefault, inPascalText, inEncoding))) {
    EnsureNonNullRef();
}

TCFString::TCFString(const HFSUniStr255& inName)
    : mString(NullIfEmpty(
          CFStringCreateWithCharacters(kCFAllocatorDefault, inName.unicode,
                                       std::min<CFIndex>(inName.length, std::size(inName.unicode))))) {
    EnsureNonNullRef();
}

TCFString::~TCFString() {
    CFRelease(mString);
}

TCFString& TCFString::operator=(const TCFString& inOther) {
    if (mString == inOther.mString) return *this;
    const CFStringRef old = mString;
    mString = inOther.Retain();
    CFRelease(old);
    return *this;
}

void TCFString::Adopt(CFStringRef inString) {
    if (inString == mString) return;
    CFRelease(mString);
    mString = inString;
    EnsureNonNullRef();
}

void TCFString::EnsureNonNullRef() {
    if (mString == nullptr) mString = static_cast<CFStringRef>(CFRetain(EmptyCFString()));
}

CFStringRef TCFString::EmptyCFString() {
    return CFSTR("");
}

CFStringRef TCFString::StringRef() const {
    return mString;
}

CFStringRef TCFString::Retain() const {
    return static_cast<CFStringRef>(CFRetain(mString));
}

long TCFString::Length() const {
    return CFStringGetLength(mString);
}

bool TCFString::IsEmpty() const {
    return Length() == 0;
}

UniChar TCFString::Char(long inIndex) const {
    return CFStringGetCharacterAtIndex(mString, inIndex);
}

CFRange TCFString::CheckRange(const CFRange& inRange) const {
    const CFIndex stringLength = Length();
    CFIndex location = inRange.location;
    CFIndex length = inRange.length;
    if (location < 0) {
        // Widened by what lay before the string, not shortened; a sum that does not fit is cut below anyway.
        constexpr CFIndex kMax = std::numeric_limits<CFIndex>::max();
        length = length > kMax + location ? kMax : length - location;
        location = 0;
    } else if (location >= stringLength) {
        location = stringLength > 0 ? stringLength - 1 : 0;
        length = 0;
    }
    return CFRangeMake(location, std::clamp<CFIndex>(length, 0, stringLength - location));
}

TCFString TCFString::Substring(long inLocation, long inLength) const {
    return MakeString(
        CFStringCreateWithSubstring(kCFAllocatorDefault, mString, CFRangeMake(inLocation, inLength)));
}

CFComparisonResult TCFString::CompareTo(const TCFString& inOther, CFStringCompareFlags inFlags) const {
    return CFStringCompare(mString, inOther.mString, inFlags);
}

CFStringEncoding TCFString::DefaultEncoding() {
    static const CFStringEncoding sDefaultEncoding = GetApplicationTextEncoding();
    return sDefaultEncoding;
}

char* TCFString::CString(long inMaxLength, char* outBuffer) const {
    outBuffer[0] = '\0';
    if (IsEmpty() || GetCString(mString, outBuffer, inMaxLength + 1)) return outBuffer;
    char scratch[kScratchByteCount];
    const char* text = GetCString(mString, scratch, kScratchByteCount) ? scratch : kCannotDisplayCString;
    // The scratch text is shorter than any limit that a short cannot hold.
    const long limit = std::min<long>(inMaxLength, std::numeric_limits<short>::max());
    truncating::CStrNCopy(text, outBuffer, static_cast<short>(std::max(limit, 0L)));
    return outBuffer;
}

unsigned char* TCFString::PString(unsigned char* outBuffer, long inMaxLength) const {
    outBuffer[0] = 0;
    if (IsEmpty()) return outBuffer;
    // More than a length byte can tell is no use, and less than nothing is nothing.
    const long maxLength = std::clamp(inMaxLength, 0L, kMaxPascalLength);
    ByteCount length = 0;
    if (GetBestFit(mString, outBuffer + 1, maxLength, length)) {
        outBuffer[0] = static_cast<unsigned char>(length);
        return outBuffer;
    }
    if (CFStringGetPascalString(mString, outBuffer, maxLength + 1, CFStringGetSystemEncoding()))
        return outBuffer;
    if (maxLength < kMaxPascalLength) {
        Str255 scratch;
        if (CFStringGetPascalString(mString, scratch, sizeof scratch, CFStringGetSystemEncoding())) {
            truncating::PStrNCopy(scratch, outBuffer, static_cast<short>(maxLength));
            return outBuffer;
        }
    }
    char scratch[kMaxPascalLength + 1];
    c2pstrcpy(outBuffer, CString(maxLength, scratch));
    return outBuffer;
}

bool operator==(const TCFString& inLeft, const TCFString& inRight) {
    return inLeft.StringRef() == inRight.StringRef() || inLeft.CompareTo(inRight, 0) == kCFCompareEqualTo;
}

bool operator!=(const TCFString& inLeft, const TCFString& inRight) {
    return inLeft.StringRef() != inRight.StringRef() && inLeft.CompareTo(inRight, 0) != kCFCompareEqualTo;
}
