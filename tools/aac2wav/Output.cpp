#include "Output.h"

#include "Failure.h"
#include "Names.h"
#include "Signals.h"
#include "WAVCheck.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <utility>
#include <vector>

namespace tool {
namespace {

constexpr char kTemporaryName[] = ".aac2wav-XXXXXX";
constexpr char kStandardOutput[] = "standard output";
constexpr char kAppeared[] = "appeared meanwhile; --force replaces it";
constexpr char kChanged[] = "was changed meanwhile; --force replaces it";
constexpr int kMaxLinks = 40;            // as the kernel has it
constexpr int kPipeByteCount = 1 << 20;  // what an unprivileged process may ask for

// What a link says, as a path; empty when inPath is no link.
std::string LinkTarget(const std::string& inPath) {
    char target[PATH_MAX];
    const ssize_t length = ::readlink(inPath.c_str(), target, sizeof target);
    if (length <= 0) return {};
    const std::string path(target, static_cast<std::size_t>(length));
    return path[0] == '/' ? path : FolderOf(inPath) + path;
}

void RefuseTerminal() {
    if (::isatty(STDOUT_FILENO) == 1)
        throw Failure(EX_USAGE, {}, "standard output is a terminal; send it to a file or a pipe");
}

mode_t NewFileMode() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

// Gives a file a name that nothing has, or fails with EEXIST. Where the file system can neither move with
// that condition nor make links, there is a moment before the move in which the name may be taken unnoticed.
int MoveToNewName(const char* inFrom, const char* inTo) {
    if (::renameat2(AT_FDCWD, inFrom, AT_FDCWD, inTo, RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return -1;
    if (::link(inFrom, inTo) == 0) return ::unlink(inFrom);
    struct stat other {};
    if (errno == EEXIST || ::lstat(inTo, &other) == 0) {
        errno = EEXIST;
        return -1;
    }
    return ::rename(inFrom, inTo);
}

bool IsSameFile(const struct stat& inOne, const struct stat& inOther) {
    return inOne.st_dev == inOther.st_dev && inOne.st_ino == inOther.st_ino &&
           inOne.st_size == inOther.st_size && inOne.st_mtim.tv_sec == inOther.st_mtim.tv_sec &&
           inOne.st_mtim.tv_nsec == inOther.st_mtim.tv_nsec;
}

// False as well when one cannot be read.
bool HaveSameBytes(const std::string& inOne, const std::string& inOther) {
    std::ifstream one(inOne, std::ios::binary);
    std::ifstream other(inOther, std::ios::binary);
    std::vector<char> ours(1 << 16);
    std::vector<char> theirs(ours.size());
    while (one && other) {
        CheckSignals();
        one.read(ours.data(), static_cast<std::streamsize>(ours.size()));
        other.read(theirs.data(), static_cast<std::streamsize>(theirs.size()));
        if (one.gcount() != other.gcount() ||
            std::memcmp(ours.data(), theirs.data(), static_cast<std::size_t>(one.gcount())) != 0)
            return false;
    }
    return one.eof() && other.eof();
}

// Waits for the disk. What has no disk to wait for is no failure.
void Sync(int inDescriptor, const std::string& inName) {
    while (::fsync(inDescriptor) != 0) {
        if (errno == EINVAL || errno == EROFS || errno == ENOTSUP) return;
        if (errno != EINTR) throw Failure(EX_IOERR, inName, SystemReason(errno));
        CheckSignals();
    }
}

// A file or a folder.
void SyncItem(const std::string& inPath, const std::string& inName) {
    const int descriptor = ::open(inPath.empty() ? "." : inPath.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) throw Failure(EX_IOERR, inName, SystemReason(errno));
    const std::unique_ptr<const int, void (*)(const int*)> closer(
        &descriptor, [](const int* inOpen) { ::close(*inOpen); });
    Sync(descriptor, inName);
}

}  // namespace

void WriteAll(int inDescriptor, const void* inBytes, std::size_t inByteCount, const std::string& inSubject) {
    const char* next = static_cast<const char*>(inBytes);
    while (inByteCount > 0) {
        CheckSignals();
        const ssize_t written = ::write(inDescriptor, next, inByteCount);
        if (written >= 0) {
            next += written;
            inByteCount -= static_cast<std::size_t>(written);
            continue;
        }
        const int error = errno;
        if (error == EINTR) continue;
        if (error == EPIPE) ThrowBrokenPipe();
        throw Failure(EX_IOERR, inSubject, SystemReason(error));
    }
}

void Print(const std::string& inText) {
    WriteAll(STDOUT_FILENO, inText.data(), inText.size(), kStandardOutput);
}

bool IsTaken(const std::string& inPath) {
    struct stat item {};
    if (::lstat(inPath.c_str(), &item) != 0) return false;
    return ::stat(inPath.c_str(), &item) != 0 || !S_ISDIR(item.st_mode);
}

std::string FollowLinks(const std::string& inPath) {
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(inPath.c_str(), nullptr), &std::free);
    if (real) return real.get();
    std::string path = inPath;
    for (int count = 0; count < kMaxLinks; ++count) {
        std::string target = LinkTarget(path);
        if (target.empty()) return path;
        path = std::move(target);
    }
    throw Failure(EX_CANTCREAT, inPath, SystemReason(ELOOP));
}

// What stands under the name, and what may be done with it.
struct Output::Old {
    std::string target;
    bool exists = false;
    struct stat item {};
    bool isWhole = false;
    bool mustMatch = false;
};

Output::Old Output::LookAt(const std::string& inPath, const Manner& inManner) {
    Old old;
    old.target = FollowLinks(inPath);
    old.exists = ::stat(old.target.c_str(), &old.item) == 0;
    const int error = old.exists ? 0 : errno;
    if (old.exists && S_ISDIR(old.item.st_mode)) throw Failure(EX_CANTCREAT, inPath, "is a folder");
    if (inManner.replace == Replace::kNothing && (old.exists || IsTaken(inPath)))
        throw Failure(EX_CANTCREAT, inPath, "exists; --force replaces it, --no-clobber skips it");
    if (!old.exists) {
        const std::string folder = FolderOf(old.target);
        const bool isAlone = inManner.makesFolders || folder.empty() || ::access(folder.c_str(), F_OK) == 0;
        if (error != ENOENT || !isAlone) throw Failure(EX_CANTCREAT, inPath, SystemReason(error));
        return old;
    }
    if (S_ISREG(old.item.st_mode)) LookIntoFile(inPath, inManner, old);
    return old;
}

void Output::LookIntoFile(const std::string& inPath, const Manner& inManner, Old& ioOld) {
    const bool isSoundOnly = inManner.replace == Replace::kSoundOnly;
    WAVCheck check;
    try {
        check = CheckWAV(ioOld.target, inPath);
    } catch (const Failure&) {
        // What cannot be read cannot be told to be a whole WAV file, and may be replaced all the same.
        if (isSoundOnly) throw;
    }
    ioOld.isWhole = check.isWhole;
    if (!isSoundOnly || check.isEmpty) return;
    ioOld.mustMatch = inManner.isHeaderless;
    if (!inManner.isHeaderless && !check.isWAV)
        throw Failure(EX_CANTCREAT, inPath, "exists and is no WAV file; --force replaces it");
}

Output::Seen Output::Check(const std::string& inPath, const Manner& inManner) {
    if (inPath == "-") {
        RefuseTerminal();
        return {};
    }
    const Old old = LookAt(inPath, inManner);
    return {old.exists, old.item};
}

// What takes bytes as they come, a device or a pipe, has nothing to lose.
void Output::RequireSeen(const std::string& inPath, const Manner& inManner, const Old& inOld) {
    if (!inManner.seen || inManner.replace == Replace::kAnything) return;
    if (!inOld.exists || !S_ISREG(inOld.item.st_mode)) return;
    if (!inManner.seen->exists) throw Failure(EX_CANTCREAT, inPath, kAppeared);
    if (!IsSameFile(inManner.seen->item, inOld.item)) throw Failure(EX_CANTCREAT, inPath, kChanged);
}

Output::Output(const std::string& inPath, const Manner& inManner) : mPath(inPath), mManner(inManner) {
    if (inPath == "-") {
        OpenStandardOutput();
        return;
    }
    const Old old = LookAt(inPath, inManner);
    RequireSeen(inPath, inManner, old);
    mTarget = old.target;
    mHasOld = old.exists;
    mOld = old.item;
    mOldIsWhole = old.isWhole;
    mMustMatch = old.mustMatch;
    if (!mHasOld)
        OpenNew();
    else if (S_ISREG(mOld.st_mode))
        OpenBeside(mOld.st_mode & 0777);
    else
        OpenDirectly();
}

Output::~Output() {
    if (mDescriptor > STDERR_FILENO) ::close(mDescriptor);
    if (!mTemporaryPath.empty()) {
        // A second signal in between removes the name again. That it is somebody else's by then is out of
        // reach: its six letters were chosen at random.
        ::unlink(mTemporaryPath.c_str());
        SetUnfinishedFile(nullptr);
    }
    if (!mIsNamed) RemoveMadeFolders();
}

void Output::OpenNew() {
    try {
        if (mManner.makesFolders) MakeFolders();
        OpenBeside(NewFileMode());
    } catch (...) {
        RemoveMadeFolders();
        throw;
    }
}

// Those that somebody has put something into meanwhile stay.
void Output::RemoveMadeFolders() const {
    for (auto folder = mMadeFolders.rbegin(); folder != mMadeFolders.rend(); ++folder)
        ::rmdir(folder->c_str());
}

void Output::MakeFolders() {
    for (std::size_t slash = mTarget.find('/', 1); slash != std::string::npos;
         slash = mTarget.find('/', slash + 1)) {
        const std::string folder = mTarget.substr(0, slash);
        mMadeFolders.push_back(folder);
        if (::mkdir(folder.c_str(), 0777) == 0) continue;
        const int error = errno;
        mMadeFolders.pop_back();
        if (error != EEXIST) {
            struct stat item {};
            // Above us there may be what we may neither make nor change.
            if (::stat(folder.c_str(), &item) != 0) throw Failure(EX_CANTCREAT, mPath, SystemReason(error));
        }
    }
}

void Output::OpenStandardOutput() {
    RefuseTerminal();
    mPath = kStandardOutput;
    mDescriptor = STDOUT_FILENO;
    // A pipe that holds several seconds of sound saves most changes between us and its reader. What is no
    // pipe, or may not grow, stays as it is.
    [[maybe_unused]] const int result = ::fcntl(STDOUT_FILENO, F_SETPIPE_SZ, kPipeByteCount);
}

void Output::OpenDirectly() {
    // A named pipe waits here for its reader.
    do {
        CheckSignals();
        mDescriptor = ::open(mTarget.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    } while (mDescriptor < 0 && errno == EINTR);
    if (mDescriptor < 0) throw Failure(EX_CANTCREAT, mPath, SystemReason(errno));
}

void Output::OpenBeside(mode_t inMode) {
    // There is nothing to remove yet where no memory is left for the name.
    mTemporaryPath = FolderOf(mTarget) + kTemporaryName;
    mDescriptor = ::mkostemp(mTemporaryPath.data(), O_CLOEXEC);
    if (mDescriptor < 0) throw Failure(EX_CANTCREAT, mPath, SystemReason(errno));
    SetUnfinishedFile(mTemporaryPath.c_str());
    // Some file systems know no permissions; the file is then as they make it.
    [[maybe_unused]] const int result = ::fchmod(mDescriptor, inMode);
}

void Output::Write(const void* inBytes, std::size_t inByteCount) {
    WriteAll(mDescriptor, inBytes, inByteCount, mPath);
    mByteCount += static_cast<std::int64_t>(inByteCount);
}

void Output::Commit() {
    CheckSignals();
    if (mManner.isSynced && !mMustMatch) Sync(mDescriptor, mPath);
    // Some file systems tell of a failed write only here. The descriptor is gone whatever close says.
    const int descriptor = std::exchange(mDescriptor, -1);
    if (::close(descriptor) != 0 && errno != EINTR) throw Failure(EX_IOERR, mPath, SystemReason(errno));
    if (mTemporaryPath.empty()) return;
    if (mMustMatch) {
        if (!HaveSameBytes(mTemporaryPath, mTarget)) {
            throw Failure(EX_CANTCREAT, mPath,
                          "exists and has other bytes, and these are no WAV file; --force replaces it");
        }
        if (mManner.isSynced) {
            SyncItem(mTarget, mPath);
            SyncFolders();
        }
        return;
    }
    TakeName();
    SetUnfinishedFile(nullptr);
    mTemporaryPath.clear();
    mIsNamed = true;
    if (mManner.isSynced) SyncFolders();
}

void Output::TakeName() {
    const char* const from = mTemporaryPath.c_str();
    const char* const to = mTarget.c_str();
    if (mManner.replace == Replace::kAnything) {
        if (::rename(from, to) != 0) throw Failure(EX_CANTCREAT, mPath, SystemReason(errno));
        return;
    }
    struct stat now {};
    if (::lstat(to, &now) == 0 && mHasOld) {
        if (!IsSameFile(now, mOld)) throw Failure(EX_CANTCREAT, mPath, kChanged);
        if (::rename(from, to) != 0) throw Failure(EX_CANTCREAT, mPath, SystemReason(errno));
        return;
    }
    if (MoveToNewName(from, to) != 0)
        throw Failure(EX_CANTCREAT, mPath, errno == EEXIST ? kAppeared : SystemReason(errno));
}

void Output::SyncFolders() const {
    SyncItem(FolderOf(mTarget), mPath);
    for (const std::string& folder : mMadeFolders)
        SyncItem(FolderOf(folder), mPath);
}

void Output::SetTimes(const timespec (&inTimes)[2]) const {
    if (mIsNamed && ::utimensat(AT_FDCWD, mTarget.c_str(), inTimes, 0) != 0)
        throw Failure(EX_IOERR, mPath, "its time cannot be set: " + SystemReason(errno));
}

}  // namespace tool
