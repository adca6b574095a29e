// The calls by which clocks, Gestalt and the Process Manager reach the system.
#pragma once

#include <sys/sysinfo.h>
#include <sys/types.h>
#include <time.h>

#include <cstddef>

namespace toolbox::system {

// Each behaves as the system's own of that purpose: -1 with errno set on failure.
struct SystemCalls {
    int (*readClock)(clockid_t inClock, timespec* outTime);
    int (*readSystemInfo)(struct sysinfo* outInfo);
    long (*readSetting)(int inSetting);  // sysconf
    ssize_t (*readLink)(const char* inPath, char* outTarget, std::size_t inCapacity);
    // A small file from its start; the bytes read.
    ssize_t (*readFile)(const char* inPath, char* outBytes, std::size_t inCapacity);
};
extern SystemCalls sSystemCalls;

}  // namespace toolbox::system
