#include "BlockSize.h"

#include <foundation/StHandleBlock.h>
#include <toolbox/Resources.h>

namespace {

// Null of null.
Handle CopyOf(Handle inHandle) {
    Handle copy = inHandle;
    if (copy != nullptr) ThrowIfError(HandToHand(&copy));
    return copy;
}

}  // namespace

StHandleBlock::StHandleBlock(char** inHandle) : mHandle(inHandle), mOwns(inHandle != nullptr) {}

StHandleBlock::StHandleBlock(char** inHandle, bool inOwns)
    : mHandle(inHandle), mOwns(inOwns && inHandle != nullptr) {}

StHandleBlock::StHandleBlock(long inSize, bool inThrowFail, bool inUseTempMem)
    : mHandle(NewHandle(BlockSize(inSize))), mOwns(true) {
    if (mHandle != nullptr) return;
    OSErr error = MemError();
    if (inUseTempMem) mHandle = TempNewHandle(BlockSize(inSize), &error);
    if (inThrowFail && mHandle == nullptr) LException::Throw(error);
}

StHandleBlock::StHandleBlock(const StHandleBlock& inOther)
    : mHandle(CopyOf(inOther.mHandle)), mOwns(inOther.mHandle != nullptr) {}

StHandleBlock& StHandleBlock::operator=(const StHandleBlock& inOther) {
    if (this != &inOther) CopyAndAdopt(inOther.mHandle);
    return *this;
}

StHandleBlock::~StHandleBlock() {
    Dispose();
}

char** StHandleBlock::GetCopy() const {
    return CopyOf(mHandle);
}

char** StHandleBlock::Release() const {
    mOwns = false;
    return mHandle;
}

void StHandleBlock::Dispose() {
    if (mOwns && mHandle != nullptr) {
        GetResAttrs(mHandle);
        if (ResError() != noErr)
            DisposeHandle(mHandle);
        else
            ReleaseResource(mHandle);
    }
    mHandle = nullptr;
    mOwns = false;
}

void StHandleBlock::Adopt(char** inHandle) {
    if (inHandle != mHandle) {
        Dispose();
        mHandle = inHandle;
    }
    mOwns = inHandle != nullptr;
}

void StHandleBlock::CopyAndAdopt(char** inHandle) {
    Adopt(CopyOf(inHandle));
}

bool StHandleBlock::IsAResource() const {
    GetResAttrs(mHandle);
    return ResError() != resNotFound;
}

StClearHandleBlock::StClearHandleBlock(long inSize, unsigned char inThrowFail) : StHandleBlock(nullptr) {
    mHandle = NewHandleClear(BlockSize(inSize));
    if (inThrowFail && mHandle == nullptr) ThrowMemError();
    mOwns = mHandle != nullptr;
}

StTempHandle::StTempHandle(long inSize, unsigned char inThrowFail) : StHandleBlock(nullptr) {
    OSErr error = noErr;
    mHandle = TempNewHandle(BlockSize(inSize), &error);
    if (inThrowFail && mHandle == nullptr) LException::Throw(error);
    mOwns = mHandle != nullptr;
}
