#include "keys/ProcessKeys.h"

#include <toolbox/MacErrors.h>

#include <mutex>

namespace toolbox::movies {

namespace {

std::mutex sMutex;

// Never destroyed: keys may be asked for while the program ends. With sMutex held.
AccessKeyList& Keys() {
    static AccessKeyList& sKeys = *new AccessKeyList;
    return sKeys;
}

}  // namespace

AccessKeyList CopyProcessKeys() {
    const std::lock_guard lock(sMutex);
    return Keys();
}

OSStatus ChangeProcessKeys(KeyChange inChange, const AccessKey& inKey) {
    const std::lock_guard lock(sMutex);
    AccessKeyList& keys = Keys();
    if (inChange == KeyChange::kRemove) {
        keys.Remove(inKey);
        return noErr;
    }
    if (keys.Contains(inKey)) return noErr;
    if (keys.Count() == AccessKeyList::kMostKeys) return memFullErr;
    keys.Add(inKey);
    return noErr;
}

}  // namespace toolbox::movies
