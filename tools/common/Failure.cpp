#include "Failure.h"

#include "Printable.h"

#include <unistd.h>

#include <cstring>

namespace tool {

namespace {

const char* sCommandName = "";

}  // namespace

void SetCommandName(const char* inName) {
    sCommandName = inName;
}

const char* CommandName() {
    return sCommandName;
}

std::string SystemReason(int inErrno) {
    return std::strerror(inErrno);
}

void Say(const std::string& inSubject, const std::string& inText) {
    std::string line = std::string(CommandName()) + ": ";
    if (!inSubject.empty()) line += inSubject + ": ";
    line += inText;
    line = Printable(line);
    line += '\n';
    // Nobody is left to tell when this fails.
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace tool
