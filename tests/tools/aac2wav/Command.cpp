#include "Command.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <thread>

namespace tools_test {
namespace {

// Only for what never ends: a busy machine takes its time.
constexpr std::chrono::seconds kPatience{600};

// False at the end of the stream. A terminal whose other side is gone answers with an error.
bool ReadSome(int inDescriptor, std::string& ioText) {
    char bytes[65536];
    const ssize_t count = read(inDescriptor, bytes, sizeof bytes);
    if (count > 0) ioText.append(bytes, static_cast<std::size_t>(count));
    return count > 0 || (count < 0 && errno == EINTR);
}

void CloseIfOpen(int& ioDescriptor) {
    if (ioDescriptor >= 0) {
        close(ioDescriptor);
        ioDescriptor = -1;
    }
}

}  // namespace

std::string Fixture(const std::string& inName) {
    return std::string(MIRTAL_FIXTURES) + '/' + inName;
}

std::string ReadFile(const std::string& inPath) {
    std::ifstream file(inPath, std::ios::binary);
    EXPECT_TRUE(file.good()) << inPath;
    return std::string(std::istreambuf_iterator<char>(file), {});
}

void WriteFile(const std::string& inPath, const std::string& inBytes) {
    std::ofstream file(inPath, std::ios::binary);
    file << inBytes;
    EXPECT_TRUE(file.flush().good()) << inPath;
}

Command::~Command() {
    if (mProcess > 0 && !mIsWaitedFor) {
        kill(mProcess, SIGKILL);
        waitpid(mProcess, nullptr, 0);
    }
    CloseIfOpen(mOut);
    CloseIfOpen(mErr);
    if (mWriter > 0) {
        kill(mWriter, SIGKILL);
        waitpid(mWriter, nullptr, 0);
    }
}

int Command::OpenPipeOf(const std::string& inBytes) {
    int ends[2] = {-1, -1};
    EXPECT_EQ(0, pipe(ends));
    mWriter = fork();
    if (mWriter == 0) {
        close(ends[0]);
        std::size_t written = 0;
        while (written < inBytes.size()) {
            const ssize_t count = write(ends[1], inBytes.data() + written, inBytes.size() - written);
            if (count <= 0) _exit(1);
            written += static_cast<std::size_t>(count);
        }
        _exit(0);
    }
    CloseIfOpen(ends[1]);
    return ends[0];
}

int Command::OpenInput(int inErr) {
    if (typed) {
        EXPECT_EQ(Stream::kTerminal, err);
        Type(*typed);
        return dup(inErr);
    }
    if (inText) return OpenPipeOf(*inText);
    if (inDescriptor >= 0) return dup(inDescriptor);
    const int descriptor = open(inPath.empty() ? "/dev/null" : inPath.c_str(), O_RDONLY);
    EXPECT_GE(descriptor, 0) << inPath;
    if (inOffset != 0) {
        EXPECT_EQ(inOffset, lseek(descriptor, inOffset, SEEK_SET));
    }
    return descriptor;
}

int Command::OpenStream(Stream inStream, int& outReadEnd) {
    int ends[2] = {-1, -1};
    if (inStream == Stream::kClosed) return -1;
    if (inStream == Stream::kTerminal) {
        winsize size{};
        size.ws_col = terminalColumnCount;
        EXPECT_EQ(0, openpty(&ends[0], &ends[1], nullptr, nullptr, &size));
    } else {
        EXPECT_EQ(0, pipe(ends));
    }
    if (inStream == Stream::kClosedPipe)
        CloseIfOpen(ends[0]);
    else
        fcntl(ends[0], F_SETFD, FD_CLOEXEC);
    outReadEnd = ends[0];
    return ends[1];
}

void Command::Become(int inIn, int inOut, int inErr) {
    dup2(inIn, STDIN_FILENO);
    inErr >= 0 ? dup2(inErr, STDERR_FILENO) : close(STDERR_FILENO);
    inOut >= 0 ? dup2(inOut, STDOUT_FILENO) : close(STDOUT_FILENO);
    for (int descriptor = STDERR_FILENO + 1; descriptor < 64; ++descriptor)
        close(descriptor);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGXFSZ})
        signal(number, SIG_DFL);
    for (const int number : ignoredSignals)
        signal(number, SIG_IGN);
    if (fileSizeLimitBytes >= 0) {
        const rlimit limit{static_cast<rlim_t>(fileSizeLimitBytes), static_cast<rlim_t>(fileSizeLimitBytes)};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    // Some signals would leave an image of the process.
    const rlimit noImage{0, 0};
    setrlimit(RLIMIT_CORE, &noImage);
    if (obeysPermissions) {
        // Without these, root meets the same permissions as everybody; for others the calls fail, and need
        // not work.
        prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, 0, 0, 0);
        prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH, 0, 0, 0);
    }
    if (isTraced && ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(125);
    for (std::string& variable : environment)
        putenv(variable.data());
    if (!folder.empty() && chdir(folder.c_str()) != 0) _exit(126);
    std::vector<char*> argumentPointers{const_cast<char*>("aac2wav")};
    for (std::string& argument : arguments)
        argumentPointers.push_back(argument.data());
    argumentPointers.push_back(nullptr);
    execv(AAC2WAV_COMMAND, argumentPointers.data());
    _exit(127);
}

void Command::Start() {
    int outEnd = -1;
    if (outPath.empty()) {
        outEnd = OpenStream(out, mOut);
    } else {
        outEnd = open(outPath.c_str(), outFlags, 0666);
        ASSERT_GE(outEnd, 0) << outPath;
    }
    int errEnd = -1;
    if (errPath.empty()) {
        errEnd = OpenStream(err, mErr);
    } else {
        errEnd = open(errPath.c_str(), O_WRONLY | O_APPEND);
        ASSERT_GE(errEnd, 0) << errPath;
    }
    int inEnd = OpenInput(errEnd);
    mProcess = fork();
    ASSERT_GE(mProcess, 0);
    if (mProcess == 0) Become(inEnd, outEnd, errEnd);
    CloseIfOpen(inEnd);
    CloseIfOpen(outEnd);
    CloseIfOpen(errEnd);
}

bool Command::IsRunning() {
    if (!mIsWaitedFor) mIsWaitedFor = waitpid(mProcess, &mStatus, WNOHANG) == mProcess;
    return !mIsWaitedFor;
}

// The state stands behind the program's name, which ends with the last parenthesis. What has not become the
// command yet is none.
bool Command::IsAsleep() const {
    const std::string process = "/proc/" + std::to_string(mProcess);
    std::error_code isGone;
    if (std::filesystem::read_symlink(process + "/exe", isGone) !=
        std::filesystem::canonical(AAC2WAV_COMMAND))
        return false;
    std::ifstream file(process + "/stat");
    const std::string status(std::istreambuf_iterator<char>(file), {});
    const std::size_t nameEnd = status.rfind(')');
    return nameEnd != std::string::npos && status.compare(nameEnd, 3, ") S") == 0;
}

bool Command::HasOpen(const std::string& inFile) const {
    const std::filesystem::path file = std::filesystem::canonical(inFile);
    std::error_code isGone;
    for (const auto& descriptor :
         std::filesystem::directory_iterator("/proc/" + std::to_string(mProcess) + "/fd", isGone))
        if (std::filesystem::read_symlink(descriptor.path(), isGone) == file) return true;
    return false;
}

int Command::ReadingsAfter(int inSignal, int inCount, const std::string& inFile) {
    const std::filesystem::path file = std::filesystem::canonical(inFile);
    int count = 0;
    while (waitpid(mProcess, &mStatus, 0) == mProcess && WIFSTOPPED(mStatus)) {
        constexpr int kStoppedAtCall = SIGTRAP | 0x80;
        const int stop = WSTOPSIG(mStatus);
        __ptrace_syscall_info call{};
        if (stop == SIGTRAP) {
            // It has become the command.
            EXPECT_EQ(0, ptrace(PTRACE_SETOPTIONS, mProcess, nullptr, PTRACE_O_TRACESYSGOOD));
        } else if (stop == kStoppedAtCall) {
            ptrace(PTRACE_GET_SYSCALL_INFO, mProcess, sizeof call, &call);
        }
        const bool isReading = call.op == PTRACE_SYSCALL_INFO_ENTRY &&
                               (call.entry.nr == SYS_pread64 || call.entry.nr == SYS_read);
        std::error_code isNone;
        const std::string descriptor =
            "/proc/" + std::to_string(mProcess) + "/fd/" + std::to_string(call.entry.args[0]);
        if (isReading && std::filesystem::read_symlink(descriptor, isNone) == file && ++count == inCount)
            Signal(inSignal);
        const int passedOn = stop == SIGTRAP || stop == kStoppedAtCall ? 0 : stop;
        ptrace(PTRACE_SYSCALL, mProcess, nullptr, passedOn);
    }
    mIsWaitedFor = true;
    return count - inCount;
}

bool Command::EndsUnread() {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (IsRunning() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return !IsRunning();
}

int Command::WaitingByteCount() const {
    int count = 0;
    EXPECT_EQ(0, ioctl(mOut, FIONREAD, &count));
    return count;
}

int Command::WaitingErrorByteCount() const {
    int count = 0;
    EXPECT_EQ(0, ioctl(mErr, FIONREAD, &count));
    return count;
}

void Command::Signal(int inSignal) const {
    EXPECT_EQ(0, kill(mProcess, inSignal));
}

void Command::Type(const std::string& inTyped) const {
    EXPECT_EQ(static_cast<ssize_t>(inTyped.size()), write(mErr, inTyped.data(), inTyped.size()));
}

Outcome Command::Wait() {
    Outcome outcome;
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (mOut >= 0 || mErr >= 0) {
        pollfd streams[2] = {{mOut, POLLIN, 0}, {mErr, POLLIN, 0}};
        const int ready = poll(streams, 2, 1000);
        if (std::chrono::steady_clock::now() > deadline) {
            ADD_FAILURE() << "the command does not end";
            kill(mProcess, SIGKILL);
            break;
        }
        if (ready > 0 && streams[0].revents != 0 && !ReadSome(mOut, outcome.out)) CloseIfOpen(mOut);
        if (ready > 0 && streams[1].revents != 0 && !ReadSome(mErr, outcome.err)) CloseIfOpen(mErr);
    }
    if (!mIsWaitedFor) {
        EXPECT_EQ(mProcess, waitpid(mProcess, &mStatus, 0));
        mIsWaitedFor = true;
    }
    if (WIFEXITED(mStatus))
        outcome.exitCode = WEXITSTATUS(mStatus);
    else
        outcome.signal = WTERMSIG(mStatus);
    return outcome;
}

Outcome Command::Run() {
    Start();
    return Wait();
}

Outcome RunTool(std::vector<std::string> inArguments) {
    return Command(std::move(inArguments)).Run();
}

}  // namespace tools_test
