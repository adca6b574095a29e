// Folders that the system watches for us: one instance of inotify, open as long as something is watched.
//
// The instance of a process is open in a child of fork as well, where reading would take from the parent what
// is told to it; so the child closes it. One thread at a time, but for adding.
#pragma once

#include "os/Descriptor.h"

namespace toolbox::notification {

class FolderWatches {
  public:
    static constexpr int kNone = -1;  // no watch; and, of what is told, all of them

    // Opens the instance unless it is open: what Add takes; kNone when none can be had.
    [[nodiscard]] int Open() noexcept;
    // One folder has one watch, however often it is added. kNone when none can be had. On any thread, as long
    // as the instance is open: it may last as long as a server takes to answer.
    //   inPath  of the folder, for this call alone
    [[nodiscard]] static int Add(int inInstance, const char* inPath) noexcept;
    // kNone is none.
    void Remove(int inWatch) noexcept;
    // With all watches.
    void Close() noexcept;

    // What the system has told since: inTell(watch, isGone), once or more often for each, until nothing more
    // waits, or for as many changes as the system keeps by default: what is left then is for the next time.
    template <typename Tell>
    void Read(Tell inTell) noexcept {
        for (int block = 0; block < kMaxBlocks && ReadBlock(); ++block)
            for (Change change; NextChange(change);)
                inTell(change.watch, change.isGone);
    }

  private:
    struct Change {
        int watch;
        bool isGone;  // the watch with what it watched
    };
    static constexpr int kMaxBlocks = 2048;
    static constexpr std::size_t kBlockBytes = 4096;  // the longest change takes 272

    // False when nothing waits.
    bool ReadBlock() noexcept;
    bool NextChange(Change& outChange) noexcept;

    os::Descriptor mInstance;
    std::size_t mUsedBytes = 0;  // of the block
    std::size_t mNextByte = 0;
    alignas(8) char mBlock[kBlockBytes];
};

}  // namespace toolbox::notification
