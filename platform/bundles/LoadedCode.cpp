#include "LoadedCode.h"

#include "os/SystemCalls.h"

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

}  // namespace

void* LoadObject(const char* inPath) {
    return HasLoaderVariable(inPath) ? nullptr : os::Calls().dlopen(inPath, RTLD_NOW | RTLD_LOCAL);
}

void UnloadObject(void* inObject) {
    (void)os::Calls().dlclose(inObject);
}

// The loader looks in the libraries beneath an object as well.
void* FindSymbol(void* inObject, const char* inName) {
    void* const address = os::Calls().dlsym(inObject, inName);
    struct link_map* asked = nullptr;
    struct link_map* found = nullptr;
    Dl_info info = {};
    if (address == nullptr || os::Calls().dlinfo(inObject, RTLD_DI_LINKMAP, &asked) != 0 ||
        os::Calls().dladdr1(address, &info, reinterpret_cast<void**>(&found), RTLD_DL_LINKMAP) == 0)
        return nullptr;
    return asked == found ? address : nullptr;
}

}  // namespace toolbox::corefoundation
