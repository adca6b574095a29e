#include "Failure.h"

#include <unistd.h>

#include <cstring>

namespace tool {

const char kCommandName[] = TOOL_COMMAND_NAME;

std::string SystemReason(int inErrno) {
    return std::strerror(inErrno);
}

namespace {

// The C1 controls, U+0080 to U+009F, are two bytes of UTF-8.
bool IsWideControl(const std::string& inText, std::size_t inIndex) {
    return inText[inIndex] == '\xC2' && inIndex + 1 < inText.size() &&
           (static_cast<unsigned char>(inText[inIndex + 1]) & 0xE0) == 0x80;
}

// A name may hold line ends and terminal commands.
std::string Printable(const std::string& inText) {
    std::string text;
    for (std::size_t i = 0; i < inText.size(); ++i) {
        const auto byte = static_cast<unsigned char>(inText[i]);
        const bool isWideControl = IsWideControl(inText, i);
        text += byte < 0x20 || byte == 0x7F || isWideControl ? '?' : inText[i];
        if (isWideControl) ++i;
    }
    return text;
}

}  // namespace

void Say(const std::string& inSubject, const std::string& inText) {
    std::string line = std::string(kCommandName) + ": ";
    if (!inSubject.empty()) {
        line += inSubject + ": ";
    }
    line += inText;
    line = Printable(line);
    line += '\n';
    // Nobody is left to tell when this fails.
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace tool
