#include "support/MemoryFiles.h"

#include "support/Failed.h"
#include "support/KitsOwn.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>

namespace support {

namespace {

// Far from any that the system gives.
constexpr int kFirstDescriptor = 1 << 20;

bool IsReadable(int inFlags) {
    return (inFlags & O_PATH) == 0 && (inFlags & O_ACCMODE) != O_WRONLY;
}
bool IsWritable(int inFlags) {
    return (inFlags & O_PATH) == 0 && (inFlags & O_ACCMODE) != O_RDONLY;
}

// 0 or the errno of an open of what is neither file nor folder.
int CheckSpecial(const MemoryNode& inItem, int inFlags) {
    if (S_ISSOCK(inItem.mode)) return ENXIO;
    if (!S_ISFIFO(inItem.mode) || (inFlags & O_ACCMODE) == O_RDWR) return 0;
    if ((inFlags & O_NONBLOCK) == 0) return EDEADLK;  // nobody would ever come to the other end
    return IsWritable(inFlags) ? ENXIO : 0;
}

// Of the volume that the real root is on, which outlives this one in memory.
struct statx RootStatus(const toolbox::os::SystemCalls& inReal) {
    struct statx status = {};
    (void)inReal.statx(AT_FDCWD, "/", 0, STATX_BASIC_STATS | STATX_BTIME | STATX_MNT_ID, &status);
    return status;
}

// The kernel was built without it.
int IsMissingCall() {
    errno = ENOSYS;
    return -1;
}

}  // namespace

MemoryFiles* MemoryFiles::sInUse = nullptr;

template <auto kFunction>
struct MemoryFiles::StandIn {
    template <typename Result, typename... Arguments>
    static constexpr auto Of(Result (MemoryFiles::*)(Arguments...)) {
        return +[](Arguments... inArguments) {
            const KitsOwn own;
            const std::lock_guard lock(sInUse->mMutex);
            return (sInUse->*kFunction)(inArguments...);
        };
    }
    static constexpr auto kCall = Of(kFunction);
};

void MemoryFiles::Replace(toolbox::os::SystemCalls& ioCalls) {
    ioCalls.openat = StandIn<&MemoryFiles::Open>::kCall;
    ioCalls.close = StandIn<&MemoryFiles::Close>::kCall;
    ioCalls.pread = StandIn<&MemoryFiles::ReadAt>::kCall;
    ioCalls.pwrite = StandIn<&MemoryFiles::WriteAt>::kCall;
    ioCalls.read = StandIn<&MemoryFiles::Read>::kCall;
    ioCalls.write = StandIn<&MemoryFiles::Write>::kCall;
    ioCalls.posix_fallocate = StandIn<&MemoryFiles::Reserve>::kCall;
    ioCalls.ftruncate = StandIn<&MemoryFiles::SetLength>::kCall;
    ioCalls.fsync = StandIn<&MemoryFiles::Sync>::kCall;
    ioCalls.flock = Lock;
    ioCalls.fcntl = StandIn<&MemoryFiles::LockRange>::kCall;
    ioCalls.fallocate = StandIn<&MemoryFiles::Allocate>::kCall;
    ioCalls.fchmod = StandIn<&MemoryFiles::SetModeOfOpen>::kCall;
    ioCalls.fchown = StandIn<&MemoryFiles::SetOwnerOfOpen>::kCall;
    ioCalls.fchownat = StandIn<&MemoryFiles::SetOwner>::kCall;
    ioCalls.copy_file_range = StandIn<&MemoryFiles::CopyRange>::kCall;
    ioCalls.lseek = StandIn<&MemoryFiles::Seek>::kCall;
    ioCalls.ioctl = StandIn<&MemoryFiles::Control>::kCall;
    ioCalls.flistxattr = StandIn<&MemoryFiles::ListAttributes>::kCall;
    ioCalls.fgetxattr = StandIn<&MemoryFiles::GetAttribute>::kCall;
    ioCalls.fsetxattr = StandIn<&MemoryFiles::SetAttribute>::kCall;
    ioCalls.mount = StandIn<&MemoryFiles::MountAt>::kCall;
    ioCalls.fdopendir = StandIn<&MemoryFiles::List>::kCall;
    ioCalls.readdir = StandIn<&MemoryFiles::NextOf>::kCall;
    ioCalls.closedir = StandIn<&MemoryFiles::CloseListing>::kCall;
    ioCalls.statx = StandIn<&MemoryFiles::GetStatus>::kCall;
    ioCalls.statvfs = StandIn<&MemoryFiles::GetVolumeStatus>::kCall;
    ioCalls.faccessat = StandIn<&MemoryFiles::CheckAccess>::kCall;
    ioCalls.fchmodat = StandIn<&MemoryFiles::SetMode>::kCall;
    ioCalls.utimensat = StandIn<&MemoryFiles::SetTimes>::kCall;
    ioCalls.mkdirat = StandIn<&MemoryFiles::MakeFolder>::kCall;
    ioCalls.renameat2 = StandIn<&MemoryFiles::Rename>::kCall;
    ioCalls.linkat = StandIn<&MemoryFiles::AddName>::kCall;
    ioCalls.unlinkat = StandIn<&MemoryFiles::Remove>::kCall;
    ioCalls.readlinkat = StandIn<&MemoryFiles::ReadLink>::kCall;
    ioCalls.realpath = StandIn<&MemoryFiles::Canonical>::kCall;
    ioCalls.inotify_init1 = [](int) { return IsMissingCall(); };
    ioCalls.inotify_add_watch = [](int, const char*, std::uint32_t) { return IsMissingCall(); };
    ioCalls.inotify_rm_watch = [](int, int) { return IsMissingCall(); };
}

MemoryFiles::MemoryFiles() : mReal(toolbox::os::CallsForTesting()), mTree(RootStatus(mReal)) {
    MakeProcess();
    sInUse = this;
    Replace(toolbox::os::CallsForTesting());
}

MemoryFiles::~MemoryFiles() {
    toolbox::os::CallsForTesting() = mReal;
    sInUse = nullptr;
}

void MemoryFiles::SetCapacity(std::uint64_t inByteCount) {
    const std::lock_guard lock(mMutex);
    mTree.Root().node->volume->capacityBytes = inByteCount;
}

void MemoryFiles::SetMaxBytesPerCall(std::size_t inByteCount) {
    const std::lock_guard lock(mMutex);
    mMaxBytesPerCall = inByteCount;
}

void MemoryFiles::SetMaxDescriptors(std::size_t inCount) {
    const std::lock_guard lock(mMutex);
    mMaxDescriptors = inCount;
}

std::size_t MemoryFiles::OpenCount() const {
    const std::lock_guard lock(mMutex);
    return mOpenFiles.size();
}

MemoryFiles::OpenFile* MemoryFiles::Get(int inDescriptor) {
    const auto found = mOpenFiles.find(inDescriptor);
    return found == mOpenFiles.end() ? nullptr : &found->second;
}

MemoryFiles::OpenFile* MemoryFiles::GetOpen(int inDescriptor) {
    OpenFile* const file = Get(inDescriptor);
    return file == nullptr || (file->flags & O_PATH) != 0 ? nullptr : file;
}

int MemoryFiles::FindToOpen(int inFolder, const char* inPath, int inFlags, Place& outPlace) {
    if (inPath[0] == '\0') return ENOENT;
    if (mOpenFiles.size() >= mMaxDescriptors) return EMFILE;
    const bool makes = (inFlags & O_CREAT) != 0;
    if (makes) {
        const int error = Find(inFolder, inPath, Last::kEntry, outPlace);
        if (error != 0) return error;
        if (outPlace.hasSlash) return EISDIR;
        if ((inFlags & O_EXCL) != 0) return outPlace.item.node == nullptr ? 0 : EEXIST;
    }
    const int error =
        Find(inFolder, inPath, (inFlags & O_NOFOLLOW) == 0 ? Last::kFollowed : Last::kItself, outPlace);
    if (error != 0) return error;
    if (makes && outPlace.hasSlash) return EISDIR;
    return outPlace.item.node == nullptr && !makes ? ENOENT : 0;
}

int MemoryFiles::CheckOpening(const Place& inPlace, int inFlags) const {
    if (inPlace.item.node == nullptr) {
        if (inPlace.folder.mount->isReadOnly) return EROFS;
        const MemoryNode& folder = *inPlace.folder.node;
        return folder.volume->capacityBytes != 0 && MemoryTree::MayAccess(folder, W_OK | X_OK) ? 0 : EACCES;
    }
    const MemoryNode& item = *inPlace.item.node;
    if ((inFlags & O_DIRECTORY) != 0 && !item.IsFolder()) return ENOTDIR;
    if ((inFlags & O_PATH) != 0) return 0;
    if (item.IsLink()) return ELOOP;
    if (item.IsFolder() && ((inFlags & O_CREAT) != 0 || IsWritable(inFlags))) return EISDIR;
    const bool changes = IsWritable(inFlags) || (inFlags & O_TRUNC) != 0;
    const int access = (IsReadable(inFlags) ? R_OK : 0) | (changes ? W_OK : 0);
    if (!MemoryTree::MayAccess(item, access)) return EACCES;
    if (item.IsFile() && changes && inPlace.item.mount->isReadOnly) return EROFS;
    return CheckSpecial(item, inFlags);
}

int MemoryFiles::Open(int inFolder, const char* inPath, int inFlags, mode_t inMode) {
    const int flags = (inFlags & O_PATH) != 0 ? inFlags & ~(O_CREAT | O_EXCL | O_TRUNC) : inFlags;
    Place place;
    int error = FindToOpen(inFolder, inPath, flags, place);
    if (error == 0) error = CheckOpening(place, flags);
    if (error != 0) return Fail(error);
    MemoryLocation at =
        place.item.node != nullptr
            ? place.item
            : MemoryLocation{place.folder.mount, mTree.Add(place, S_IFREG | (inMode & 07777))};
    if ((flags & O_TRUNC) != 0 && at.node->IsFile() && !at.node->bytes.empty()) {
        at.node->bytes.clear();
        MemoryTree::Touch(*at.node);
    }
    if (at.node->toBytes) {
        at.node = std::make_shared<MemoryNode>(*at.node);
        at.node->bytes = at.node->toBytes();
    }
    int descriptor = kFirstDescriptor;
    while (mOpenFiles.count(descriptor) != 0)
        ++descriptor;
    mOpenFiles[descriptor] = {at, flags};
    TellOfOpened(descriptor, inPath);
    return descriptor;
}

int MemoryFiles::Close(int inDescriptor) {
    if (mOpenFiles.erase(inDescriptor) == 0) return Fail(EBADF);
    TellOfClosed(inDescriptor);
    mUnlocked.notify_all();
    return 0;
}

ssize_t MemoryFiles::ReadFrom(const OpenFile& inFile, void* outBytes, std::size_t inByteCount,
                              std::size_t inOffset) const {
    if (!IsReadable(inFile.flags)) return Fail(EBADF);
    if (inFile.Item().IsFolder()) return Fail(EISDIR);
    const std::string& bytes = inFile.Item().bytes;
    return static_cast<ssize_t>(bytes.copy(static_cast<char*>(outBytes),
                                           std::min(inByteCount, mMaxBytesPerCall),
                                           std::min(inOffset, bytes.size())));
}

ssize_t MemoryFiles::ReadAt(int inDescriptor, void* outBytes, std::size_t inByteCount, off_t inOffset) {
    OpenFile* const file = Get(inDescriptor);
    if (inOffset < 0) return Fail(EINVAL);
    if (file == nullptr) return Fail(EBADF);
    if (S_ISFIFO(file->Item().mode)) return Fail(ESPIPE);
    return ReadFrom(*file, outBytes, inByteCount, static_cast<std::size_t>(inOffset));
}

ssize_t MemoryFiles::Read(int inDescriptor, void* outBytes, std::size_t inByteCount) {
    OpenFile* const file = Get(inDescriptor);
    if (file == nullptr) return Fail(EBADF);
    const ssize_t count = ReadFrom(*file, outBytes, inByteCount, file->position);
    if (count > 0) file->position += static_cast<std::size_t>(count);
    return count;
}

ssize_t MemoryFiles::WriteTo(OpenFile& ioFile, const void* inBytes, std::size_t inByteCount,
                             std::size_t inOffset) const {
    if (!IsWritable(ioFile.flags)) return Fail(EBADF);
    if (inByteCount == 0) return 0;
    std::string& bytes = ioFile.Item().bytes;
    const std::uint64_t maxEnd = bytes.size() + ioFile.Item().volume->FreeByteCount();
    if (inOffset >= maxEnd) return Fail(ENOSPC);
    const auto count =
        static_cast<std::size_t>(std::min<std::uint64_t>({inByteCount, mMaxBytesPerCall, maxEnd - inOffset}));
    bytes.resize(std::max(bytes.size(), inOffset + count));
    bytes.replace(inOffset, count, static_cast<const char*>(inBytes), count);
    MemoryTree::Touch(ioFile.Item());
    return static_cast<ssize_t>(count);
}

ssize_t MemoryFiles::WriteAt(int inDescriptor, const void* inBytes, std::size_t inByteCount, off_t inOffset) {
    OpenFile* const file = Get(inDescriptor);
    if (inOffset < 0) return Fail(EINVAL);
    if (file == nullptr) return Fail(EBADF);
    // Linux appends also where a position is told.
    const bool appends = (file->flags & O_APPEND) != 0;
    return WriteTo(*file, inBytes, inByteCount,
                   appends ? file->Item().bytes.size() : static_cast<std::size_t>(inOffset));
}

ssize_t MemoryFiles::Write(int inDescriptor, const void* inBytes, std::size_t inByteCount) {
    OpenFile* const file = Get(inDescriptor);
    if (file == nullptr) return Fail(EBADF);
    if ((file->flags & O_APPEND) != 0) file->position = file->Item().bytes.size();
    const ssize_t count = WriteTo(*file, inBytes, inByteCount, file->position);
    if (count > 0) file->position += static_cast<std::size_t>(count);
    return count;
}

// Answers the errno, as it does.
int MemoryFiles::Reserve(int inDescriptor, off_t inOffset, off_t inByteCount) {
    OpenFile* const file = Get(inDescriptor);
    if (inOffset < 0 || inByteCount <= 0) return EINVAL;
    if (file == nullptr || !IsWritable(file->flags)) return EBADF;
    std::string& bytes = file->Item().bytes;
    const auto end = static_cast<std::size_t>(inOffset) + static_cast<std::size_t>(inByteCount);
    if (end <= bytes.size()) return 0;
    if (end - bytes.size() > file->Item().volume->FreeByteCount()) return ENOSPC;
    bytes.resize(end);
    MemoryTree::Touch(file->Item());
    return 0;
}

int MemoryFiles::SetLength(int inDescriptor, off_t inByteCount) {
    OpenFile* const file = GetOpen(inDescriptor);
    if (inByteCount < 0) return Fail(EINVAL);
    if (file == nullptr) return Fail(EBADF);
    if (!IsWritable(file->flags)) return Fail(EINVAL);
    file->Item().bytes.resize(static_cast<std::size_t>(inByteCount));
    MemoryTree::Touch(file->Item());
    return 0;
}

bool MemoryFiles::IsLockedByAnother(const OpenFile& inFile, int inLock) const {
    return std::any_of(mOpenFiles.begin(), mOpenFiles.end(), [&](const auto& inOther) {
        const OpenFile& other = inOther.second;
        return &other != &inFile && other.at.node == inFile.at.node && other.lock != 0 &&
               (other.lock == LOCK_EX || inLock == LOCK_EX);
    });
}

bool MemoryFiles::IsLockedByAnother(const OpenFile& inFile, const Range& inRange) const {
    return std::any_of(mOpenFiles.begin(), mOpenFiles.end(), [&](const auto& inOther) {
        const OpenFile& other = inOther.second;
        if (&other == &inFile || other.at.node != inFile.at.node) return false;
        return std::any_of(other.ranges.begin(), other.ranges.end(), [&](const Range& inHeld) {
            return inHeld.start < inRange.end && inRange.start < inHeld.end &&
                   (inHeld.isAlone || inRange.isAlone);
        });
    });
}

// The locks of open files alone, from the start of a file, without waiting. What an opening holds is
// replaced whole where the new one reaches into it.
int MemoryFiles::LockRange(int inDescriptor, int inCommand, struct flock* ioLock) {
    OpenFile* const file = GetOpen(inDescriptor);
    if (file == nullptr) return Fail(EBADF);
    const bool isKnown = inCommand == F_OFD_SETLK && ioLock->l_whence == SEEK_SET && ioLock->l_pid == 0 &&
                         ioLock->l_start >= 0;
    if (!isKnown || ioLock->l_len < 0) return Fail(EINVAL);
    if (ioLock->l_type == F_RDLCK && !IsReadable(file->flags)) return Fail(EBADF);
    if (ioLock->l_type == F_WRLCK && !IsWritable(file->flags)) return Fail(EBADF);
    const off_t end =
        ioLock->l_len == 0 ? std::numeric_limits<off_t>::max() : ioLock->l_start + ioLock->l_len;
    const Range range = {ioLock->l_start, end, ioLock->l_type == F_WRLCK};
    if (ioLock->l_type != F_UNLCK && IsLockedByAnother(*file, range)) return Fail(EAGAIN);
    std::erase_if(file->ranges,
                  [&](const Range& inHeld) { return inHeld.start < range.end && range.start < inHeld.end; });
    if (ioLock->l_type != F_UNLCK) file->ranges.push_back(range);
    return 0;
}

// Nothing is kept for the file: what is free is told.
int MemoryFiles::Allocate(int inDescriptor, int inMode, off_t inOffset, off_t inByteCount) {
    const OpenFile* const file = Get(inDescriptor);
    if (inOffset < 0 || inByteCount <= 0) return Fail(EINVAL);
    if (file == nullptr || !IsWritable(file->flags)) return Fail(EBADF);
    if (inMode != FALLOC_FL_KEEP_SIZE) return Fail(EOPNOTSUPP);
    const std::uint64_t end = static_cast<std::uint64_t>(inOffset) + static_cast<std::uint64_t>(inByteCount);
    const std::uint64_t size = file->Item().bytes.size();
    return end > size && end - size > file->Item().volume->FreeByteCount() ? Fail(ENOSPC) : 0;
}

int MemoryFiles::Sync(int inDescriptor) {
    return GetOpen(inDescriptor) == nullptr ? Fail(EBADF) : 0;
}

int MemoryFiles::SetModeOfOpen(int inDescriptor, mode_t inMode) {
    const OpenFile* const file = GetOpen(inDescriptor);
    return file == nullptr ? Fail(EBADF) : SetModeOf(file->at, inMode);
}

int MemoryFiles::Lock(int inDescriptor, int inOperation) {
    const KitsOwn own;
    std::unique_lock lock(sInUse->mMutex);
    const int kind = inOperation & ~LOCK_NB;
    if (kind != LOCK_SH && kind != LOCK_EX && kind != LOCK_UN) return Fail(EINVAL);
    for (;;) {
        OpenFile* const file = sInUse->GetOpen(inDescriptor);
        if (file == nullptr) return Fail(EBADF);
        const bool waits = kind != LOCK_UN && sInUse->IsLockedByAnother(*file, kind);
        file->lock = kind == LOCK_UN || waits ? 0 : kind;  // what was held goes before the new lock comes
        sInUse->mUnlocked.notify_all();
        if (!waits) return 0;
        if ((inOperation & LOCK_NB) != 0) return Fail(EWOULDBLOCK);
        sInUse->mUnlocked.wait(lock);
    }
}

}  // namespace support
