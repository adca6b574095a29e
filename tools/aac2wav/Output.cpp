#include "Output.h"

#include "Failure.h"
#include "Signals.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

namespace tool {
namespace {

constexpr char kTemporaryName[] = ".aac2wav-XXXXXX";
constexpr int kPipeByteCount = 1 << 20;  // what an unprivileged process may ask for

// The file that a path leads to; the path itself where nothing is there yet.
std::string FollowLinks(const std::string& inPath) {
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(inPath.c_str(), nullptr), &std::free);
    return real ? std::string(real.get()) : inPath;
}

std::string FolderOf(const std::string& inPath) {
    const std::size_t slash = inPath.rfind('/');
    return slash == std::string::npos ? std::string() : inPath.substr(0, slash + 1);
}

mode_t NewFileMode() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

bool IsEmptyOrWAV(const std::string& inPath) {
    const int descriptor = ::open(inPath.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return false;
    }
    char start[12] = {};
    const ssize_t count = ::read(descriptor, start, sizeof start);
    ::close(descriptor);
    if (count == 0) {
        return true;
    }
    const bool isRIFF = std::memcmp(start, "RIFF", 4) == 0 || std::memcmp(start, "RF64", 4) == 0;
    return count == sizeof start && isRIFF && std::memcmp(start + 8, "WAVE", 4) == 0;
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

Output::Output(const std::string& inPath, Replace inReplace) : mPath(inPath), mTarget(FollowLinks(inPath)) {
    if (inPath == "-") {
        OpenStandardOutput();
        return;
    }
    struct stat old {};
    if (::stat(mTarget.c_str(), &old) != 0 || S_ISREG(old.st_mode)) {
        OpenBeside(inReplace);
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

void Output::OpenBeside(Replace inReplace) {
    struct stat old {};
    const bool isOld = ::stat(mTarget.c_str(), &old) == 0;
    if (isOld && inReplace == Replace::kSoundOnly && !IsEmptyOrWAV(mTarget)) {
        throw Failure(EX_CANTCREAT, mPath, "exists and is no WAV file; --force replaces it");
    }
    const std::string pattern = FolderOf(mTarget) + kTemporaryName;
    std::vector<char> name(pattern.c_str(), pattern.c_str() + pattern.size() + 1);
    mDescriptor = ::mkostemp(name.data(), O_CLOEXEC);
    if (mDescriptor < 0) {
        throw Failure(EX_CANTCREAT, mPath, SystemReason(errno));
    }
    mTemporaryPath = name.data();
    SetUnfinishedFile(mTemporaryPath.c_str());
    // Some file systems know no permissions; the file is then as they make it.
    [[maybe_unused]] const int result = ::fchmod(mDescriptor, isOld ? old.st_mode & 0777 : NewFileMode());
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
    if (::rename(mTemporaryPath.c_str(), mTarget.c_str()) != 0) {
        throw Failure(EX_CANTCREAT, mPath, SystemReason(errno));
    }
    SetUnfinishedFile(nullptr);
    mTemporaryPath.clear();
}

}  // namespace tool
