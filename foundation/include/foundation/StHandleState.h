// Guards of a handle's state: a lock, or all state bits, held for the length of a scope.
//
// The guards borrow the handle, which must live as long as they hold it. Failures are thrown as LException
// with the status of the Memory Manager.
#pragma once

#include <foundation/MirtalExport.h>

// Locks a handle that is not locked, and unlocks it again. One that was locked already is left alone.
class MIRTAL_EXPORT StHandleLocker {
  public:
    explicit StHandleLocker(char** inHandle);  // may be null
    ~StHandleLocker();
    StHandleLocker(const StHandleLocker&) = delete;
    StHandleLocker& operator=(const StHandleLocker&) = delete;

    // Unlocks the handle held so far if the guard locked it, and holds this one. When its state cannot be
    // had, it is held unlocked, and that is thrown.
    void Adopt(char** inHandle);
    // Unlocks the handle if the guard locked it. May be called again: it unlocks again then.
    void RestoreLockState();
    // RestoreLockState, and holds nothing any more.
    char** Release();

  private:
    char** mHandle;
    bool mIsLockedByMe;
};

// Puts a handle's state bits back to what they were.
class MIRTAL_EXPORT StHandleState {
  public:
    explicit StHandleState(char** inHandle);
    ~StHandleState();
    StHandleState(const StHandleState&) = delete;
    StHandleState& operator=(const StHandleState&) = delete;

  private:
    char** mHandle;
    signed char mState;
};
