// Guards that own a relocatable block.
//
// A guard that owns its block frees it when the scope ends; one that does not only points at it. Sizes are
// bytes; one that 32 bits cannot hold is one that cannot be had. Failures are thrown as LException with the
// status of the Memory Manager. A guard belongs to one thread at a time.
#pragma once

#include <foundation/MirtalExport.h>

class MIRTAL_EXPORT StHandleBlock {
  public:
    // Takes the handle over, if it is not null.
    explicit StHandleBlock(char** inHandle);
    // Owns it only if inOwns.
    StHandleBlock(char** inHandle, bool inOwns);
    // A new block, contents unspecified. When it cannot be had: with inUseTempMem, temporary memory is tried;
    // then, with inThrowFail, the last status is thrown; without, the guard holds null.
    StHandleBlock(long inSize, bool inThrowFail, bool inUseTempMem);
    // A copy of the block, owned, whether the other guard owns its own or not.
    StHandleBlock(const StHandleBlock& inOther);
    StHandleBlock& operator=(const StHandleBlock& inOther);
    ~StHandleBlock();

    char** Get() const { return mHandle; }  // borrowed
    // A copy that the caller owns; null of null.
    [[nodiscard]] char** GetCopy() const;
    // Gives up ownership; the guard keeps pointing at the block.
    char** Release() const;
    // Frees the block if it is owned: a resource with ReleaseResource, any other with DisposeHandle. The
    // guard holds null then, whether it owned its block or not.
    void Dispose();
    // Takes the handle over. One held so far is disposed of, unless it is the same.
    void Adopt(char** inHandle);
    // Takes over a copy. When copying fails nothing changes.
    void CopyAndAdopt(char** inHandle);
    // What the Resource Manager says of the handle, but for statuses other than "no such resource", which
    // count as yes here and as no in Dispose.
    bool IsAResource() const;

  protected:
    char** mHandle;
    mutable bool mOwns;
};

// A new block of zeroes. When it cannot be had: with inThrowFail that is thrown, -108 if the Memory Manager
// tells no status; without, the guard holds null.
class MIRTAL_EXPORT StClearHandleBlock : public StHandleBlock {
  public:
    StClearHandleBlock(long inSize, unsigned char inThrowFail);
};

// The same in temporary memory, contents unspecified; what is thrown is the status that came with it.
class MIRTAL_EXPORT StTempHandle : public StHandleBlock {
  public:
    StTempHandle(long inSize, unsigned char inThrowFail);
};
