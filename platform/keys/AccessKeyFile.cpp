#include "keys/AccessKeyFile.h"

#include "os/FileCalls.h"
#include "os/ItemStatus.h"
#include "os/Replace.h"

#include <toolbox/MacErrors.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string>

namespace toolbox::movies {

AccessKeyCalls sAccessKeyCalls = {::mkdir, ::flock};

namespace {

constexpr mode_t kFolderMode = 0700;  // as the XDG base directory specification asks
constexpr mode_t kLockMode = 0600;

class Descriptor {
  public:
    explicit Descriptor(int inNumber) : mNumber(inNumber) {}
    ~Descriptor() {
        if (mNumber >= 0) os::Calls().closeFile(mNumber);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    bool IsOpen() const { return mNumber >= 0; }
    int Number() const { return mNumber; }

  private:
    int mNumber;
};

// "" when the variable is no absolute path.
std::string PathInEnvironment(const char* inName) {
    const char* const path = std::getenv(inName);
    return path != nullptr && path[0] == '/' ? path : "";
}

// The folder of the keys; "" when the environment tells of none.
std::string KeyFolder() {
    const std::string state = PathInEnvironment("XDG_STATE_HOME");
    if (!state.empty()) return state + "/mirtal";
    const std::string home = PathInEnvironment("HOME");
    return home.empty() ? home : home + "/.local/state/mirtal";
}

std::string KeyFile(const std::string& inFolder) {
    return inFolder + "/access-keys";
}

// Makes a folder and those above it that are missing. 0 or an errno.
int MakeFolders(const std::string& inPath) {
    if (sAccessKeyCalls.makeFolder(inPath.c_str(), kFolderMode) == 0 || errno == EEXIST) return 0;
    const std::size_t parentBytes = inPath.rfind('/');
    if (errno != ENOENT || parentBytes == 0 || parentBytes == std::string::npos) return errno;
    const int error = MakeFolders(inPath.substr(0, parentBytes));
    if (error != 0) return error;
    // Another program may have made it in the meantime.
    return sAccessKeyCalls.makeFolder(inPath.c_str(), kFolderMode) == 0 || errno == EEXIST ? 0 : errno;
}

// A file longer than it may be shows by one byte more. 0 or an errno.
int ReadText(int inDescriptor, std::int64_t inSizeBytes, std::string& outText) {
    outText.resize(std::min(static_cast<std::size_t>(inSizeBytes), kMostKeyFileBytes) + 1);
    std::size_t byteCount = 0;
    while (byteCount < outText.size()) {
        const ssize_t got = os::Calls().readAt(inDescriptor, outText.data() + byteCount,
                                                  outText.size() - byteCount, static_cast<off_t>(byteCount));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return errno;
        if (got == 0) break;
        byteCount += static_cast<std::size_t>(got);
    }
    outText.resize(byteCount);
    return 0;
}

OSStatus Load(const std::string& inPath, AccessKeyList& outKeys) {
    outKeys = {};
    // A pipe in its place would hold us otherwise.
    const Descriptor file(
        os::Calls().openFile(inPath.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!file.IsOpen()) return errno == ENOENT ? noErr : os::StatusOfErrno(errno);
    os::ItemStatus status;
    int error = os::GetDescriptorStatus(file.Number(), status);
    if (error != 0) return os::StatusOfErrno(error);
    if (status.kind != os::ItemKind::kFile) return badFileFormat;
    std::string text;
    error = ReadText(file.Number(), status.sizeBytes, text);
    if (error != 0) return os::StatusOfErrno(error);
    return text.size() <= kMostKeyFileBytes && outKeys.Decode(text) ? noErr : badFileFormat;
}

OSStatus Store(const std::string& inPath, const AccessKeyList& inKeys) {
    const std::string text = inKeys.Encode();
    if (inKeys.Count() > AccessKeyList::kMostKeys || text.size() > kMostKeyFileBytes) return dskFulErr;
    return os::ReplaceFile(inPath, std::vector<UInt8>(text.begin(), text.end()));
}

bool IsSo(KeyChange inChange, const AccessKey& inKey, const AccessKeyList& inKeys) {
    return inKeys.Contains(inKey) == (inChange == KeyChange::kAdd);
}

// The lock is another file: that of the keys is another one after each change. It goes with its descriptor,
// however the program ends.
OSStatus Lock(int inDescriptor) {
    while (sAccessKeyCalls.lockFile(inDescriptor, LOCK_EX) != 0)
        if (errno != EINTR) return os::StatusOfErrno(errno);
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
    const std::string folder = KeyFolder();
    if (!folder.empty()) return Load(KeyFile(folder), outKeys);
    outKeys = {};
    return noErr;
}

OSStatus ChangeSystemKeys(KeyChange inChange, const AccessKey& inKey) {
    const std::string folder = KeyFolder();
    if (folder.empty()) return fnfErr;
    // What is so already needs neither a lock nor a folder.
    AccessKeyList keys;
    OSStatus status = Load(KeyFile(folder), keys);
    if (status != noErr || IsSo(inChange, inKey, keys)) return status;
    const int error = MakeFolders(folder);
    if (error != 0) return os::StatusOfErrno(error);
    const Descriptor lock(os::Calls().createFile((KeyFile(folder) + ".lock").c_str(),
                                                    O_RDWR | O_CREAT | O_CLOEXEC, kLockMode));
    if (!lock.IsOpen()) return os::StatusOfErrno(errno);
    status = Lock(lock.Number());
    return status == noErr ? ChangeLocked(KeyFile(folder), inChange, inKey) : status;
}

}  // namespace toolbox::movies
