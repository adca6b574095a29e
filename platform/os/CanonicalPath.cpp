#include "os/CanonicalPath.h"

#include "os/SystemCalls.h"

#include <cerrno>
#include <climits>
#include <memory>

namespace toolbox::os {

namespace {

struct FreeDeleter {
    void operator()(char* inText) const { Calls().free(inText); }
};

}  // namespace

int GetCanonicalPath(const char* inPath, std::string& outPath) {
    const std::unique_ptr<char, FreeDeleter> path(Calls().realpath(inPath, nullptr));
    if (path == nullptr) return errno;
    outPath = path.get();
    return outPath.size() < PATH_MAX ? 0 : ENAMETOOLONG;  // that of the current folder may be longer
}

}  // namespace toolbox::os
