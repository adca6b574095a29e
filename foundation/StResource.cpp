#include <foundation/LException.h>
#include <foundation/StResource.h>
#include <toolbox/Resources.h>

StResource::StResource(char** inHandle) : mHandle(inHandle) {}

StResource::StResource(unsigned long inType, short inID, unsigned char inThrowFail, unsigned char inOneDeep)
    : mHandle(nullptr) {
    GetResource(inType, inID, inThrowFail, inOneDeep);
}

StResource::StResource(unsigned long inType, const unsigned char* inName, unsigned char inThrowFail,
                       unsigned char inOneDeep)
    : mHandle(nullptr) {
    GetResource(inType, inName, inThrowFail, inOneDeep);
}

StResource::~StResource() {
    Dispose();
}

char** StResource::Hold(char** inHandle, unsigned char inThrowFail) {
    mHandle = inHandle;
    if (mHandle == nullptr && inThrowFail) {
        const OSErr error = ResError();
        LException::Throw(error != noErr ? error : OSErr{resNotFound});
    }
    return mHandle;
}

char** StResource::GetResource(unsigned long inType, short inID, unsigned char inThrowFail,
                               unsigned char inOneDeep) {
    Dispose();
    const auto type = static_cast<ResType>(inType);
    return Hold(inOneDeep ? Get1Resource(type, inID) : ::GetResource(type, inID), inThrowFail);
}

char** StResource::GetResource(unsigned long inType, const unsigned char* inName, unsigned char inThrowFail,
                               unsigned char inOneDeep) {
    Dispose();
    const auto type = static_cast<ResType>(inType);
    return Hold(inOneDeep ? Get1NamedResource(type, inName) : GetNamedResource(type, inName), inThrowFail);
}

char** StResource::GetIndResource(unsigned long inType, short inIndex, unsigned char inThrowFail,
                                  unsigned char inOneDeep) {
    Dispose();
    const auto type = static_cast<ResType>(inType);
    return Hold(inOneDeep ? Get1IndResource(type, inIndex) : ::GetIndResource(type, inIndex), inThrowFail);
}

void StResource::Dispose() {
    if (mHandle == nullptr) return;
    GetResAttrs(mHandle);
    if (ResError() != noErr)
        DisposeHandle(mHandle);
    else
        ReleaseResource(mHandle);
    mHandle = nullptr;
}

void StResource::Adopt(char** inHandle) {
    if (inHandle == mHandle) return;
    Dispose();
    mHandle = inHandle;
}

void StResource::Detach() {
    if (mHandle != nullptr) DetachResource(mHandle);
}
