// The file of system-wide access keys: read without a lock, since it is only ever replaced as a whole;
// changed by one program, and one thread, at a time.
#pragma once

#include "keys/AccessKeyList.h"

#include <toolbox/MacTypes.h>

#include <cstddef>

namespace toolbox::keys {

constexpr std::size_t kMaxKeyFileBytes = std::size_t{1} << 20;

enum class KeyChange { kAdd, kRemove };

// The keys; none when there is no file, or no folder that it could be in. badFileFormat, or a file status.
// Throws std::bad_alloc.
[[nodiscard]] OSStatus LoadSystemKeys(AccessKeyList& outKeys);

// Adds or removes a key, unless that is so already. Beside the above: fnfErr when nobody tells where
// the user's folders are, dskFulErr for more keys or bytes than a file may have. On failure the file is as it
// was. Throws std::bad_alloc.
[[nodiscard]] OSStatus ChangeSystemKeys(KeyChange inChange, const AccessKey& inKey);

}  // namespace toolbox::keys
