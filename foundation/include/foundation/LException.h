// The library's one exception: a platform status code, and a message that may be empty.
//
// Copying shares the message's string. Throw is how the library raises it.
#pragma once

#include <foundation/MirtalExport.h>
#include <strings/TCFString.h>
#include <toolbox/MacTypes.h>

#include <exception>

class MIRTAL_EXPORT LException : public std::exception {
  public:
    // The low 32 bits of the code, as a signed value, are kept; 0 is a code like any other.
    LException(long inErrorCode, const TCFString& inErrorString);
    LException(const LException& inOther);
    LException& operator=(const LException& inOther);
    ~LException() override;

    // Always "<CANNOT DISPLAY>": the message is read with GetErrorString, the code with GetErrorCode.
    const char* what() const noexcept override;

    long GetErrorCode() const;
    void SetErrorCode(long inErrorCode);
    void SetErrorString(const TCFString& inErrorString);

    // The message as a Pascal string, cut to what fits in 255 bytes. It lies in this object, good until the
    // next call on it; so one thread at a time.
    const unsigned char* GetErrorString() const;

    [[noreturn]] static void Throw(long inErrorCode);
    [[noreturn]] static void Throw(long inErrorCode, const TCFString& inErrorString);

  private:
    SInt32 mErrorCode;
    TCFString mErrorString;
    mutable Str255 mPascalString;  // filled by GetErrorString alone, never copied
};
