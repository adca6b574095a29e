#include <toolbox/Debugger.h>

#include "DebuggerCalls.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <string_view>

namespace toolbox::system {

namespace {

// The kernel tells the tracer's process id, 0 for none, among the first lines of the process's status.
bool IsTraced() {
    constexpr std::string_view kField = "TracerPid:\t";
    char status[2048];
    const int descriptor = open("/proc/self/status", O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return false;
    const ssize_t count = read(descriptor, status, sizeof status);
    close(descriptor);
    const std::string_view text(status, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    const std::size_t field = text.find(kField);
    return field != std::string_view::npos && field + kField.size() < text.size() &&
           text[field + kField.size()] != '0';
}

// A tracer sees the signal though it is ignored. A debugger stops at it; another, that only looks on, hands
// it back, and would end the program if it were not ignored then. The action is the process's: a second
// thread must not take what the first has put there for the program's own.
int Trap() {
    static std::mutex& sTrapping = *new std::mutex;
    const std::lock_guard lock(sTrapping);
    struct sigaction ignored = {};
    struct sigaction saved = {};
    ignored.sa_handler = SIG_IGN;
    if (sigaction(SIGTRAP, &ignored, &saved) != 0) return -1;
    raise(SIGTRAP);
    return sigaction(SIGTRAP, &saved, nullptr);
}

// Allocates nothing: the heap may be what is being debugged.
void WriteLine(std::string_view inText) {
    char line[256];
    const std::size_t length = std::min(inText.size(), sizeof line - 1);
    std::transform(inText.begin(), inText.begin() + static_cast<std::ptrdiff_t>(length), line,
                   [](char inByte) {
                       return static_cast<unsigned char>(inByte) < 0x20 || inByte == 0x7F ? '?' : inByte;
                   });
    line[length] = '\n';
    for (std::size_t done = 0; done <= length;) {
        const ssize_t count = sDebuggerCalls.write(STDERR_FILENO, line + done, length + 1 - done);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return;
        done += static_cast<std::size_t>(count);
    }
}

// The message is shown under a debugger too, since that has no other way to show it.
void Stop(std::string_view inMessage) {
    WriteLine(inMessage);
    if (sDebuggerCalls.isTraced()) sDebuggerCalls.trap();
}

}  // namespace

DebuggerCalls sDebuggerCalls = {IsTraced, Trap, ::write};

}  // namespace toolbox::system

void Debugger() {
    toolbox::system::Stop("Debugger() was called");
}

void DebugStr(ConstStr255Param inMessage) {
    if (inMessage == nullptr) return toolbox::system::Stop({});
    toolbox::system::Stop({reinterpret_cast<const char*>(inMessage + 1), inMessage[0]});
}
