// Unicode text as a value: one reference to an immutable Core Foundation string, never null.
//
// Copies share the string and cost a reference count. What cannot be created is the empty string; nothing
// here throws. Lengths and positions count UTF-16 code units. Any number of threads may read one object; it
// must not be assigned or adopted into meanwhile.
#pragma once

#include <foundation/MirtalExport.h>
#include <toolbox/CFString.h>
#include <toolbox/Files.h>

class MIRTAL_EXPORT TCFString {
  public:
    // Built when the library is loaded, in this order.
    static TCFString const Empty;
    static TCFString const kCannotDisplayCFString;
    // "<CANNOT DISPLAY>", which stands for text that no encoding can hold; as a C and as a Pascal string.
    static char const* const kCannotDisplayCString;
    static unsigned char const* const kCannotDisplayString;

    TCFString();
    TCFString(const TCFString& inOther);
    TCFString(CFStringRef inString);  // retained; null is the empty string
    // Bytes that are not text in inEncoding, or a null pointer, give the empty string.
    TCFString(const char* inText, CFStringEncoding inEncoding);
    TCFString(const unsigned char* inPascalText, CFStringEncoding inEncoding);
    TCFString(const HFSUniStr255& inName);
    ~TCFString();

    TCFString& operator=(const TCFString& inOther);

    // Takes over the caller's reference; null gives the empty string. The reference already held is left as
    // it is, with no count given up.
    void Adopt(CFStringRef inString);
    // Puts the empty string where no string is held; for what creates the reference itself.
    void EnsureNonNullRef();
    static CFStringRef EmptyCFString();  // borrowed

    CFStringRef StringRef() const;  // borrowed; good while this object holds it
    CFStringRef Retain() const;     // the caller releases it
    long Length() const;
    bool IsEmpty() const;
    UniChar Char(long inIndex) const;  // inIndex must be within the string

    // inRange brought inside the string. A negative location becomes 0 and the length grows by as much; a
    // location past the last unit becomes the last unit's with length 0; a negative length becomes 0; and the
    // length ends with the string.
    CFRange CheckRange(const CFRange& inRange) const;
    // Exactly that range, which must be within the string.
    TCFString Substring(long inLocation, long inLength) const;

    CFComparisonResult CompareTo(const TCFString& inOther, CFStringCompareFlags inFlags) const;

    // The application's text encoding, asked once in the life of the process.
    static CFStringEncoding DefaultEncoding();

    // The text as bytes in the default encoding, else the system's, cut at inMaxLength bytes; "<CANNOT
    // DISPLAY>" cut the same way when neither holds it. Returns outBuffer, which holds inMaxLength + 1 bytes.
    char* CString(long inMaxLength, char* outBuffer) const;
    // The same as a Pascal string in the encoding that fits best; inMaxLength is at most 255.
    unsigned char* PString(unsigned char* outBuffer, long inMaxLength) const;

  private:
    CFStringRef mString;
};

// Exact: units compare by value, case counts. The identical string is equal without looking at it.
MIRTAL_EXPORT bool operator==(const TCFString& inLeft, const TCFString& inRight);
MIRTAL_EXPORT bool operator!=(const TCFString& inLeft, const TCFString& inRight);
