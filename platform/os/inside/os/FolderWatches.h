// Folders that the system watches for us: one instance of inotify, open as long as its owner has folders
// watched.
//
// The instance of a process is open in a child of fork as well, where reading would take from the parent what
// is told to it; so the child closes it. One thread at a time, but for adding.
#pragma once

#include "os/Descriptor.h"

#include <cstddef>
#include <string_view>

namespace toolbox::os {

class FolderWatches {
  public:
    static constexpr int kNone = -1;  // no watch; and, of what is told, all of them

    enum class Kind {
        kAnyChange,  // of the folder, or of what is in it
        kNewNames    // in the folder
    };
    struct Change {
        int watch = kNone;
        bool isGone = false;    // the watch with what it watched
        std::string_view name;  // in the folder, as on disk; empty for what is told of the folder itself
    };

    // Opens the instance unless it is open: what Add takes; kNone when none can be had.
    [[nodiscard]] int Open() noexcept;
    // One folder has one watch, however often it is added. kNone when none can be had. On any thread, as long
    // as the instance is open: it may last as long as a server takes to answer.
    //   inPath  of the folder, for this call alone
    [[nodiscard]] static int Add(int inInstance, const char* inPath, Kind inKind) noexcept;
    // kNone is none.
    void Remove(int inWatch) noexcept;
    // With all watches.
    void Close() noexcept;

    // Whether the names in an open folder are the same for as long as nobody changes any: those of an
    // encrypted one become others with its key. False where that cannot be told.
    [[nodiscard]] static bool HasLastingNames(int inFolder) noexcept;

    // What the system has told since: inTell(const Change&), once or more often for each, until nothing more
    // waits, or for as many changes as the system keeps by default. False when more may wait then, and when
    // it cannot be read.
    template <typename Tell>
    bool Read(Tell inTell) {
        bool mayBeMore = mInstance.IsOpen();
        for (int block = 0; block < kMaxBlocks && mayBeMore; ++block) {
            if (!ReadBlock(mayBeMore)) return false;
            for (Change change; NextChange(change);)
                inTell(change);
        }
        return !mayBeMore;
    }

  private:
    static constexpr int kMaxBlocks = 2048;
    static constexpr std::size_t kBlockBytes = 4096;
    static constexpr std::size_t kMaxChangeBytes = 272;

    // A block with room for one more change has all that waited.
    [[nodiscard]] bool ReadBlock(bool& outMayBeMore) noexcept;
    bool NextChange(Change& outChange) noexcept;

    Descriptor mInstance;
    std::size_t mUsedBytes = 0;  // of the block
    std::size_t mNextByte = 0;
    alignas(8) char mBlock[kBlockBytes];
};

}  // namespace toolbox::os
