#include "keys/ProcessKeys.h"

#include "os/Mutex.h"

#include <toolbox/MacErrors.h>

namespace toolbox::keys {

namespace {

constinit os::Mutex sMutex;

// Never destroyed: keys may be asked for while the program ends.
AccessKeyList& Keys() NEEDS_LOCK(sMutex) {
    static AccessKeyList& sKeys = *new AccessKeyList;
    return sKeys;
}

}  // namespace

AccessKeyList CopyProcessKeys() {
    const os::MutexLock lock(sMutex);
    return Keys();
}

OSStatus ChangeProcessKeys(KeyChange inChange, const AccessKey& inKey) {
    const os::MutexLock lock(sMutex);
    AccessKeyList& keys = Keys();
    if (inChange == KeyChange::kRemove) {
        keys.Remove(inKey);
        return noErr;
    }
    if (keys.Contains(inKey)) return noErr;
    if (keys.Count() == AccessKeyList::kMaxKeys) return memFullErr;
    keys.Add(inKey);
    return noErr;
}

}  // namespace toolbox::keys
