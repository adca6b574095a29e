// The terminal that the process was started from, as standard input and standard error.
#pragma once

#include <string>
#include <string_view>

namespace toolbox::interface {

bool HasTerminal();
// Nobody is told when it cannot be written.
void ShowText(std::string_view inText);
// The next line without its end; false at the end of input, or when reading fails. Takes nothing beyond the
// line.
bool ReadLine(std::string& outLine);

}  // namespace toolbox::interface
