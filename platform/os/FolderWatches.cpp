#include "os/FolderWatches.h"

#include "os/SystemCalls.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/inotify.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

namespace toolbox::os {

namespace {

constexpr UInt32 kNewNames = IN_CREATE | IN_MOVED_TO;
constexpr UInt32 kAnyChange = kNewNames | IN_ATTRIB | IN_DELETE | IN_DELETE_SELF | IN_MODIFY | IN_MOVED_FROM;

}  // namespace

int FolderWatches::Open() noexcept {
    if (!mInstance.IsOpen()) mInstance = Descriptor(Calls().inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    return mInstance.IsOpen() ? mInstance.Number() : kNone;
}

int FolderWatches::Add(int inInstance, const char* inPath, Kind inKind) noexcept {
    const UInt32 changes = inKind == Kind::kNewNames ? kNewNames : kAnyChange;
    const int watch = Calls().inotify_add_watch(inInstance, inPath, changes | IN_ONLYDIR);
    return watch < 0 ? kNone : watch;
}

void FolderWatches::Remove(int inWatch) noexcept {
    // It is gone already where its folder is.
    if (inWatch != kNone) (void)Calls().inotify_rm_watch(mInstance.Number(), inWatch);
}

void FolderWatches::Close() noexcept {
    (void)mInstance.Close();
}

bool FolderWatches::HasLastingNames(int inFolder) noexcept {
    struct statx status = {};
    return Calls().statx(inFolder, "", AT_EMPTY_PATH, 0, &status) == 0 &&
           (status.stx_attributes & STATX_ATTR_ENCRYPTED) == 0;
}

bool FolderWatches::ReadBlock(bool& outMayBeMore) noexcept {
    static_assert(kMaxChangeBytes == sizeof(struct inotify_event) + NAME_MAX + 1);
    mNextByte = 0;
    const int error = ReadSome(mInstance.Number(), mBlock, sizeof mBlock, mUsedBytes);
    outMayBeMore = sizeof mBlock - mUsedBytes < kMaxChangeBytes;
    return error == 0 || error == EAGAIN;
}

bool FolderWatches::NextChange(Change& outChange) noexcept {
    struct inotify_event event = {};
    if (mUsedBytes - mNextByte < sizeof event) return false;
    std::memcpy(&event, mBlock + mNextByte, sizeof event);
    const char* const name = mBlock + mNextByte + sizeof event;
    mNextByte += sizeof event + event.len;
    // Of changes that the system could not keep it tells only that there were some, without a watch.
    outChange = {event.wd, (event.mask & IN_IGNORED) != 0, {name, strnlen(name, event.len)}};
    return true;
}

}  // namespace toolbox::os
