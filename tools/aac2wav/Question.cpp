#include "Question.h"

#include "Failure.h"
#include "Output.h"
#include "Printable.h"
#include "Signals.h"

#include <unistd.h>

#include <cerrno>

namespace tool {
namespace {

// Up to the line's end, which is left out, or the input's.
std::string ReadLine() {
    std::string line;
    for (;;) {
        WaitForInput(STDIN_FILENO);
        char character = 0;
        const ssize_t count = ::read(STDIN_FILENO, &character, 1);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0 || character == '\n') return line;
        line += character;
    }
}

}  // namespace

Question::Answer Question::Ask(const std::string& inPath) {
    if (mIsAll) return Answer::kYes;
    const std::string text =
        std::string(CommandName()) + ": " + Printable(inPath) + " exists; replace it? [y/N/all/quit] ";
    WriteAll(STDERR_FILENO, text.data(), text.size(), "standard error");
    const std::string answer = ReadLine();
    mIsAll = answer == "all" || answer == "a";
    if (mIsAll || answer == "y" || answer == "yes" || answer == "Y") return Answer::kYes;
    return answer == "quit" || answer == "q" ? Answer::kQuit : Answer::kNo;
}

bool HasTerminal() {
    return ::isatty(STDIN_FILENO) == 1 && ::isatty(STDERR_FILENO) == 1;
}

}  // namespace tool
