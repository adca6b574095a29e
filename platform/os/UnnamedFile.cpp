#include "os/UnnamedFile.h"

#include "os/Rename.h"
#include "os/Replace.h"
#include "os/SystemCalls.h"

#include <fcntl.h>

#include <cerrno>

namespace toolbox::os {

namespace {

constexpr mode_t kOwnersAlone = 0600;

}  // namespace

UnnamedFile::~UnnamedFile() {
    if (!mTemporaryName.empty()) (void)Calls().unlinkat(mFolder, mTemporaryName.c_str(), 0);
}

int UnnamedFile::Make(int inFolder) {
    mFolder = inFolder;
    if (OpenFile(inFolder, ".", O_TMPFILE | O_RDWR, mFile, kOwnersAlone) == 0) return 0;
    std::string name;
    const int error = MakeTemporaryFile(inFolder, kOwnersAlone, name, mFile);
    if (error == 0) mTemporaryName = std::move(name);
    return error;
}

int UnnamedFile::GiveName(const std::string& inName) {
    if (mTemporaryName.empty()) {
        const std::string path = "/proc/self/fd/" + std::to_string(mFile.Number());
        return Calls().linkat(AT_FDCWD, path.c_str(), mFolder, inName.c_str(), AT_SYMLINK_FOLLOW) == 0
                   ? 0
                   : errno;
    }
    const int error = RenameToNew(mFolder, mTemporaryName.c_str(), mFolder, inName.c_str());
    if (error == 0) mTemporaryName.clear();
    return error;
}

}  // namespace toolbox::os
