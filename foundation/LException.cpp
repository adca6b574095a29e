#include <foundation/LException.h>

LException::LException(long inErrorCode, TCFString const& inErrorString)
    : mErrorCode(static_cast<SInt32>(inErrorCode)) {
    SetErrorString(inErrorString);
}

LException::LException(LException const& inOther) : std::exception(inOther), mErrorCode(inOther.mErrorCode) {
    SetErrorString(inOther.mErrorString);
}

LException& LException::operator=(LException const& inOther) {
    mErrorCode = inOther.mErrorCode;
    SetErrorString(inOther.mErrorString);
    return *this;
}

LException::~LException() = default;

char const* LException::what() const noexcept {
    return TCFString::kCannotDisplayCString;
}

long LException::GetErrorCode() const {
    return mErrorCode;
}

void LException::SetErrorCode(long inErrorCode) {
    mErrorCode = static_cast<SInt32>(inErrorCode);
}

void LException::SetErrorString(TCFString const& inErrorString) {
    mErrorString = inErrorString;
}

unsigned char const* LException::GetErrorString() const {
    return mErrorString.PString(mPascalString, 255);
}

void LException::Throw(long inErrorCode) {
    throw LException(inErrorCode, TCFString::Empty);
}

void LException::Throw(long inErrorCode, TCFString const& inErrorString) {
    throw LException(inErrorCode, inErrorString);
}
