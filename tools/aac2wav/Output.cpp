#include "Output.h"

#include "Failure.h"
#include "Signals.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

namespace tool {
namespace {

constexpr char kTemporaryName[] = ".aac2wav-XXXXXX";
constexpr int kMostLinks = 40;           // as the kernel has it
constexpr int kPipeByteCount = 1 << 20;  // what an unprivileged process may ask for

std::string FolderOf(const std::string& inPath) {
    const std::size_t slash = inPath.rfind('/');
    return slash == std::string::npos ? std::string() : inPath.substr(0, slash + 1);
}

// What a link says, as a path; empty when inPath is no link.
std::string LinkTarget(const std::string& inPath) {
    char target[PATH_MAX];
    const ssize_t length = ::readlink(inPath.c_str(), target, sizeof target);
    if (length <= 0) {
        return {};
    }
    const std::string path(target, static_cast<std::size_t>(length));
    return path[0] == '/' ? path : FolderOf(inPath) + path;
}

// The file that a path leads to, which need not be there yet.
std::string FollowLinks(const std::string& inPath) {
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(inPath.c_str(), nullptr), &std::free);
    if (real) {
        return real.get();
    }
    std::string path = inPath;
    for (int count = 0; count < kMostLinks; ++count) {
        std::string target = LinkTarget(path);
        if (target.empty()) {
            return path;
        }
        path = std::move(target);
    }
    throw Failure(EX_CANTCREAT, inPath, SystemReason(ELOOP));
}

mode_t NewFileMode() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

// inName is that for messages.
bool IsEmptyOrWAV(const std::string& inPath, const std::string& inName) {
    const int descriptor = ::open(inPath.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        throw Failure(EX_CANTCREAT, inName, SystemReason(errno));
    }
    char start[12] = {};
    const ssize_t count = ::read(descriptor, start, sizeof start);
    const int error = errno;
    ::close(descriptor);
    if (count < 0) {
        throw Failure(EX_CANTCREAT, inName, SystemReason(error));
    }
    if (count == 0) {
        return true;
    }
    const bool isRIFF = std::memcmp(start, "RIFF", 4) == 0 || std::memcmp(start, "RF64", 4) == 0;
    return count == sizeof start && isRIFF && std::memcmp(start + 8, "WAVE", 4) == 0;
}

// Gives a file a name that nothing has, or fails with EEXIST. Where the file system can neither move with
// that condition nor make links, there is a moment before the move in which the name may be taken unnoticed.
int MoveToNewName(const char* inFrom, const char* inTo) {
    if (::renameat2(AT_FDCWD, inFrom, AT_FDCWD, inTo, RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return -1;
    }
    if (::link(inFrom, inTo) == 0) {
        return ::unlink(inFrom);
    }
    struct stat other {};
    if (errno == EEXIST || ::lstat(inTo, &other) == 0) {
        errno = EEXIST;
        return -1;
    }
    return ::rename(inFrom, inTo);
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
        if (error == EINTR) {
            continue;
        }
        if (error == EPIPE) {
            ThrowBrokenPipe();
        }
        throw Failure(EX_IOERR, inSubject, SystemReason(error));
    }
}

Output::Output(const std::string& inPath, Replace inReplace) : mPath(inPath) {
    if (inPath == "-") {
        OpenStandardOutput();
        return;
    }
    mTarget = FollowLinks(mPath);
    struct stat old {};
    if (::stat(mTarget.c_str(), &old) != 0) {
        if (errno != ENOENT) {
            throw Failure(EX_CANTCREAT, mPath, SystemReason(errno));
        }
        mMustBeNew = inReplace == Replace::kSoundOnly;
        OpenBeside(NewFileMode());
    } else if (S_ISREG(old.st_mode)) {
        if (inReplace == Replace::kSoundOnly && !IsEmptyOrWAV(mTarget, mPath)) {
            throw Failure(EX_CANTCREAT, mPath, "exists and is no WAV file; --force replaces it");
        }
        OpenBeside(old.st_mode & 0777);
    } else if (S_ISDIR(old.st_mode)) {
        throw Failure(EX_CANTCREAT, mPath, "is a folder");
    } else {
        OpenDirectly();
    }
}

Output::~Output() {
    if (mDescriptor > STDERR_FILENO) {
        ::close(mDescriptor);
    }
    if (!mTemporaryPath.empty()) {
        SetUnfinishedFile(nullptr);
        ::unlink(mTemporaryPath.c_str());
    }
}

void Output::OpenStandardOutput() {
    if (::isatty(STDOUT_FILENO) == 1) {
        throw Failure(EX_USAGE, {}, "standard output is a terminal; send it to a file or a pipe");
    }
    mPath = "standard output";
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
    if (mDescriptor < 0) {
        throw Failure(EX_CANTCREAT, mPath, SystemReason(errno));
    }
}

void Output::OpenBeside(mode_t inMode) {
    const std::string pattern = FolderOf(mTarget) + kTemporaryName;
    std::vector<char> name(pattern.c_str(), pattern.c_str() + pattern.size() + 1);
    mDescriptor = ::mkostemp(name.data(), O_CLOEXEC);
    if (mDescriptor < 0) {
        throw Failure(EX_CANTCREAT, mPath, SystemReason(errno));
    }
    mTemporaryPath = name.data();
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
    // Some file systems tell of a failed write only here. The descriptor is gone whatever close says.
    const int descriptor = std::exchange(mDescriptor, -1);
    if (::close(descriptor) != 0 && errno != EINTR) {
        throw Failure(EX_IOERR, mPath, SystemReason(errno));
    }
    if (mTemporaryPath.empty()) {
        return;
    }
    const char* const from = mTemporaryPath.c_str();
    const char* const to = mTarget.c_str();
    if ((mMustBeNew ? MoveToNewName(from, to) : ::rename(from, to)) != 0) {
        throw Failure(
            EX_CANTCREAT, mPath,
            mMustBeNew && errno == EEXIST ? "appeared meanwhile; --force replaces it" : SystemReason(errno));
    }
    SetUnfinishedFile(nullptr);
    mTemporaryPath.clear();
}

}  // namespace tool
