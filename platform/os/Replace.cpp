#include "os/Replace.h"

#include "os/CanonicalPath.h"
#include "os/Descriptor.h"
#include "os/ItemStatus.h"
#include "os/Rename.h"
#include "os/SystemCalls.h"

#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <limits>
#include <span>
#include <utility>

namespace toolbox::os {

namespace {

constexpr mode_t kNewFileMode = 0666;
constexpr mode_t kOwnersAlone = 0600;
constexpr mode_t kPermissions = 06777;  // without the sticky bit, which means nothing of a file
// How many names are tried for the new file until one is free.
constexpr int kNames = 100;
constexpr std::size_t kBlockBytes = 16384;

std::atomic<unsigned> sNextNumber = 0;

// All answer 0 or an errno.
int TakeRoom(int inDescriptor, UInt64 inByteCount) {
    int error = 0;
    do
        error = Calls().posix_fallocate(inDescriptor, 0, static_cast<off_t>(inByteCount));
    while (error == EINTR);
    return error;
}

// Begins with a dot, so that most listings leave it out when a failing machine left it behind.
std::string NewName() {
    return "._.new-" + std::to_string(Calls().getpid()) + "-" + std::to_string(sNextNumber++);
}

// Owner and permissions of the file of that name, if there is one, or of the descriptor where the name is
// empty. 0 or an errno. ELOOP for a link, which is no file.
int GetAccess(int inFolder, const std::string& inName, NewFileAccess& outAccess) {
    struct statx old = {};
    if (Calls().statx(inFolder, inName.c_str(), AT_SYMLINK_NOFOLLOW | AT_EMPTY_PATH,
                      STATX_TYPE | STATX_MODE | STATX_UID | STATX_GID, &old) != 0)
        return errno == ENOENT ? 0 : errno;
    if (S_ISLNK(old.stx_mode)) return ELOOP;
    outAccess.owner = {old.stx_uid, old.stx_gid};
    outAccess.mode = old.stx_mode & kPermissions;
    return 0;
}

// Only a privileged process can give files away; others have what they make. 0 or an errno.
int GiveAccess(int inDescriptor, const NewFileAccess& inAccess) {
    const auto& owner = inAccess.owner;
    if (owner && Calls().fchown(inDescriptor, owner->user, owner->group) != 0 && errno != EPERM) return errno;
    if (inAccess.mode && Calls().fchmod(inDescriptor, *inAccess.mode) != 0) return errno;
    return 0;
}

// Who opened it before it has its permissions could read what is written to it later.
int MakeTemporaryFor(const NewFileAccess& inAccess, int inFolder, std::string& outName, Descriptor& outFile) {
    return MakeTemporaryFile(inFolder, inAccess.mode ? kOwnersAlone : kNewFileMode, outName, outFile);
}

// Makes the head tell of the other bytes that far behind their places. Nothing has changed on failure. 0 or
// an errno.
int WriteMoved(int inDescriptor, const std::vector<UInt8>& inBytes, const MovableHead& inHead,
               UInt32 inDistanceBytes) {
    const std::span<const UInt8> rest = std::span(inBytes).subspan(inHead.byteCount);
    std::array<UInt8, MovableHead::kMaxBytes> head;
    std::copy_n(inBytes.begin(), inHead.byteCount, head.begin());
    inHead.move(head.data(), inDistanceBytes);
    int error = WriteAt(inDescriptor, rest, UInt64{inHead.byteCount} + inDistanceBytes);
    if (error == 0) error = Sync(inDescriptor);
    if (error != 0) return error;
    const ssize_t count = Calls().pwrite(inDescriptor, head.data(), inHead.byteCount, 0);
    if (count != static_cast<ssize_t>(inHead.byteCount)) return count < 0 ? errno : EIO;
    // Written it is; what cannot be synced now the system writes later, the rest being there before.
    (void)Sync(inDescriptor);
    return 0;
}

// The head last, so that it never tells of bytes that are not there. 0 or an errno.
int WriteInPlace(int inDescriptor, const std::vector<UInt8>& inBytes, std::size_t inHeadBytes) {
    const std::size_t headBytes = std::min(inHeadBytes, inBytes.size());
    int error = WriteAt(inDescriptor, std::span(inBytes).subspan(headBytes), headBytes);
    if (error == 0 && headBytes > 0) error = Sync(inDescriptor);
    if (error == 0) error = WriteAt(inDescriptor, std::span(inBytes).first(headBytes));
    if (error == 0) error = SetLength(inDescriptor, inBytes.size());
    return error == 0 ? Sync(inDescriptor) : error;
}

int CopyBytes(int inFrom, int inTo) {
    std::array<UInt8, kBlockBytes> bytes;
    std::size_t count = bytes.size();
    for (UInt64 done = 0; count == bytes.size(); done += count) {
        int error = ReadAt(inFrom, bytes.data(), bytes.size(), done, count);
        if (error == 0) error = WriteAt(inTo, std::span(bytes).first(count), done);
        if (error != 0) return error;
    }
    return 0;
}

// Ends the writing of a new file with that outcome so far, and closes it. 0 or an errno.
int FinishNew(Descriptor& ioFile, int inError) {
    const int error = inError == 0 ? Sync(ioFile.Number()) : inError;
    const int closeError = ioFile.Close();
    return error == 0 ? closeError : error;
}

// Gives a new file, the outcome of whose writing is told, the name that it is to have, which nothing has. 0
// or an errno; it is gone then.
int GiveNewName(int inFolder, const std::string& inNewName, const std::string& inName, int inError) {
    int error = inError;
    if (error == 0) error = RenameToNew(inFolder, inNewName.c_str(), inFolder, inName.c_str());
    if (error != 0) (void)Calls().unlinkat(inFolder, inNewName.c_str(), 0);
    return error;
}

// A new file for what has that name, of its owner, and with its permissions or those that are told. 0 or an
// errno; the new name is empty while no file has it.
int MakeReplacement(int inFolder, const std::string& inName, std::optional<mode_t> inMode,
                    std::string& outNewName, Descriptor& outFile) {
    NewFileAccess access;
    std::string newName;
    int error = GetAccess(inFolder, inName, access);
    if (error == 0) error = MakeTemporaryFor(access, inFolder, newName, outFile);
    if (error != 0) return error;
    outNewName = std::move(newName);
    // Again, as late as can be: what has the name by now is what is replaced.
    error = GetAccess(inFolder, inName, access);
    if (inMode) access.mode = inMode;
    return error == 0 ? GiveAccess(outFile.Number(), access) : error;
}

// Puts a new file, the outcome of whose writing is told, in the place of what has the name. 0 or an errno; it
// is gone then.
int TakeOverName(int inFolder, const std::string& inNewName, const std::string& inName, int inError) {
    int error = inError;
    if (error == 0 && Calls().renameat2(inFolder, inNewName.c_str(), inFolder, inName.c_str(), 0) != 0)
        error = errno;
    if (error == 0)
        SyncFolder(inFolder);
    else if (!inNewName.empty())
        (void)Calls().unlinkat(inFolder, inNewName.c_str(), 0);
    return error;
}

}  // namespace

// Where that cannot be had, as in a folder that may not be read, the system writes them later; they are there
// already, and nobody is told that they were not.
void SyncFolder(int inFolder) {
    Descriptor folder;
    if (OpenFile(inFolder, ".", O_RDONLY | O_DIRECTORY, folder) == 0) (void)Sync(folder.Number());
}

int MakeTemporaryFile(int inFolder, mode_t inMode, std::string& outName, Descriptor& outFile) {
    int error = EEXIST;
    for (int i = 0; i < kNames && error == EEXIST; ++i) {
        outName = NewName();
        error = OpenFile(inFolder, outName.c_str(), O_WRONLY | O_CREAT | O_EXCL, outFile, inMode);
    }
    return error;
}

int ReplaceFile(int inFolder, const std::string& inName, const std::vector<UInt8>& inBytes) {
    std::string newName;
    Descriptor file;
    int error = MakeReplacement(inFolder, inName, std::nullopt, newName, file);
    if (error == 0) error = FinishNew(file, WriteAt(file.Number(), inBytes));
    return TakeOverName(inFolder, newName, inName, error);
}

int ReplaceFile(int inFolder, const std::string& inName, const std::vector<UInt8>& inBytes, mode_t inMode,
                Descriptor& outFile) {
    std::string newName;
    int error = MakeReplacement(inFolder, inName, inMode, newName, outFile);
    if (error == 0) (void)Calls().flock(outFile.Number(), LOCK_EX | LOCK_NB);
    if (error == 0) error = WriteAt(outFile.Number(), inBytes);
    if (error == 0) error = Sync(outFile.Number());
    return TakeOverName(inFolder, newName, inName, error);
}

int MakeFile(int inFolder, const std::string& inName, const std::vector<UInt8>& inBytes,
             const NewFileAccess& inAccess, Descriptor& outFile) {
    std::string newName;
    int error = MakeTemporaryFor(inAccess, inFolder, newName, outFile);
    if (error != 0) return error;
    const int file = outFile.Number();
    (void)Calls().flock(file, LOCK_EX | LOCK_NB);
    ItemStatus made;
    error = GetDescriptorStatus(file, made);
    NewFileAccess access = inAccess;
    const auto& owner = access.owner;
    if (error == 0 && owner && owner->user == made.owner && owner->group == made.group) access.owner.reset();
    if (error == 0) error = GiveAccess(file, access);
    if (error == 0) error = WriteAt(file, inBytes);
    if (error == 0) error = Sync(file);
    return GiveNewName(inFolder, newName, inName, error);
}

int CopyToNew(int inDescriptor, int inFolder, const std::string& inName) {
    std::string newName;
    Descriptor file;
    NewFileAccess access;
    int error = GetAccess(inDescriptor, {}, access);
    if (error == 0) error = MakeTemporaryFor(access, inFolder, newName, file);
    if (error != 0) return error;
    error = GiveAccess(file.Number(), access);
    if (error == 0) error = FinishNew(file, CopyBytes(inDescriptor, file.Number()));
    error = GiveNewName(inFolder, newName, inName, error);
    if (error == 0) SyncFolder(inFolder);
    return error;
}

int ReplaceFile(const std::string& inPath, const std::vector<UInt8>& inBytes) {
    // Where a link leads; what is not there yet has no other path than this.
    std::string path;
    int error = GetCanonicalPath(inPath.c_str(), path);
    if (error != 0 && error != ENOENT) return error;
    if (error == ENOENT) path = inPath;
    const std::size_t nameStart = path.rfind('/') + 1;
    const std::string folderPath = nameStart == 0 ? "." : path.substr(0, nameStart);
    Descriptor folder;
    error = OpenFile(folderPath.c_str(), O_PATH | O_DIRECTORY, folder);
    return error != 0 ? error : ReplaceFile(folder.Number(), path.substr(nameStart), inBytes);
}

int RemoveFile(int inFolder, const std::string& inName) {
    if (Calls().unlinkat(inFolder, inName.c_str(), 0) != 0) return errno;
    SyncFolder(inFolder);
    return 0;
}

int OverwriteFile(int inDescriptor, const std::vector<UInt8>& inBytes, const MovableHead& inHead) {
    // Held until the descriptor is closed. Where locks are unknown, nobody holds any.
    if (Calls().flock(inDescriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) return EBUSY;
    ItemStatus old;
    int error = GetDescriptorStatus(inDescriptor, old);
    if (error != 0) return error;
    const auto oldSize = static_cast<UInt64>(old.sizeBytes);
    // Behind the old contents and the new.
    const UInt64 distance = std::max<UInt64>(oldSize, inBytes.size());
    const bool isMoved = oldSize > 0 && inHead.byteCount > 0 && inHead.byteCount <= inBytes.size() &&
                         distance + inBytes.size() <= std::numeric_limits<UInt32>::max();
    error = TakeRoom(inDescriptor, std::max<UInt64>(1, inBytes.size() + (isMoved ? distance : 0)));
    if (error == 0 && isMoved)
        error = WriteMoved(inDescriptor, inBytes, inHead, static_cast<UInt32>(distance));
    if (error != 0) {
        // That the room cannot be given back harms less than a wrong status.
        (void)SetLength(inDescriptor, oldSize);
        return error;
    }
    error = WriteInPlace(inDescriptor, inBytes, inHead.byteCount);
    return isMoved ? 0 : error;
}

}  // namespace toolbox::os
