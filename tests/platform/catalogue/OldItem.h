// An item that the file system tells to be older than what a test can make.
#pragma once

#include "os/SystemCalls_test_access.h"
#include "support/FileWorld.h"

#include <sys/stat.h>

#include <cstdint>
#include <string>

namespace test_files {

// While one lives, statx tells of the item that it names that it was created in 2001. One at a time.
class OldItem {
  public:
    OldItem() : mSaved(toolbox::os::Calls()) {
        sReal = mSaved;
        sInode = 0;
        toolbox::os::CallsForTesting().statx = [](int inFolder, const char* inPath, int inFlags,
                                                  unsigned inMask, struct statx* outStatus) {
            const int result = sReal.statx(inFolder, inPath, inFlags, inMask, outStatus);
            if (result == 0 && outStatus->stx_ino == sInode) outStatus->stx_btime.tv_sec = 1'000'000'000;
            return result;
        };
    }
    ~OldItem() { toolbox::os::CallsForTesting() = mSaved; }
    OldItem(const OldItem&) = delete;
    OldItem& operator=(const OldItem&) = delete;

    static void Name(const std::string& inPath) { sInode = support::FileWorld::StatusOf(inPath).stx_ino; }

  private:
    static inline toolbox::os::SystemCalls sReal;
    static inline std::uint64_t sInode;

    const toolbox::os::SystemCalls mSaved;
};

}  // namespace test_files
