#include "Terminal.h"

#include "os/Descriptor.h"
#include "os/SystemCalls.h"

#include <unistd.h>

namespace toolbox::interface {

bool HasTerminal() {
    return os::Calls().isatty(STDIN_FILENO) == 1 && os::Calls().isatty(STDERR_FILENO) == 1;
}

void ShowText(std::string_view inText) {
    (void)os::WriteAll(STDERR_FILENO, inText.data(), inText.size());
}

bool ReadLine(std::string& outLine) {
    outLine.clear();
    // Byte by byte: what follows the line is for others.
    for (;;) {
        char byte;
        std::size_t count = 0;
        if (os::ReadSome(STDIN_FILENO, &byte, 1, count) != 0 || count == 0) return false;
        if (byte == '\n') return true;
        outLine += byte;
    }
}

}  // namespace toolbox::interface
