#include "Failure.h"

#include <unistd.h>

#include <cstring>

namespace tool {

std::string SystemReason(int inErrno) {
    return std::strerror(inErrno);
}

void Say(const std::string& inSubject, const std::string& inText) {
    std::string line = std::string(kCommandName) + ": ";
    if (!inSubject.empty()) {
        line += inSubject + ": ";
    }
    line += inText;
    // A name may hold line ends and terminal commands.
    for (char& character : line) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x20 || byte == 0x7F) {
            character = '?';
        }
    }
    line += '\n';
    // Nobody is left to tell when this fails.
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace tool
