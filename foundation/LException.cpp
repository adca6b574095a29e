#include <foundation/LException.h>

LException::LException(long inErrorCode, const TCFString& inErrorString)
    : mErrorCode(static_cast<SInt32>(inErrorCode)) {
    SetErrorString(inErrorString);
}

LException::LException(const LException& inOther) : std::exception(inOther), mErrorCode(inOther.mErrorCode) {
    SetErrorString(inOther.mErrorString);
}

LException& LException::operator=(const LException& inOther) {
    mErrorCode = inOther.mErrorCode;
    SetErrorString(inOther.mErrorString);
    return *this;
}

LException::~LException() = default;

const char* LException::what() const noexcept {
    return TCFString::kCannotDisplayCString;
}

long LException::GetErrorCode() const {
    return mErrorCode;
}

void LException::SetErrorCode(long inErrorCode) {
    mErrorCode = static_cast<SInt32>(inErrorCode);
}

void LException::SetErrorString(const TCFString& inErrorString) {
    mErrorString = inErrorString;
}

const unsigned char* LException::GetErrorString() const {
    return mErrorString.PString(mPascalString, 255);
}

void LException::Throw(long inErrorCode) {
    throw LException(inErrorCode, TCFString::Empty);
}

void LException::Throw(long inErrorCode, const TCFString& inErrorString) {
    throw LException(inErrorCode, inErrorString);
}
