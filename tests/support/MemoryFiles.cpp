#include "support/MemoryFiles.h"

#include <fcntl.h>
#include <sys/file.h>
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

// 0 or the errno of an open of what is there.
int CheckOpening(const MemoryNode& inItem, int inFlags) {
    if ((inFlags & O_CREAT) != 0 && (inFlags & O_EXCL) != 0) return EEXIST;
    if ((inFlags & O_DIRECTORY) != 0 && !inItem.IsFolder()) return ENOTDIR;
    if ((inFlags & O_PATH) != 0) return 0;
    if (inItem.IsLink()) return ELOOP;
    if (inItem.IsFolder() && ((inFlags & O_CREAT) != 0 || IsWritable(inFlags))) return EISDIR;
    const int access = (IsReadable(inFlags) ? R_OK : 0) | (IsWritable(inFlags) ? W_OK : 0);
    return MemoryTree::MayAccess(inItem, access) ? 0 : EACCES;
}

}  // namespace

MemoryFiles* MemoryFiles::sInUse = nullptr;

MemoryFiles::MemoryFiles() : mReal(toolbox::os::CallsForTesting()) {
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
    mCapacityBytes = inByteCount;
}

void MemoryFiles::SetMaxBytesPerCall(std::size_t inByteCount) {
    const std::lock_guard lock(mMutex);
    mMaxBytesPerCall = inByteCount;
}

std::size_t MemoryFiles::OpenCount() const {
    const std::lock_guard lock(mMutex);
    return mOpenFiles.size();
}

MemoryFiles::OpenFile* MemoryFiles::Get(int inDescriptor) {
    const auto found = mOpenFiles.find(inDescriptor);
    return found == mOpenFiles.end() ? nullptr : &found->second;
}

int MemoryFiles::Open(int inFolder, const char* inPath, int inFlags, mode_t inMode) {
    MemoryTree::Place place;
    const bool makes = (inFlags & O_CREAT) != 0;
    const bool follows = (inFlags & O_NOFOLLOW) == 0 && !(makes && (inFlags & O_EXCL) != 0);
    int error = Find(inFolder, inPath, follows, place);
    if (error == 0 && place.item == nullptr && !makes) error = ENOENT;
    if (error == 0 && place.mustBeFolder && makes) error = EISDIR;
    if (error == 0 && place.item == nullptr && !MemoryTree::MayAccess(*place.folder, W_OK | X_OK))
        error = EACCES;
    if (error == 0 && place.item != nullptr) error = CheckOpening(*place.item, inFlags);
    if (error != 0) return Fail(error);
    if (place.item == nullptr) place.item = mTree.Add(place, S_IFREG | (inMode & 07777));
    if ((inFlags & O_TRUNC) != 0 && place.item->IsFile()) place.item->bytes.clear();
    int descriptor = kFirstDescriptor;
    while (mOpenFiles.count(descriptor) != 0)
        ++descriptor;
    mOpenFiles[descriptor] = {place.item, inFlags};
    return descriptor;
}

int MemoryFiles::Close(int inDescriptor) {
    if (mOpenFiles.erase(inDescriptor) == 0) return Fail(EBADF);
    mUnlocked.notify_all();
    return 0;
}

ssize_t MemoryFiles::Read(int inDescriptor, void* outBytes, std::size_t inByteCount, off_t inOffset,
                          bool inMovesOn) {
    OpenFile* const file = Get(inDescriptor);
    if (file == nullptr || !IsReadable(file->flags)) return Fail(EBADF);
    if (inOffset < 0) return Fail(EINVAL);
    if (file->item->IsFolder()) return Fail(EISDIR);
    const std::string& bytes = file->item->bytes;
    const std::size_t start =
        std::min(inMovesOn ? file->position : static_cast<std::size_t>(inOffset), bytes.size());
    const std::size_t count =
        bytes.copy(static_cast<char*>(outBytes), std::min(inByteCount, mMaxBytesPerCall), start);
    if (inMovesOn) file->position = start + count;
    return static_cast<ssize_t>(count);
}

std::uint64_t MemoryFiles::FreeByteCount() const {
    const std::uint64_t used = mTree.ByteCount();
    return mCapacityBytes - std::min(used, mCapacityBytes);
}

ssize_t MemoryFiles::Write(int inDescriptor, const void* inBytes, std::size_t inByteCount, off_t inOffset,
                           bool inMovesOn) {
    OpenFile* const file = Get(inDescriptor);
    if (file == nullptr || !IsWritable(file->flags)) return Fail(EBADF);
    if (inOffset < 0) return Fail(EINVAL);
    if (inByteCount == 0) return 0;
    std::string& bytes = file->item->bytes;
    // Linux appends also where a position is told.
    const bool appends = (file->flags & O_APPEND) != 0;
    const std::size_t start = appends     ? bytes.size()
                              : inMovesOn ? file->position
                                          : static_cast<std::size_t>(inOffset);
    const std::uint64_t maxEnd = bytes.size() + FreeByteCount();
    if (start >= maxEnd) return Fail(ENOSPC);
    const auto count =
        static_cast<std::size_t>(std::min<std::uint64_t>({inByteCount, mMaxBytesPerCall, maxEnd - start}));
    bytes.resize(std::max(bytes.size(), start + count));
    bytes.replace(start, count, static_cast<const char*>(inBytes), count);
    if (inMovesOn) file->position = start + count;
    MemoryTree::Touch(*file->item);
    return static_cast<ssize_t>(count);
}

// Answers the errno, as it does.
int MemoryFiles::Reserve(int inDescriptor, off_t inOffset, off_t inByteCount) {
    OpenFile* const file = Get(inDescriptor);
    if (inOffset < 0 || inByteCount <= 0) return EINVAL;
    if (file == nullptr || !IsWritable(file->flags)) return EBADF;
    std::string& bytes = file->item->bytes;
    const auto end = static_cast<std::size_t>(inOffset) + static_cast<std::size_t>(inByteCount);
    if (end <= bytes.size()) return 0;
    if (end - bytes.size() > FreeByteCount()) return ENOSPC;
    bytes.resize(end);
    MemoryTree::Touch(*file->item);
    return 0;
}

int MemoryFiles::SetLength(int inDescriptor, off_t inByteCount) {
    OpenFile* const file = Get(inDescriptor);
    if (inByteCount < 0) return Fail(EINVAL);
    if (file == nullptr || (file->flags & O_PATH) != 0) return Fail(EBADF);
    if (!IsWritable(file->flags)) return Fail(EINVAL);
    file->item->bytes.resize(static_cast<std::size_t>(inByteCount));
    MemoryTree::Touch(*file->item);
    return 0;
}

bool MemoryFiles::IsLockedByAnother(const OpenFile& inFile, int inLock) const {
    return std::any_of(mOpenFiles.begin(), mOpenFiles.end(), [&](const auto& inOther) {
        const OpenFile& other = inOther.second;
        return &other != &inFile && other.item == inFile.item && other.lock != 0 &&
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
                                                              : sInUse->SetMode(file->item, inMode);
    };
    ioCalls.fchown = [](int inDescriptor, uid_t inUser, gid_t inGroup) {
        const std::lock_guard lock(sInUse->mMutex);
        const OpenFile* const file = sInUse->Get(inDescriptor);
        return file == nullptr || (file->flags & O_PATH) != 0 ? Fail(EBADF)
                                                              : sInUse->SetOwner(file->item, inUser, inGroup);
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
