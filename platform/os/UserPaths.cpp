#include "os/UserPaths.h"

#include "DatabaseQuestion.h"
#include "os/SystemCalls.h"

#include <pwd.h>

#include <cerrno>

namespace toolbox::os {

namespace {

std::string AbsolutePath(const char* inPath) {
    if (inPath == nullptr || inPath[0] != '/') return {};
    std::string path = inPath;
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

int GetHomeInDatabase(std::string& outPath) {
    outPath.clear();
    const int error = AskDatabase<struct passwd>(
        [](struct passwd& outEntry, char* outText, std::size_t inCapacity, struct passwd*& outFound) {
            return Calls().getpwuid_r(Calls().getuid(), &outEntry, outText, inCapacity, &outFound);
        },
        [&outPath](const struct passwd& inEntry) { outPath = AbsolutePath(inEntry.pw_dir); });
    return error == ENOENT ? 0 : error;
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
