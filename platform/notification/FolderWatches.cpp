#include "FolderWatches.h"

#include "os/SystemCalls.h"

#include <sys/inotify.h>

#include <cstring>

namespace toolbox::notification {

namespace {

constexpr UInt32 kChanges =
    IN_ATTRIB | IN_CREATE | IN_DELETE | IN_DELETE_SELF | IN_MODIFY | IN_MOVED_FROM | IN_MOVED_TO;

}  // namespace

int FolderWatches::Open() noexcept {
    if (!mInstance.IsOpen()) mInstance = os::Descriptor(os::Calls().inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    return mInstance.IsOpen() ? mInstance.Number() : kNone;
}

int FolderWatches::Add(int inInstance, const char* inPath) noexcept {
    const int watch = os::Calls().inotify_add_watch(inInstance, inPath, kChanges | IN_ONLYDIR);
    return watch < 0 ? kNone : watch;
}

void FolderWatches::Remove(int inWatch) noexcept {
    // It is gone already where its folder is.
    if (inWatch != kNone) (void)os::Calls().inotify_rm_watch(mInstance.Number(), inWatch);
}

void FolderWatches::Close() noexcept {
    (void)mInstance.Close();
}

bool FolderWatches::ReadBlock() noexcept {
    mUsedBytes = mNextByte = 0;
    return mInstance.IsOpen() && os::ReadSome(mInstance.Number(), mBlock, sizeof mBlock, mUsedBytes) == 0 &&
           mUsedBytes != 0;
}

bool FolderWatches::NextChange(Change& outChange) noexcept {
    struct inotify_event event = {};
    if (mUsedBytes - mNextByte < sizeof event) return false;
    std::memcpy(&event, mBlock + mNextByte, sizeof event);
    mNextByte += sizeof event + event.len;
    // Of changes that the system could not keep it tells only that there were some, without a watch.
    outChange = {event.wd, (event.mask & IN_IGNORED) != 0};
    return true;
}

}  // namespace toolbox::notification
