#include "keys/AccessKeyFile.h"

#include "os/Descriptor.h"
#include "os/Folders.h"
#include "os/ItemStatus.h"
#include "os/Replace.h"
#include "os/SystemCalls.h"
#include "os/UserPaths.h"
#include "status/StatusOfErrno.h"

#include <sys/file.h>
#include <toolbox/MacErrors.h>

#include <cerrno>
#include <string>

namespace toolbox::keys {

namespace {

constexpr mode_t kFolderMode = 0700;  // as the XDG base directory specification asks
constexpr mode_t kLockMode = 0600;

// The folder of the keys; "" when nobody tells where the user's folders are.
OSStatus GetKeyFolder(std::string& outFolder) {
    const int error = os::GetBaseFolderPath("XDG_STATE_HOME", ".local/state", outFolder);
    if (error != 0) return StatusOfErrno(error);
    if (!outFolder.empty()) outFolder += "/mirtal";
    return noErr;
}

std::string KeyFile(const std::string& inFolder) {
    return inFolder + "/access-keys";
}

OSStatus Load(const std::string& inPath, AccessKeyList& outKeys) {
    outKeys = {};
    // A pipe in its place would hold us otherwise.
    os::Descriptor file;
    int error = os::OpenFile(inPath.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY, file);
    if (error != 0) return error == ENOENT ? noErr : StatusOfErrno(error);
    os::ItemStatus status;
    error = os::GetDescriptorStatus(file.Number(), status);
    if (error != 0) return StatusOfErrno(error);
    if (status.kind != os::ItemKind::kFile) return badFileFormat;
    std::string text;
    error = os::ReadFromStart(file.Number(), kMaxKeyFileBytes + 1, text);
    if (error != 0) return StatusOfErrno(error);
    return text.size() <= kMaxKeyFileBytes && outKeys.Decode(text) ? noErr : badFileFormat;
}

OSStatus Store(const std::string& inPath, const AccessKeyList& inKeys) {
    const std::string text = inKeys.Encode();
    if (inKeys.Count() > AccessKeyList::kMaxKeys || text.size() > kMaxKeyFileBytes) return dskFulErr;
    return StatusOfErrno(os::ReplaceFile(inPath, std::vector<UInt8>(text.begin(), text.end())));
}

bool IsSo(KeyChange inChange, const AccessKey& inKey, const AccessKeyList& inKeys) {
    return inKeys.Contains(inKey) == (inChange == KeyChange::kAdd);
}

// The lock is another file: that of the keys is another one after each change. It goes with its descriptor,
// however the program ends.
OSStatus Lock(int inDescriptor) {
    while (os::Calls().flock(inDescriptor, LOCK_EX) != 0)
        if (errno != EINTR) return StatusOfErrno(errno);
    return noErr;
}

OSStatus ChangeLocked(const std::string& inPath, KeyChange inChange, const AccessKey& inKey) {
    AccessKeyList keys;
    const OSStatus status = Load(inPath, keys);
    if (status != noErr || IsSo(inChange, inKey, keys)) return status;
    if (inChange == KeyChange::kAdd)
        keys.Add(inKey);
    else
        keys.Remove(inKey);
    return Store(inPath, keys);
}

}  // namespace

OSStatus LoadSystemKeys(AccessKeyList& outKeys) {
    outKeys = {};
    std::string folder;
    const OSStatus status = GetKeyFolder(folder);
    return status != noErr || folder.empty() ? status : Load(KeyFile(folder), outKeys);
}

OSStatus ChangeSystemKeys(KeyChange inChange, const AccessKey& inKey) {
    std::string folder;
    OSStatus status = GetKeyFolder(folder);
    if (status != noErr) return status;
    if (folder.empty()) return fnfErr;
    // What is so already needs neither a lock nor a folder.
    AccessKeyList keys;
    status = Load(KeyFile(folder), keys);
    if (status != noErr || IsSo(inChange, inKey, keys)) return status;
    int error = os::MakeFolders(folder, kFolderMode);
    if (error != 0) return StatusOfErrno(error);
    os::Descriptor lock;
    error = os::OpenFile((KeyFile(folder) + ".lock").c_str(), O_RDWR | O_CREAT, lock, kLockMode);
    if (error != 0) return StatusOfErrno(error);
    status = Lock(lock.Number());
    return status == noErr ? ChangeLocked(KeyFile(folder), inChange, inKey) : status;
}

}  // namespace toolbox::keys
