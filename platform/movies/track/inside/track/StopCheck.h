// Whether somebody wants an opening to end.
#pragma once

#include <toolbox/MovieOpening.h>

namespace toolbox::movies {

// For the thread that opens. Once the answer was yes it stays so, and nobody is asked again.
class StopCheck {
  public:
    // Nobody ever stops it when inShouldStop is null.
    StopCheck(MovieStopProc inShouldStop, void* inContext) : mShouldStop(inShouldStop), mContext(inContext) {}
    StopCheck(const StopCheck&) = delete;
    StopCheck& operator=(const StopCheck&) = delete;

    bool Ask() {
        if (!mIsStopped && mShouldStop != nullptr) mIsStopped = mShouldStop(mContext) != 0;
        return mIsStopped;
    }
    bool IsStopped() const { return mIsStopped; }

  private:
    MovieStopProc mShouldStop;
    void* mContext;
    bool mIsStopped = false;
};

}  // namespace toolbox::movies
