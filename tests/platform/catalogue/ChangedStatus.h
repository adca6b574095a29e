// Items of which the system tells something else than it would.
#pragma once

#include "os/SystemCalls_test_access.h"

#include <sys/stat.h>

namespace test_files {

// While it lives, the system tells something else of items.
class ChangedStatus {
  public:
    explicit ChangedStatus(void (*inChange)(const char* inPath, struct statx& ioStatus))
        : mReal(toolbox::os::Calls()) {
        sReal = mReal.statx;
        sChange = inChange;
        toolbox::os::CallsForTesting().statx = [](int inFolder, const char* inPath, int inFlags,
                                                  unsigned inMask, struct statx* outStatus) {
            const int result = sReal(inFolder, inPath, inFlags, inMask, outStatus);
            if (result == 0) sChange(inPath, *outStatus);
            return result;
        };
    }
    ~ChangedStatus() { toolbox::os::CallsForTesting() = mReal; }
    ChangedStatus(const ChangedStatus&) = delete;
    ChangedStatus& operator=(const ChangedStatus&) = delete;

  private:
    static inline decltype(toolbox::os::SystemCalls::statx) sReal;
    static inline void (*sChange)(const char*, struct statx&);
    toolbox::os::SystemCalls mReal;
};

// As kernels before 5.8 are.
class OldKernel : public ChangedStatus {
  public:
    OldKernel()
        : ChangedStatus([](const char*, struct statx& ioStatus) {
              ioStatus.stx_mask &= ~STATX_MNT_ID;
              ioStatus.stx_attributes = 0;
              ioStatus.stx_mnt_id = 0;
          }) {}
};

}  // namespace test_files
