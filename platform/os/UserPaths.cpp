#include "os/UserPaths.h"

#include "os/SystemCalls.h"

#include <pwd.h>

#include <cerrno>
#include <vector>

namespace toolbox::os {

namespace {

constexpr std::size_t kMaxEntryBytes = 1024 * 1024;

std::string AbsolutePath(const char* inPath) {
    if (inPath == nullptr || inPath[0] != '/') return {};
    std::string path = inPath;
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

std::string HomeInDatabase() {
    for (std::vector<char> text(1024); text.size() <= kMaxEntryBytes; text.resize(text.size() * 2)) {
        struct passwd entry = {};
        struct passwd* found = nullptr;
        const int error = Calls().getpwuid_r(Calls().getuid(), &entry, text.data(), text.size(), &found);
        if (error == ERANGE) continue;
        return error == 0 && found != nullptr ? AbsolutePath(found->pw_dir) : std::string();
    }
    return {};
}

}  // namespace

std::string PathInVariable(const char* inVariable) {
    return AbsolutePath(Calls().getenv(inVariable));
}

std::string HomePath() {
    std::string path = PathInVariable("HOME");
    return path.empty() ? HomeInDatabase() : path;
}

std::string BaseFolderPath(const char* inVariable, std::string_view inPathInHome) {
    std::string path = PathInVariable(inVariable);
    if (!path.empty()) return path;
    path = HomePath();
    return path.empty() ? path : path.append(1, '/').append(inPathInHome);
}

}  // namespace toolbox::os
