// The file of system-wide access keys: read without a lock, since it is only ever replaced as a whole;
// changed by one program, and one thread, at a time.
#pragma once

#include "keys/AccessKeyList.h"

#include <toolbox/MacTypes.h>

#include <sys/types.h>
#include <cstddef>

namespace toolbox::movies {

constexpr std::size_t kMostKeyFileBytes = std::size_t{1} << 20;

enum class KeyChange { kAdd, kRemove };

// The keys; none when there is no file, or no folder that it could be in. badFileFormat, or a file status.
// Throws std::bad_alloc.
[[nodiscard]] OSStatus LoadSystemKeys(AccessKeyList& outKeys);

// Adds or removes a key, unless that is so already. Beside the above: fnfErr when the environment names no
// folder, dskFulErr for more keys or bytes than a file may have. On failure the file is as it was.
// Throws std::bad_alloc.
[[nodiscard]] OSStatus ChangeSystemKeys(KeyChange inChange, const AccessKey& inKey);

// The calls of the system beside those of the File Manager; each behaves as the system's own of that name.
struct AccessKeyCalls {
    int (*makeFolder)(const char* inPath, mode_t inMode);  // mkdir
    int (*lockFile)(int inDescriptor, int inOperation);    // flock
};
extern AccessKeyCalls sAccessKeyCalls;

}  // namespace toolbox::movies
