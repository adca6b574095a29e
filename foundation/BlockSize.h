// What the guards of blocks share.
#pragma once

#include <foundation/LException.h>
#include <toolbox/MacErrors.h>
#include <toolbox/MacMemory.h>
#include <toolbox/MacTypes.h>

// A size for the Memory Manager; -1, which it refuses, for one that it has no room to tell.
inline Size BlockSize(long inByteCount) {
    const auto size = static_cast<Size>(inByteCount);
    return size == inByteCount ? size : Size{-1};
}

// Throws the status if there is one.
inline void ThrowIfError(OSErr inError) {
    if (inError != noErr) LException::Throw(inError);
}

// Throws the Memory Manager's status for a block that could not be had, or that memory is full if it tells
// none.
[[noreturn]] inline void ThrowMemError() {
    const OSErr error = MemError();
    LException::Throw(error != noErr ? error : OSErr{memFullErr});
}
