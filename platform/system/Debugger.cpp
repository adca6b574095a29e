#include "os/Descriptor.h"
#include "os/Mutex.h"
#include "os/SystemCalls.h"

#include <signal.h>
#include <toolbox/Debugger.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace toolbox::system {

namespace {

// The kernel tells the tracer's process id, 0 for none, among the first lines of the process's status.
bool IsTraced() {
    constexpr std::string_view kField = "TracerPid:\t";
    char status[2048];
    os::Descriptor file;
    std::size_t count = 0;
    if (os::OpenFile("/proc/self/status", O_RDONLY, file) != 0 ||
        os::ReadAt(file.Number(), status, sizeof status, 0, count) != 0)
        return false;
    const std::string_view text(status, count);
    const std::size_t field = text.find(kField);
    return field != std::string_view::npos && field + kField.size() < text.size() &&
           text[field + kField.size()] != '0';
}

// A tracer sees the signal though it is ignored. A debugger stops at it; another, that only looks on, hands
// it back, and would end the program if it were not ignored then. The action is the process's: a second
// thread must not take what the first has put there for the program's own.
void Trap() {
    static os::Mutex& sTrapping = *new os::Mutex;
    const os::MutexLock lock(sTrapping);
    struct sigaction ignored = {};
    struct sigaction saved = {};
    ignored.sa_handler = SIG_IGN;
    if (os::Calls().sigaction(SIGTRAP, &ignored, &saved) != 0) return;
    (void)os::Calls().raise(SIGTRAP);
    (void)os::Calls().sigaction(SIGTRAP, &saved, nullptr);
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
    (void)os::WriteAll(STDERR_FILENO, line, length + 1);
}

// The message is shown under a debugger too, since that has no other way to show it.
void Stop(std::string_view inMessage) {
    WriteLine(inMessage);
    if (IsTraced()) Trap();
}

}  // namespace

}  // namespace toolbox::system

void Debugger() {
    toolbox::system::Stop("Debugger() was called");
}

void DebugStr(ConstStr255Param inMessage) {
    if (inMessage == nullptr) return toolbox::system::Stop({});
    toolbox::system::Stop({reinterpret_cast<const char*>(inMessage + 1), inMessage[0]});
}
