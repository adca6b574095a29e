// Guards that own a fixed block.
//
// A guard that owns its block frees it when the scope ends; one that does not only points at it. Sizes are
// bytes; one that 32 bits cannot hold is one that cannot be had. Failures are thrown as LException with the
// status of the Memory Manager, or -108 if it tells none where a block cannot be had. A guard belongs to one
// thread at a time.
#pragma once

#include <foundation/MirtalExport.h>

class MIRTAL_EXPORT StPointerBlock {
  public:
    // Takes the block over, if it is not null.
    explicit StPointerBlock(char* inPtr);
    // Owns it only if inOwns.
    StPointerBlock(char* inPtr, bool inOwns);
    // A new block, of zeroes if inClear. When it cannot be had: with inThrowFail that is thrown; without, the
    // guard holds null.
    StPointerBlock(long inSize, bool inThrowFail, bool inClear);
    // A copy of the block, owned, whether the other guard owns its own or not.
    StPointerBlock(const StPointerBlock& inOther);
    StPointerBlock& operator=(const StPointerBlock& inOther);
    ~StPointerBlock();

    // A copy that the caller owns; null of null.
    [[nodiscard]] static char* CopyPointerBlock(char* inPtr);

    char* Get() const;  // borrowed
    operator char*();
    // Gives up ownership; the guard keeps pointing at the block.
    char* Release() const;
    // Frees the block if it is owned; the guard holds null then.
    void Dispose();
    // Takes the block over. One held so far is disposed of, unless it is the same.
    void Adopt(char* inPtr);
    // Takes over a copy. When copying fails nothing changes.
    void CopyAndAdopt(char* inPtr);

  protected:
    char* mPtr;
    mutable bool mOwns;
};

// A new block of zeroes. When it cannot be had: with inThrowFail that is thrown; without, the guard holds
// null.
class MIRTAL_EXPORT StClearPointerBlock : public StPointerBlock {
  public:
    StClearPointerBlock(long inSize, unsigned char inThrowFail);
};
