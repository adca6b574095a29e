// What ends a command's work on one file: a reason for people and a code of <sysexits.h>.
#pragma once

#include <sysexits.h>

#include <stdexcept>
#include <string>

namespace tool {

class Failure : public std::runtime_error {
  public:
    // inSubject is the file that it is about, or empty.
    Failure(int inExitCode, std::string inSubject, const std::string& inReason)
        : std::runtime_error(inReason), mExitCode(inExitCode), mSubject(std::move(inSubject)) {}

    int ExitCode() const { return mExitCode; }
    const std::string& Subject() const { return mSubject; }

  private:
    int mExitCode;
    std::string mSubject;
};

// The system's words for an errno.
std::string SystemReason(int inErrno);

// The command's name, which stands before all that it says. Set once, first thing in main; the text is kept,
// not copied. Never null; empty before it is set.
void SetCommandName(const char* inName);
const char* CommandName();

// "command: subject: text", one line on standard error whatever the file's name holds.
void Say(const std::string& inSubject, const std::string& inText);

}  // namespace tool
