#include "LoadedCode.h"

#include "LoadedCode_test_access.h"

#include <dlfcn.h>
#include <link.h>
#include <string_view>

namespace toolbox::corefoundation {

namespace {

// The loader would put something else in the place of these.
bool HasLoaderVariable(std::string_view inPath) {
    for (const std::string_view name : {"$ORIGIN", "${ORIGIN", "$LIB", "${LIB", "$PLATFORM", "${PLATFORM"})
        if (inPath.find(name) != std::string_view::npos) return true;
    return false;
}

void* OpenObject(const char* inPath) {
    return HasLoaderVariable(inPath) ? nullptr : ::dlopen(inPath, RTLD_NOW | RTLD_LOCAL);
}

void CloseObject(void* inObject) {
    ::dlclose(inObject);
}

// The loader looks in the libraries beneath an object as well.
void* FindSymbol(void* inObject, const char* inName) {
    void* const address = ::dlsym(inObject, inName);
    struct link_map* asked = nullptr;
    struct link_map* found = nullptr;
    Dl_info info = {};
    if (address == nullptr || ::dlinfo(inObject, RTLD_DI_LINKMAP, &asked) != 0 ||
        ::dladdr1(address, &info, reinterpret_cast<void**>(&found), RTLD_DL_LINKMAP) == 0)
        return nullptr;
    return asked == found ? address : nullptr;
}

LoadingCalls sCalls = {OpenObject, CloseObject, FindSymbol};

}  // namespace

const LoadingCalls& CallsOfLoading() {
    return sCalls;
}
LoadingCalls& LoadingCallsForTesting() {
    return sCalls;
}

}  // namespace toolbox::corefoundation
