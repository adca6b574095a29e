#include "BlockSize.h"

#include <foundation/StPointerBlock.h>

StPointerBlock::StPointerBlock(char* inPtr) : mPtr(inPtr), mOwns(inPtr != nullptr) {}

StPointerBlock::StPointerBlock(char* inPtr, bool inOwns) : mPtr(inPtr), mOwns(inOwns && inPtr != nullptr) {}

StPointerBlock::StPointerBlock(long inSize, bool inThrowFail, bool inClear)
    : mPtr(inClear ? NewPtrClear(BlockSize(inSize)) : NewPtr(BlockSize(inSize))), mOwns(true) {
    if (inThrowFail && mPtr == nullptr) ThrowMemError();
}

StPointerBlock::StPointerBlock(const StPointerBlock& inOther)
    : mPtr(CopyPointerBlock(inOther.mPtr)), mOwns(mPtr != nullptr) {}

StPointerBlock& StPointerBlock::operator=(const StPointerBlock& inOther) {
    if (this != &inOther) CopyAndAdopt(inOther.mPtr);
    return *this;
}

StPointerBlock::~StPointerBlock() {
    if (mOwns && mPtr != nullptr) DisposePtr(mPtr);
}

char* StPointerBlock::CopyPointerBlock(char* inPtr) {
    if (inPtr == nullptr) return nullptr;
    const Size size = GetPtrSize(inPtr);
    ThrowIfError(MemError());
    const Ptr copy = NewPtr(size);
    if (copy == nullptr) ThrowMemError();
    BlockMoveData(inPtr, copy, size);
    return copy;
}

char* StPointerBlock::Get() const {
    return mPtr;
}

StPointerBlock::operator char*() {
    return mPtr;
}

char* StPointerBlock::Release() const {
    mOwns = false;
    return mPtr;
}

void StPointerBlock::Dispose() {
    if (mOwns && mPtr != nullptr) DisposePtr(mPtr);
    mPtr = nullptr;
    mOwns = false;
}

void StPointerBlock::Adopt(char* inPtr) {
    if (inPtr != mPtr) {
        Dispose();
        mPtr = inPtr;
    }
    mOwns = inPtr != nullptr;
}

void StPointerBlock::CopyAndAdopt(char* inPtr) {
    Adopt(CopyPointerBlock(inPtr));
}

StClearPointerBlock::StClearPointerBlock(long inSize, unsigned char inThrowFail) : StPointerBlock(nullptr) {
    mPtr = NewPtrClear(BlockSize(inSize));
    if (inThrowFail && mPtr == nullptr) ThrowMemError();
    mOwns = mPtr != nullptr;
}
