#include "os/Folders.h"

#include "os/Descriptor.h"
#include "os/SystemCalls.h"

#include <cerrno>
#include <string_view>

namespace toolbox::os {

namespace {

// Another program may make it at the same time.
int MakeFolder(const std::string& inPath, mode_t inMode) {
    return Calls().mkdirat(AT_FDCWD, inPath.c_str(), inMode) == 0 || errno == EEXIST ? 0 : errno;
}

}  // namespace

FolderReader::~FolderReader() {
    if (mFolder != nullptr) Calls().closedir(mFolder);
}

int FolderReader::Open(int inFolder, const char* inPath) {
    Descriptor folder;
    const int error = OpenFile(inFolder, inPath, O_RDONLY | O_DIRECTORY | O_NONBLOCK, folder);
    if (error != 0) return error;
    mFolder = Calls().fdopendir(folder.Number());
    if (mFolder == nullptr) return errno;
    folder.Release();
    return 0;
}

int FolderReader::Next(const struct dirent*& outEntry) {
    for (;;) {
        errno = 0;
        outEntry = Calls().readdir(mFolder);
        if (outEntry == nullptr) return errno;
        const std::string_view name = outEntry->d_name;
        if (name != "." && name != "..") return 0;
    }
}

int MakeFolders(const std::string& inPath, mode_t inMode) {
    const int error = MakeFolder(inPath, inMode);
    const std::size_t slash = inPath.rfind('/');
    if (error != ENOENT || slash == 0 || slash == std::string::npos) return error;
    const int parentError = MakeFolders(inPath.substr(0, slash), inMode);
    return parentError != 0 ? parentError : MakeFolder(inPath, inMode);
}

}  // namespace toolbox::os
