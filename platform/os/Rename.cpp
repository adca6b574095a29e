#include "os/Rename.h"

#include "os/Descriptor.h"
#include "os/ItemStatus.h"
#include "os/SystemCalls.h"

#include <linux/fs.h>

#include <cerrno>
#include <cstring>

namespace toolbox::os {

namespace {

int Rename(int inFolder, const char* inName, int inNewFolder, const char* inNewName, unsigned inFlags) {
    return Calls().renameat2(inFolder, inName, inNewFolder, inNewName, inFlags) == 0 ? 0 : errno;
}

// 0 or an errno; EPERM where the file system has no hard links, or would not make this one.
int RenameByLink(int inFolder, const char* inName, int inNewFolder, const char* inNewName) {
    if (Calls().linkat(inFolder, inName, inNewFolder, inNewName, 0) != 0)
        return errno == EOPNOTSUPP || errno == EMLINK || errno == ENOSYS ? EPERM : errno;
    if (Calls().unlinkat(inFolder, inName, 0) == 0) return 0;
    const int error = errno;
    (void)Calls().unlinkat(inNewFolder, inNewName, 0);
    return error;
}

constexpr mode_t kEmptyFileMode = 0600;
constexpr mode_t kEmptyFolderMode = 0700;

// The name is taken first, by something empty that the rename may replace.
int RenameFolderOverEmpty(int inFolder, const char* inName, int inNewFolder, const char* inNewName) {
    if (Calls().mkdirat(inNewFolder, inNewName, kEmptyFolderMode) != 0) return errno;
    const int error = Rename(inFolder, inName, inNewFolder, inNewName, 0);
    if (error != 0) (void)Calls().unlinkat(inNewFolder, inNewName, AT_REMOVEDIR);
    return error;
}

int RenameFileOverEmpty(int inFolder, const char* inName, int inNewFolder, const char* inNewName) {
    Descriptor empty;
    int error =
        OpenFile(inNewFolder, inNewName, O_WRONLY | O_CREAT | O_EXCL | kItemItself, empty, kEmptyFileMode);
    if (error != 0) return error;
    error = Rename(inFolder, inName, inNewFolder, inNewName, 0);
    if (error == 0) return 0;
    ItemStatus made;
    ItemStatus named;
    if (GetDescriptorStatus(empty.Number(), made) == 0 && made.sizeBytes == 0 &&
        GetStatusAt(inNewFolder, inNewName, named) == 0 && named.identity.IsSameItem(made.identity))
        (void)Calls().unlinkat(inNewFolder, inNewName, 0);
    return error;
}

// As RenameToNew; ENOENT also for a name that the file system cannot have.
int RenameIfNew(int inFolder, const char* inName, int inNewFolder, const char* inNewName) {
    int error = Rename(inFolder, inName, inNewFolder, inNewName, RENAME_NOREPLACE);
    if (error != EINVAL && error != ENOSYS) return error;
    ItemStatus status;
    error = GetStatusAt(inFolder, inName, status);
    if (error != 0) return error;
    if (status.kind == ItemKind::kFolder)
        return RenameFolderOverEmpty(inFolder, inName, inNewFolder, inNewName);
    error = RenameByLink(inFolder, inName, inNewFolder, inNewName);
    return error == EPERM ? RenameFileOverEmpty(inFolder, inName, inNewFolder, inNewName) : error;
}

// How often it is tried while the item is there all the same: others may move it to and fro.
constexpr int kTries = 3;

}  // namespace

int RenameToNew(int inFolder, const char* inName, int inNewFolder, const char* inNewName) {
    for (int i = 0; i < kTries; ++i) {
        const int error = RenameIfNew(inFolder, inName, inNewFolder, inNewName);
        ItemStatus item;
        if (error != ENOENT || std::strchr(inNewName, '/') != nullptr) return error;
        if (GetStatusAt(inFolder, inName, item) != 0) return error;
        if (ErrorOfNewName(inNewFolder, error) == ENOENT) return ENOENT;
    }
    return EINVAL;
}

int RenameToOtherCase(int inFolder, const char* inName, const char* inNewName) {
    return Rename(inFolder, inName, inFolder, inNewName, 0);
}

// A folder that was removed takes no names.
int ErrorOfNewName(int inFolder, int inError) {
    ItemStatus folder;
    if (inError != ENOENT || GetDescriptorStatus(inFolder, folder) != 0) return inError;
    return folder.linkCount == 0 ? ENOENT : EINVAL;
}

int ExchangeNames(int inFolder1, const char* inName1, int inFolder2, const char* inName2) {
    const int error = Rename(inFolder1, inName1, inFolder2, inName2, RENAME_EXCHANGE);
    return error == EINVAL || error == ENOSYS ? ENOTSUP : error;
}

}  // namespace toolbox::os
