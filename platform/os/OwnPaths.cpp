#include "os/OwnPaths.h"

#include "os/CanonicalPath.h"
#include "os/SystemCalls.h"

#include <fcntl.h>
#include <limits.h>
#include <link.h>

#include <cerrno>

namespace toolbox::os {

namespace {

constexpr const char* kExecutable = "/proc/self/exe";

}  // namespace

int GetExecutablePath(std::string& outPath) {
    char path[PATH_MAX];
    const ssize_t length = Calls().readlinkat(AT_FDCWD, kExecutable, path, sizeof path);
    if (length < 0) return errno;
    if (length == sizeof path) return ENAMETOOLONG;  // it may be longer
    outPath.assign(path, static_cast<std::size_t>(length));
    return outPath.empty() ? ENOENT : 0;
}

std::string ResourceFileBeside(const std::string& inExecutablePath) {
    return inExecutablePath + ".rsrc";
}

int GetLibraryPath(std::string& outPath) {
    Dl_info info = {};
    struct link_map* library = nullptr;
    if (Calls().dladdr1(reinterpret_cast<const void*>(&GetLibraryPath), &info,
                        reinterpret_cast<void**>(&library), RTLD_DL_LINKMAP) == 0 ||
        library == nullptr)
        return ENOENT;
    // The program itself has no name there.
    const char* const name = library->l_name[0] == 0 ? kExecutable : library->l_name;
    return GetCanonicalPath(name, outPath);
}

}  // namespace toolbox::os
