// What the library does when it is loaded and when it is unloaded. This program has functions of the
// toolbox's names, which the library finds before the toolbox's own; they tell what is called and hand it on.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <toolbox/CFString.h>
#include <toolbox/TextEncoding.h>

#include <cstdio>
#include <cstdlib>

namespace {

void* sToolbox = nullptr;
// What the toolbox does on its own account is not the library's.
int sDepth = 0;

template <typename Function>
Function* TheToolboxs(const char* inName) {
    return reinterpret_cast<Function*>(dlsym(sToolbox, inName));
}

template <typename Function, typename... Arguments>
auto HandOn(Function*, const char* inName, Arguments... inArguments) {
    ++sDepth;
    const auto result = TheToolboxs<Function>(inName)(inArguments...);
    --sDepth;
    return result;
}

void Tell(const char* inWhat, CFTypeRef inString) {
    if (sDepth != 0) return;
    const auto length = TheToolboxs<decltype(CFStringGetLength)>("CFStringGetLength");
    std::fprintf(stderr, "%s %ld, ", inWhat, static_cast<long>(length(static_cast<CFStringRef>(inString))));
}

}  // namespace

CFTypeRef CFRetain(CFTypeRef inObject) {
    Tell("retained", inObject);
    return HandOn(CFRetain, "CFRetain", inObject);
}

void CFRelease(CFTypeRef inObject) {
    Tell("released", inObject);
    ++sDepth;
    TheToolboxs<decltype(CFRelease)>("CFRelease")(inObject);
    --sDepth;
}

CFStringRef CFStringCreateWithPascalString(CFAllocatorRef inAllocator, ConstStr255Param inText,
                                           CFStringEncoding inEncoding) {
    const CFStringRef string = HandOn(CFStringCreateWithPascalString, "CFStringCreateWithPascalString",
                                      inAllocator, inText, inEncoding);
    Tell("made", string);
    return string;
}

TextEncoding GetApplicationTextEncoding() {
    if (sDepth == 0) std::fputs("encoding, ", stderr);
    return HandOn(GetApplicationTextEncoding, "GetApplicationTextEncoding");
}

namespace {

[[noreturn]] void LoadAndUnload() {
    sToolbox = dlopen(TOOLBOX_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    std::fputs("load: ", stderr);
    void* const library = dlopen(AAC2WAV_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    std::fputs(library != nullptr ? "unload: " : dlerror(), stderr);
    if (library == nullptr || dlclose(library) != 0) std::_Exit(1);
    std::exit(0);
}

TEST(LoadOrderTest, EmptyStringThenCannotDisplayAndBackwards) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(LoadAndUnload(), testing::ExitedWithCode(0),
                "load: retained 0, encoding, made 16, unload: released 16, released 0, $");
}

}  // namespace
