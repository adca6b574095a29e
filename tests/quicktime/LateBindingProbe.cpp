// Binds late, and tells what came of it: one "name value" on each line. What it finds depends on the
// frameworks beside the toolbox that it runs with, so the test runs it in trees of its own.
//
//   probe                what is found, and what every wrapper answers
//   probe retry FROM TO  before and after the framework is moved from FROM to TO, and after it is moved back
//
// Built with the toolbox inside, it also counts the Core Foundation objects that are alive.
#include <files/UBundle.h>
#include <files/UCarbon.h>
#include <quicktime/StDisableQTInteraction.h>
#include <quicktime/UQTAccess.h>
#include <quicktime/UQTInteraction.h>
#include <quicktime/UQTProperties.h>
#include <quicktime/WeakQTSymbols.h>
#include <toolbox/Folders.h>

#include <cstdio>
#include <filesystem>
#include <string>

#ifdef TOOLBOX_INSIDE
#include <corefoundation/CF_test_access.h>
#endif

namespace {

long LiveObjects() {
#ifdef TOOLBOX_INSIDE
    return static_cast<long>(toolbox::corefoundation::LiveObjectsForTesting());
#else
    return 0;
#endif
}

void Tell(const char* inName, long inValue) {
    std::printf("%s %ld\n", inName, inValue);
}

void TellFound() {
    std::printf("found %d%d%d%d%d%d%d%d%d\n", _QTBeginUserInteractionSuppression != nullptr,
                _QTEndUserInteractionSuppression != nullptr, _QTIsUserInteractionAllowed != nullptr,
                _QTGetMoviePropertyInfo != nullptr, _QTGetMovieProperty != nullptr,
                _QTSetMovieProperty != nullptr, _QTGetProcessPropertyInfo != nullptr,
                _QTGetProcessProperty != nullptr, _QTSetProcessProperty != nullptr);
}

using Loader = OSStatus (*)(CFStringRef, CFBundleRef*, bool);

// The status, and 1 when failing left a bundle or anything else alive.
void TellLoading(const char* inName, Loader inLoader, CFStringRef inFramework, bool inIsPrivate) {
    const long before = LiveObjects();
    auto bundle = reinterpret_cast<CFBundleRef>(&inLoader);
    const OSStatus status = inLoader(inFramework, &bundle, inIsPrivate);
    Tell(inName, status);
    const bool isRight =
        (status == 0) == (bundle != nullptr) && (bundle == nullptr || CFGetRetainCount(bundle) == 1);
    if (bundle != nullptr) CFRelease(bundle);
    Tell("  bundle-as-told", isRight);
    Tell("  objects-left", LiveObjects() - before);
}

void TellLoaders() {
    FSRef folder;
    Tell("folder", FSFindFolder(kOnSystemDisk, kFrameworksFolderType, kCreateFolder, &folder));
    TellLoading("bundle", UBundle::LoadFrameworkBundle, CFSTR("QuickTime.framework"), false);
    TellLoading("carbon", UCarbon::LoadFrameworkBundle, CFSTR("QuickTime.framework"), false);
    TellLoading("no-such-name", UBundle::LoadFrameworkBundle, CFSTR("No such.framework"), false);
    TellLoading("private", UBundle::LoadFrameworkBundle, CFSTR("QuickTime.framework"), true);
}

void TellBinding() {
    Tell("inited-at-start", qtInited);
    const long before = LiveObjects();
    Tell("load", LoadWeakQTSymbols());
    Tell("inited", qtInited);
    TellFound();
    const long after = LiveObjects();
    Tell("again", LoadWeakQTSymbols());
    Tell("more-objects", LiveObjects() - after);
    Tell("keeps-nothing-on-failure", qtInited || after == before);
}

void TellWrappers() {
    const long before = LiveObjects();
    Tell("begin", UQTInteraction::BeginSuppress());
    UQTInteraction::EndSuppress(0);
    Tell("allowed", UQTInteraction::IsInteractionAllowed());
    { const StDisableQTInteraction guard; }

    OSType type = 1;
    ByteCount size = 2;
    UInt32 flags = 3;
    UInt32 value = 4;
    Tell("movie-info", UQTProperties::GetMoviePropertyInfo(nullptr, 0, 0, &type, &size, &flags));
    std::printf("  outputs %u %lu %u\n", type, size, flags);
    size = 2;
    Tell("get-movie", UQTProperties::GetMovieProperty(nullptr, 0, 0, sizeof value, &value, &size));
    std::printf("  outputs %u %lu\n", value, size);
    Tell("set-movie", UQTProperties::SetMovieProperty(nullptr, 0, 0, sizeof value, &value));
    type = 1, size = 2, flags = 3, value = 4;
    Tell("process-info", UQTProperties::GetProcessPropertyInfo(0, 0, &type, &size, &flags));
    std::printf("  outputs %u %lu %u\n", type, size, flags);
    size = 2;
    Tell("get-process", UQTProperties::GetProcessProperty(0, 0, sizeof value, &value, &size));
    std::printf("  outputs %u %lu\n", value, size);
    Tell("set-process", UQTProperties::SetProcessProperty(0, 0, sizeof value, &value));

    unsigned long architecture = 5;
    Tell("architecture", UQTAccess::GetSoundManagerArchitecture(architecture));
    Tell("  is", static_cast<long>(architecture));
    Tell("objects-left-by-wrappers", LiveObjects() - before);
}

void TellRetry(const std::filesystem::path& inFrom, const std::filesystem::path& inTo) {
    Tell("load", LoadWeakQTSymbols());
    Tell("begin", UQTInteraction::BeginSuppress());
    Tell("inited", qtInited);
    std::filesystem::rename(inFrom, inTo);
    Tell("begin", UQTInteraction::BeginSuppress());
    Tell("inited", qtInited);
    TellFound();
    std::filesystem::rename(inTo, inFrom);
    const long before = LiveObjects();
    Tell("load", LoadWeakQTSymbols());
    Tell("begin", UQTInteraction::BeginSuppress());
    Tell("more-objects", LiveObjects() - before);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 4 && std::string(argv[1]) == "retry") {
        TellRetry(argv[2], argv[3]);
    } else if (argc == 1) {
        TellBinding();
        TellWrappers();
        TellLoaders();
    } else {
        return 64;
    }
    return 0;
}
