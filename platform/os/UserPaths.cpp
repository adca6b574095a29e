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

// So the system's manual lists them.
bool MeansThatNobodyTells(int inError) {
    return inError == ENOENT || inError == ESRCH || inError == EBADF || inError == EPERM;
}

int GetHomeInDatabase(std::string& outPath) {
    outPath.clear();
    int error = ERANGE;
    for (std::vector<char> text(1024); text.size() <= kMaxEntryBytes; text.resize(text.size() * 2)) {
        struct passwd entry = {};
        struct passwd* found = nullptr;
        error = Calls().getpwuid_r(Calls().getuid(), &entry, text.data(), text.size(), &found);
        if (error == ERANGE || error == EINTR) continue;
        if (error == 0 && found != nullptr) outPath = AbsolutePath(found->pw_dir);
        break;
    }
    return MeansThatNobodyTells(error) ? 0 : error;
}

}  // namespace

std::string PathInVariable(const char* inVariable) {
    return AbsolutePath(Calls().getenv(inVariable));
}

int GetHomePath(std::string& outPath) {
    outPath = PathInVariable("HOME");
    return outPath.empty() ? GetHomeInDatabase(outPath) : 0;
}

int GetBaseFolderPath(const char* inVariable, std::string_view inPathInHome, std::string& outPath) {
    outPath = PathInVariable(inVariable);
    if (!outPath.empty()) return 0;
    const int error = GetHomePath(outPath);
    if (error == 0 && !outPath.empty()) outPath.append(1, '/').append(inPathInHome);
    return error;
}

}  // namespace toolbox::os
