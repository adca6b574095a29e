#include "support/MemoryFiles.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace support {

namespace {

// Far from any that the system gives.
constexpr int kFirstDescriptor = 1 << 20;

int Fail(int inErrno) {
    errno = inErrno;
    return -1;
}

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
    (void)inReal.statx(AT_FDCWD, "/", 0, STATX_BASIC_STATS | STATX_MNT_ID, &status);
    return status;
}
MemoryTree TreeLike(const struct statx& inRoot) {
    return {inRoot.stx_dev_major, inRoot.stx_dev_minor, inRoot.stx_mnt_id};
}

}  // namespace

MemoryFiles* MemoryFiles::sInUse = nullptr;

MemoryFiles::MemoryFiles() : mReal(toolbox::os::CallsForTesting()), mTree(TreeLike(RootStatus(mReal))) {
    MakeProcess();
    sInUse = this;
    Replace(toolbox::os::CallsForTesting());
    ReplaceByPath(toolbox::os::CallsForTesting());
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

ssize_t MemoryFiles::Read(int inDescriptor, void* outBytes, std::size_t inByteCount, off_t inOffset,
                          bool inMovesOn) {
    OpenFile* const file = Get(inDescriptor);
    if (file == nullptr || !IsReadable(file->flags)) return Fail(EBADF);
    if (inOffset < 0) return Fail(EINVAL);
    if (file->Item().IsFolder()) return Fail(EISDIR);
    if (S_ISFIFO(file->Item().mode) && !inMovesOn) return Fail(ESPIPE);
    const std::string& bytes = file->Item().bytes;
    const std::size_t start =
        std::min(inMovesOn ? file->position : static_cast<std::size_t>(inOffset), bytes.size());
    const std::size_t count =
        bytes.copy(static_cast<char*>(outBytes), std::min(inByteCount, mMaxBytesPerCall), start);
    if (inMovesOn) file->position = start + count;
    return static_cast<ssize_t>(count);
}

ssize_t MemoryFiles::Write(int inDescriptor, const void* inBytes, std::size_t inByteCount, off_t inOffset,
                           bool inMovesOn) {
    OpenFile* const file = Get(inDescriptor);
    if (file == nullptr || !IsWritable(file->flags)) return Fail(EBADF);
    if (inOffset < 0) return Fail(EINVAL);
    if (inByteCount == 0) return 0;
    std::string& bytes = file->Item().bytes;
    // Linux appends also where a position is told.
    const bool appends = (file->flags & O_APPEND) != 0;
    const std::size_t start = appends     ? bytes.size()
                              : inMovesOn ? file->position
                                          : static_cast<std::size_t>(inOffset);
    const std::uint64_t maxEnd = bytes.size() + file->Item().volume->FreeByteCount();
    if (start >= maxEnd) return Fail(ENOSPC);
    const auto count =
        static_cast<std::size_t>(std::min<std::uint64_t>({inByteCount, mMaxBytesPerCall, maxEnd - start}));
    bytes.resize(std::max(bytes.size(), start + count));
    bytes.replace(start, count, static_cast<const char*>(inBytes), count);
    if (inMovesOn) file->position = start + count;
    MemoryTree::Touch(file->Item());
    return static_cast<ssize_t>(count);
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
    OpenFile* const file = Get(inDescriptor);
    if (inByteCount < 0) return Fail(EINVAL);
    if (file == nullptr || (file->flags & O_PATH) != 0) return Fail(EBADF);
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

int MemoryFiles::Lock(int inDescriptor, int inOperation) {
    std::unique_lock lock(mMutex);
    const int kind = inOperation & ~LOCK_NB;
    if (kind != LOCK_SH && kind != LOCK_EX && kind != LOCK_UN) return Fail(EINVAL);
    for (;;) {
        OpenFile* const file = Get(inDescriptor);
        if (file == nullptr || (file->flags & O_PATH) != 0) return Fail(EBADF);
        const bool waits = kind != LOCK_UN && IsLockedByAnother(*file, kind);
        file->lock = kind == LOCK_UN || waits ? 0 : kind;  // what was held goes before the new lock comes
        mUnlocked.notify_all();
        if (!waits) return 0;
        if ((inOperation & LOCK_NB) != 0) return Fail(EWOULDBLOCK);
        mUnlocked.wait(lock);
    }
}

void MemoryFiles::Replace(toolbox::os::SystemCalls& ioCalls) {
    ioCalls.openat = [](int inFolder, const char* inPath, int inFlags, mode_t inMode) {
        const std::lock_guard lock(sInUse->mMutex);
        return sInUse->Open(inFolder, inPath, inFlags, inMode);
    };
    ioCalls.close = [](int inDescriptor) {
        const std::lock_guard lock(sInUse->mMutex);
        return sInUse->Close(inDescriptor);
    };
    ioCalls.pread = [](int inDescriptor, void* outBytes, std::size_t inByteCount, off_t inOffset) {
        const std::lock_guard lock(sInUse->mMutex);
        return sInUse->Read(inDescriptor, outBytes, inByteCount, inOffset, false);
    };
    ioCalls.pwrite = [](int inDescriptor, const void* inBytes, std::size_t inByteCount, off_t inOffset) {
        const std::lock_guard lock(sInUse->mMutex);
        return sInUse->Write(inDescriptor, inBytes, inByteCount, inOffset, false);
    };
    ioCalls.read = [](int inDescriptor, void* outBytes, std::size_t inByteCount) {
        const std::lock_guard lock(sInUse->mMutex);
        return sInUse->Read(inDescriptor, outBytes, inByteCount, 0, true);
    };
    ioCalls.write = [](int inDescriptor, const void* inBytes, std::size_t inByteCount) {
        const std::lock_guard lock(sInUse->mMutex);
        return sInUse->Write(inDescriptor, inBytes, inByteCount, 0, true);
    };
    ioCalls.posix_fallocate = [](int inDescriptor, off_t inOffset, off_t inByteCount) {
        const std::lock_guard lock(sInUse->mMutex);
        return sInUse->Reserve(inDescriptor, inOffset, inByteCount);
    };
    ioCalls.ftruncate = [](int inDescriptor, off_t inByteCount) {
        const std::lock_guard lock(sInUse->mMutex);
        return sInUse->SetLength(inDescriptor, inByteCount);
    };
    ioCalls.fsync = [](int inDescriptor) {
        const std::lock_guard lock(sInUse->mMutex);
        const OpenFile* const file = sInUse->Get(inDescriptor);
        return file == nullptr || (file->flags & O_PATH) != 0 ? Fail(EBADF) : 0;
    };
    ioCalls.flock = [](int inDescriptor, int inOperation) { return sInUse->Lock(inDescriptor, inOperation); };
    ioCalls.fchmod = [](int inDescriptor, mode_t inMode) {
        const std::lock_guard lock(sInUse->mMutex);
        const OpenFile* const file = sInUse->Get(inDescriptor);
        return file == nullptr || (file->flags & O_PATH) != 0 ? Fail(EBADF)
                                                              : sInUse->SetMode(file->at, inMode);
    };
    ioCalls.fchown = [](int inDescriptor, uid_t inUser, gid_t inGroup) {
        const std::lock_guard lock(sInUse->mMutex);
        const OpenFile* const file = sInUse->Get(inDescriptor);
        return file == nullptr || (file->flags & O_PATH) != 0 ? Fail(EBADF)
                                                              : sInUse->SetOwner(file->at, inUser, inGroup);
    };
    // The system's type of an open folder is nobody's to look into.
    ioCalls.fdopendir = [](int inDescriptor) {
        const std::lock_guard lock(sInUse->mMutex);
        return reinterpret_cast<DIR*>(sInUse->List(inDescriptor));
    };
    ioCalls.readdir = [](DIR* ioListing) {
        const std::lock_guard lock(sInUse->mMutex);
        return sInUse->NextOf(*reinterpret_cast<Listing*>(ioListing));
    };
    ioCalls.closedir = [](DIR* inListing) {
        const std::lock_guard lock(sInUse->mMutex);
        return sInUse->CloseListing(reinterpret_cast<Listing*>(inListing));
    };
}

}  // namespace support
