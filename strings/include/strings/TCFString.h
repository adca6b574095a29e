// Unicode text as a value: one reference to an immutable Core Foundation string, never null.
//
// Copies share the string and cost a reference count. What cannot be created is the empty string, and but for
// Res nothing here throws. Every empty string that is made here is the one object EmptyCFString(); a
// reference that is passed in is held as it is. Operations leave the string as it is and return another; one
// that finds nothing to do returns a copy. Lengths and positions count UTF-16 code units. Any number of
// threads may read one object; it must not be assigned or adopted into meanwhile.
//
// Rooms in buffers for byte strings count neither terminator nor length byte: a buffer holds one more.
#pragma once

#include <foundation/Int64.h>
#include <foundation/MirtalExport.h>
#include <toolbox/CFDateFormatter.h>
#include <toolbox/CFString.h>
#include <toolbox/Files.h>

#include <string>

class MIRTAL_EXPORT TCFString {
  public:
    // Built when the library is loaded, in this order.
    static const TCFString Empty;
    static const TCFString kCannotDisplayCFString;
    // "<CANNOT DISPLAY>", which stands for text that no encoding can hold; as a C and as a Pascal string.
    static const char* const kCannotDisplayCString;
    static const unsigned char* const kCannotDisplayString;

    TCFString();
    TCFString(const TCFString& inOther);
    TCFString(CFStringRef inString);  // retained; null is the empty string
    // Bytes that are not text in inEncoding, or a null pointer, give the empty string.
    TCFString(const char* inText, CFStringEncoding inEncoding);
    TCFString(const unsigned char* inPascalText, CFStringEncoding inEncoding);
    TCFString(const HFSUniStr255& inName);
    // A moment, in seconds from Core Foundation's reference date, as the current locale writes it.
    TCFString(double inAbsoluteTime, CFDateFormatterStyle inDateStyle, CFDateFormatterStyle inTimeStyle);
    ~TCFString();

    TCFString& operator=(const TCFString& inOther);

    // Takes over the caller's reference; null gives the empty string. The reference already held is left as
    // it is, with no count given up.
    void Adopt(CFStringRef inString);
    // Puts the empty string where no string is held; for what creates the reference itself.
    void EnsureNonNullRef();
    static CFStringRef EmptyCFString();  // borrowed

    CFStringRef StringRef() const;             // borrowed; good while this object holds it
    [[nodiscard]] CFStringRef Retain() const;  // the caller releases it
    long Length() const;
    bool IsEmpty() const;
    UniChar Char(long inIndex) const;  // inIndex must be within the string

    // inRange brought inside the string. A negative location becomes 0 and the length grows by as much; a
    // location past the last unit becomes the last unit's with length 0; a negative length becomes 0; and the
    // length ends with the string.
    CFRange CheckRange(const CFRange& inRange) const;
    // Exactly that range, which must be within the string.
    [[nodiscard]] TCFString Substring(long inLocation, long inLength) const;

    CFComparisonResult CompareTo(const TCFString& inOther, CFStringCompareFlags inFlags) const;

    // The application's text encoding, asked once in the life of the process.
    static CFStringEncoding DefaultEncoding();

    // Conversions to bytes.

    // In the default encoding, else the system's, cut at inMaxLength bytes; "<CANNOT DISPLAY>" cut the same
    // way when neither holds the text, or when its bytes are more than 1023 as well as inMaxLength. Returns
    // outBuffer.
    char* CString(long inMaxLength, char* outBuffer) const;
    // The same as a Pascal string in the encoding that fits best; inMaxLength is at most 255.
    unsigned char* PString(unsigned char* outBuffer, long inMaxLength) const;
    // The whole text in that encoding. False, with an empty string in outBuffer, when it does not fit or the
    // encoding cannot hold it.
    bool CStringWithEncoding(long inMaxLength, char* outBuffer, CFStringEncoding inEncoding) const;
    bool PStringWithEncoding(unsigned char* outBuffer, long inMaxLength, CFStringEncoding inEncoding) const;
    // False, leaving outText as it was, when the encoding cannot hold the text or memory is short. Text from
    // a NUL on is left out.
    bool StdStringWithEncoding(std::string& outText, CFStringEncoding inEncoding) const;
    // The whole text, or the empty string when it does not fit or holds half of a surrogate pair. Returns
    // outBuffer.
    char* UTF8(long inMaxLength, char* outBuffer) const;
    // Bytes of the UTF-8 form up to its first NUL; 0 when there is no such form, or memory is short.
    long UTF8Length() const;

    // The first inCount units, which must be within the string, without a terminator. Returns outUnits.
    UniChar* Unicode(long inCount, UniChar* outUnits) const;
    // The first 255 units. Returns outName.
    HFSUniStr255& HFSUniStr(HFSUniStr255& outName) const;
    // A name for a file: "_" for every ":". Of text longer than inMaxLength (> 0) the front and the suffix
    // stay, or the front alone when there is no suffix or it is not shorter than inMaxLength.
    [[nodiscard]] TCFString HFSName(long inMaxLength) const;

    // Strings made from something else.

    // With inIsExternalRepresentation the bytes may begin with a byte order mark, which is dropped.
    [[nodiscard]] static TCFString WithBytes(const unsigned char* inBytes, long inByteCount,
                                             CFStringEncoding inEncoding, bool inIsExternalRepresentation);
    // What CFStringCreateWithFormat makes of the format and the arguments; "%@" is an object.
    [[nodiscard]] static TCFString CFPrintf(CFStringRef inFormat, ...);
    [[nodiscard]] static TCFString Int(const unsigned long& inNumber);  // decimal
    // A string of the application's resources, in the default encoding: "STR " inResID for an inIndex below
    // 0, else entry inIndex (from 1) of the list "STR#" inResID. What is not empty is read once and kept for
    // the life of the process, unless memory for that is short. A missing list or entry is empty; a missing
    // "STR " throws LException "nilP". One thread at a time.
    [[nodiscard]] static TCFString Res(short inResID, short inIndex);

    // Searching. Without flags units compare by value. The empty string is found nowhere.

    bool HasPrefix(const TCFString& inPrefix, bool inIgnoreCase) const;  // every string has the empty prefix
    bool HasSuffix(const TCFString& inSuffix) const;                     // without regard to case
    // The first occurrence, or with kCFCompareBackwards the last; location -1 when there is none.
    CFRange Find(const TCFString& inString, CFStringCompareFlags inFlags) const;
    // The same inside inRange, brought inside the string; length -1, too, when there is none.
    CFRange FindInRange(CFRange inRange, const TCFString& inString, CFStringCompareFlags inFlags) const;

    // Replacing. A range is brought inside the string (CheckRange), so one past the end lies before the last
    // unit; but with one whose location or length is negative nothing is replaced.

    [[nodiscard]] TCFString Replace(const CFRange& inRange, const TCFString& inWith) const;
    [[nodiscard]] TCFString ReplaceSubstring(const TCFString& inFind, const TCFString& inWith,
                                             CFStringCompareFlags inFlags) const;  // what Find finds
    [[nodiscard]] TCFString FindAndReplace(
        const TCFString& inFind, const TCFString& inWith, CFRange inRange,
        CFStringCompareFlags inFlags) const;  // every occurrence inside inRange
    // Puts each parameter in place of the first "^0", "^1", "^2" or "^3", one parameter after the other, so
    // that what was put in is searched too. The mark of an empty parameter stays.
    [[nodiscard]] TCFString PlugParams(const TCFString& inParam0, const TCFString& inParam1,
                                       const TCFString& inParam2, const TCFString& inParam3) const;

    // The suffix of a file's name: from the last dot on, 12 units at most with the dot; else empty.
    [[nodiscard]] TCFString Suffix() const;
    // The string without its suffix. A dot with a space anywhere behind it begins none here.
    [[nodiscard]] TCFString RemoveSuffix() const;

    // Numbers, as strtol, strtoll and strtod in the locale "C" read the first 255 bytes of CString: a number
    // beyond the type is the nearest that the type has. Base 0 goes by the prefixes of C; a base that is none
    // reads nothing.
    //   outIsGood  whether the number is all there is to the end, blanks included; the empty string is a good
    //              0; may be null

    long ToLong(long inBase, unsigned char* outIsGood) const;
    Int64 ToLongLong(long inBase, unsigned char* outIsGood) const;
    // Without its fraction; a number beyond 64 bits is the nearest of 64 bits, and what is no number is 0.
    double ToDouble(unsigned char* outIsGood) const;

    // Case by the rules common to all languages; lengths may change.
    [[nodiscard]] TCFString Capitalize() const;
    [[nodiscard]] TCFString Uppercase() const;
    [[nodiscard]] TCFString Lowercase() const;
    [[nodiscard]] TCFString Normalize(CFStringNormalizationForm inForm) const;

    // The order in which the Finder lists names, of the first 255 units: -1, 0 or 1. Without inStrict, names
    // that differ in the weakest degree only are equal.
    SInt32 FinderCompareTo(const TCFString& inOther, unsigned char inStrict) const;

  private:
    CFStringRef mString;
};

// Exact: units compare by value, case counts. The identical string is equal without looking at it.
MIRTAL_EXPORT bool operator==(const TCFString& inLeft, const TCFString& inRight);
MIRTAL_EXPORT bool operator!=(const TCFString& inLeft, const TCFString& inRight);

MIRTAL_EXPORT TCFString operator+(const TCFString& inLeft, const TCFString& inRight);
