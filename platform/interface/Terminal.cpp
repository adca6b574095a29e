#include "Terminal.h"

#include <unistd.h>

#include <cerrno>

namespace toolbox::interface {

TerminalCalls sTerminalCalls = {::isatty, ::read, ::write};

bool HasTerminal() {
    return sTerminalCalls.isTerminal(STDIN_FILENO) == 1 && sTerminalCalls.isTerminal(STDERR_FILENO) == 1;
}

void ShowText(std::string_view inText) {
    while (!inText.empty()) {
        const ssize_t count = sTerminalCalls.write(STDERR_FILENO, inText.data(), inText.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return;
        inText.remove_prefix(static_cast<std::size_t>(count));
    }
}

bool ReadLine(std::string& outLine) {
    outLine.clear();
    // Byte by byte: what follows the line is for others.
    for (;;) {
        char byte;
        const ssize_t count = sTerminalCalls.read(STDIN_FILENO, &byte, 1);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        if (byte == '\n') return true;
        outLine += byte;
    }
}

}  // namespace toolbox::interface
