// The calls by which the debugger functions reach the system.
#pragma once

#include <sys/types.h>

#include <cstddef>

namespace toolbox::system {

struct DebuggerCalls {
    bool (*isTraced)();  // whether a debugger is attached
    int (*trap)();       // stops in it
    ssize_t (*write)(int inDescriptor, const void* inBytes, std::size_t inByteCount);
};
extern DebuggerCalls sDebuggerCalls;

}  // namespace toolbox::system
