// The whole command: its arguments read, its work done and told of.
#pragma once

namespace tool {

// The exit code, of <sysexits.h>. Throws Interrupted. One at a time.
int RunCommand(int inArgumentCount, const char* const* inArguments);

}  // namespace tool
