#include "Input.h"

#include "Failure.h"
#include "Names.h"
#include "Output.h"
#include "Progress.h"
#include "Signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

namespace tool {
namespace {

constexpr char kDefaultFolder[] = "/var/tmp";
constexpr std::size_t kBlockBytes = 1 << 20;

struct ClosingDescriptor {
    int number = -1;
    explicit ClosingDescriptor(int inNumber) : number(inNumber) {}
    ~ClosingDescriptor() {
        if (number >= 0) ::close(number);
    }
    ClosingDescriptor(const ClosingDescriptor&) = delete;
    ClosingDescriptor& operator=(const ClosingDescriptor&) = delete;
};

struct stat StatusOf(const std::string& inPath) {
    struct stat item {};
    if (::stat(inPath.c_str(), &item) != 0) throw Failure(EX_NOINPUT, inPath, SystemReason(errno));
    if (S_ISDIR(item.st_mode))
        throw Failure(EX_NOINPUT, inPath, "is a folder; --recursive converts what is in it");
    if (!S_ISREG(item.st_mode) && !S_ISFIFO(item.st_mode))
        throw Failure(EX_NOINPUT, inPath, "is neither a file nor a pipe");
    return item;
}

struct stat StandardInputStatus() {
    const std::string name = InputName("-");
    struct stat item {};
    if (::isatty(STDIN_FILENO) == 1) throw Failure(EX_USAGE, name, "is a terminal; send it a file or a pipe");
    const int mode = ::fcntl(STDIN_FILENO, F_GETFL);
    if (mode < 0 || ::fstat(STDIN_FILENO, &item) != 0 || (mode & O_ACCMODE) == O_WRONLY)
        throw Failure(EX_NOINPUT, name, SystemReason(EBADF));
    if (S_ISDIR(item.st_mode)) throw Failure(EX_NOINPUT, name, "is a folder");
    return item;
}

// A pipe waits here for its writer.
int OpenForReading(const std::string& inPath) {
    int descriptor = -1;
    do {
        CheckSignals();
        descriptor = ::open(inPath.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    } while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0) throw Failure(EX_NOINPUT, inPath, SystemReason(errno));
    return descriptor;
}

std::string PathOfDescriptor(int inDescriptor) {
    return "/proc/self/fd/" + std::to_string(inDescriptor);
}

std::string SpoolFolder() {
    const char* const folder = std::getenv("TMPDIR");
    return folder != nullptr && folder[0] != '\0' ? folder : kDefaultFolder;
}

// A file that has no name, so that nothing is left of it however the work ends.
int MakeNamelessFile() {
    const std::string folder = SpoolFolder();
    int descriptor = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (descriptor < 0 && (errno == EOPNOTSUPP || errno == EISDIR || errno == ENOENT)) {
        // A file system that must give a name first.
        std::string path = AsFolder(folder) + ".aac2wav-XXXXXX";
        descriptor = ::mkostemp(path.data(), O_CLOEXEC);
        if (descriptor >= 0) ::unlink(path.c_str());
    }
    if (descriptor < 0) {
        throw Failure(EX_CANTCREAT, folder,
                      "what comes by the pipe cannot be kept there: " + SystemReason(errno));
    }
    return descriptor;
}

}  // namespace

void RequireReadable(const std::string& inInput) {
    if (inInput == "-") {
        StandardInputStatus();
        return;
    }
    if (!S_ISREG(StatusOf(inInput).st_mode)) {
        if (::access(inInput.c_str(), R_OK) != 0) throw Failure(EX_NOINPUT, inInput, SystemReason(errno));
        return;
    }
    const ClosingDescriptor opened(OpenForReading(inInput));
}

Input::Input(const std::string& inInput, std::int64_t inSpoolLimitBytes, bool inQuiet)
    : mName(InputName(inInput)), mSpoolLimitBytes(inSpoolLimitBytes), mIsQuiet(inQuiet) {
    try {
        inInput == "-" ? OpenStandardInput() : OpenPath(inInput);
    } catch (...) {
        if (mSpool >= 0) ::close(mSpool);
        throw;
    }
}

Input::~Input() {
    if (mSpool >= 0) ::close(mSpool);
}

void Input::OpenStandardInput() {
    const struct stat item = StandardInputStatus();
    mTimes[0] = item.st_atim;
    mTimes[1] = item.st_mtim;
    const bool isAtStart = S_ISREG(item.st_mode) && ::lseek(STDIN_FILENO, 0, SEEK_CUR) == 0;
    // A file that was opened for us may be one that we may not open.
    mPath = PathOfDescriptor(STDIN_FILENO);
    if (!isAtStart || ::access(mPath.c_str(), R_OK) != 0) Spool(STDIN_FILENO);
}

void Input::OpenPath(const std::string& inPath) {
    const struct stat item = StatusOf(inPath);
    mTimes[0] = item.st_atim;
    mTimes[1] = item.st_mtim;
    mPath = inPath;
    const ClosingDescriptor opened(OpenForReading(inPath));
    if (!S_ISREG(item.st_mode)) Spool(opened.number);
}

void Input::Spool(int inDescriptor) {
    mSpool = MakeNamelessFile();
    mPath = PathOfDescriptor(mSpool);
    Progress progress(mName, Progress::kUnknown, 1, mIsQuiet);
    std::vector<char> block(kBlockBytes);
    std::int64_t byteCount = 0;
    for (;;) {
        WaitForInput(inDescriptor);
        const ssize_t count = ::read(inDescriptor, block.data(), block.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) throw Failure(EX_NOINPUT, mName, SystemReason(errno));
        if (count == 0) return;
        byteCount += count;
        if (byteCount > mSpoolLimitBytes) {
            throw Failure(EX_DATAERR, mName,
                          "has more than " + std::to_string(mSpoolLimitBytes) +
                              " bytes; --spool-limit allows for more");
        }
        WriteAll(mSpool, block.data(), static_cast<std::size_t>(count), SpoolFolder());
        progress.Advance(count);
    }
}

}  // namespace tool
