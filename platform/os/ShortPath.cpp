#include "os/ShortPath.h"

#include "os/SystemCalls.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <string_view>

namespace toolbox::os {

int ShortPath::Set(int inFolder, const char* inPath) {
    mHeld = Descriptor();
    mFolder = inFolder;
    mPath = inPath;
    while (std::strlen(mPath) >= PATH_MAX) {
        const int error = GoOn();
        if (error != 0) return error;
    }
    return 0;
}

// As far as one call goes. What is left never begins with a slash, which would lead to the root folder.
int ShortPath::GoOn() {
    char piece[PATH_MAX];
    const std::size_t slash = std::string_view(mPath, PATH_MAX - 1).rfind('/');
    if (slash == std::string_view::npos) return ENAMETOOLONG;
    *std::copy_n(mPath, slash + 1, piece) = '\0';
    const int folder = Calls().openat(Folder(), piece, O_PATH | O_DIRECTORY | O_CLOEXEC, 0);
    if (folder < 0) return errno;
    mHeld = Descriptor(folder);
    mPath += slash + 1;
    mPath += std::strspn(mPath, "/");
    if (*mPath == '\0') mPath = ".";
    return 0;
}

}  // namespace toolbox::os
