// The terminal that the process was started from, as standard input and standard error.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace toolbox::interface {

// The calls by which alerts reach the system; each behaves as the system's own of that name.
struct TerminalCalls {
    int (*isTerminal)(int inDescriptor);  // isatty
    ssize_t (*read)(int inDescriptor, void* outBytes, std::size_t inByteCount);
    ssize_t (*write)(int inDescriptor, const void* inBytes, std::size_t inByteCount);
};
extern TerminalCalls sTerminalCalls;

bool HasTerminal();
// Nobody is told when it cannot be written.
void ShowText(std::string_view inText);
// The next line without its end; false at the end of input, or when reading fails. Takes nothing beyond the
// line.
bool ReadLine(std::string& outLine);

}  // namespace toolbox::interface
