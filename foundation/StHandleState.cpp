#include <foundation/LException.h>
#include <foundation/StHandleState.h>
#include <toolbox/MacMemory.h>

namespace {

SInt8 StateOf(Handle inHandle) {
    const SInt8 state = HGetState(inHandle);
    const OSErr error = MemError();
    if (error != noErr) LException::Throw(error);
    return state;
}

}  // namespace

StHandleLocker::StHandleLocker(char** inHandle) : mHandle(nullptr), mIsLockedByMe(false) {
    Adopt(inHandle);
}

StHandleLocker::~StHandleLocker() {
    RestoreLockState();
}

void StHandleLocker::Adopt(char** inHandle) {
    RestoreLockState();
    mHandle = inHandle;
    mIsLockedByMe = false;
    if (mHandle == nullptr || (StateOf(mHandle) & kHandleLockedBit) != 0) return;
    mIsLockedByMe = true;
    HLock(mHandle);
}

void StHandleLocker::RestoreLockState() {
    if (mIsLockedByMe && mHandle != nullptr) HUnlock(mHandle);
}

char** StHandleLocker::Release() {
    RestoreLockState();
    char** const handle = mHandle;
    mHandle = nullptr;
    mIsLockedByMe = false;
    return handle;
}

StHandleState::StHandleState(char** inHandle) : mHandle(inHandle), mState(StateOf(inHandle)) {}

// A null handle never gets here: asking for its state has failed.
StHandleState::~StHandleState() {
    HSetState(mHandle, mState);
}
