// Access keys of this process. Any thread may call these.
#pragma once

#include "keys/AccessKeyFile.h"

namespace toolbox::keys {

[[nodiscard]] AccessKeyList CopyProcessKeys();  // throws std::bad_alloc
// Adds or removes a key, unless that is so already. memFullErr for more keys than a list may have. Throws
// std::bad_alloc, with nothing changed.
[[nodiscard]] OSStatus ChangeProcessKeys(KeyChange inChange, const AccessKey& inKey);

}  // namespace toolbox::keys
