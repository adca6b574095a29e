#include "Frameworks.h"

#include "Calls.h"
#include "Text.h"

#include <toolbox/CFURL.h>
#include <toolbox/Folders.h>
#include <toolbox/MacErrors.h>

#include <cstring>
#include <set>

namespace fakes {

namespace {

struct URL {
    std::string path;
};

struct Bundle {
    ScriptedFramework framework;
    bool isLoaded = false;
};

struct State {
    std::map<std::string, ScriptedFramework> frameworks;  // by path
    OSErr errorOfFolders = fnfErr;
    std::set<const void*> urls;
    std::set<const void*> bundles;
};

// Made on first use and never destroyed: what is released at the end of the program comes here too.
State& TheState() {
    static State& sState = *new State;
    return sState;
}

constexpr const char* kPublicFolder = "fram";
constexpr const char* kPrivateFolder = "pfrm";

std::string PathOf(const std::string& inName, bool inIsPrivate) {
    return std::string(inIsPrivate ? kPrivateFolder : kPublicFolder).append("/").append(inName);
}

std::string CodeText(OSType inCode) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8)
        text += static_cast<char>(inCode >> shift);
    return text;
}

CFURLRef MakeURL(const std::string& inPath) {
    auto* const url = new URL{inPath};
    TheState().urls.insert(url);
    return reinterpret_cast<CFURLRef>(url);
}

const URL* FindURL(CFURLRef inURL, const char* inCaller) {
    if (TheState().urls.count(inURL) != 0) return reinterpret_cast<const URL*>(inURL);
    ReportMisuse(std::string(inCaller).append(" of a URL that is not live"));
    return nullptr;
}

Bundle* FindBundle(CFBundleRef inBundle, const char* inCaller) {
    if (TheState().bundles.count(inBundle) != 0) return reinterpret_cast<Bundle*>(inBundle);
    ReportMisuse(std::string(inCaller).append(" of a bundle that is not live"));
    return nullptr;
}

void CheckAllocator(CFAllocatorRef inAllocator) {
    if (inAllocator != kCFAllocatorSystemDefault) ReportMisuse("an allocator that does not exist");
}

}  // namespace

void PutFramework(const std::string& inName, const ScriptedFramework& inFramework, bool inIsPrivate) {
    TheState().frameworks[PathOf(inName, inIsPrivate)] = inFramework;
}

void RemoveFramework(const std::string& inName, bool inIsPrivate) {
    TheState().frameworks.erase(PathOf(inName, inIsPrivate));
}

void ForgetFrameworks() {
    TheState().frameworks.clear();
    TheState().errorOfFolders = fnfErr;
}

void SetErrorOfFolders(OSErr inError) {
    TheState().errorOfFolders = inError;
}

int LiveURLs() {
    return static_cast<int>(TheState().urls.size());
}

int LiveBundles() {
    return static_cast<int>(TheState().bundles.size());
}

void ForgetLiveBundles() {
    for (const void* const bundle : TheState().bundles)
        delete static_cast<const Bundle*>(bundle);
    TheState().bundles.clear();
}

bool ReleaseFrameworkObject(CFTypeRef inObject) {
    State& state = TheState();
    if (state.urls.erase(inObject) != 0) {
        Log("CFRelease(" + static_cast<const URL*>(inObject)->path + ")");
        delete static_cast<const URL*>(inObject);
        return true;
    }
    if (state.bundles.erase(inObject) != 0) {
        Log("CFRelease(bundle)");
        delete static_cast<const Bundle*>(inObject);
        return true;
    }
    return false;
}

}  // namespace fakes

using namespace fakes;

OSErr FSFindFolder(SInt16 inWhere, OSType inType, Boolean inCreateFolder, FSRef* outFolder) {
    const std::string code = CodeText(inType);
    if (LogAndFail("FSFindFolder(" + std::to_string(inWhere) + ", " + code + ", " +
                   std::to_string(inCreateFolder) + ")"))
        return TheState().errorOfFolders;
    std::memset(outFolder, 0, sizeof *outFolder);
    std::memcpy(outFolder->hidden, code.c_str(), code.size() + 1);
    return noErr;
}

CFURLRef CFURLCreateFromFSRef(CFAllocatorRef inAllocator, const FSRef* inRef) {
    CheckAllocator(inAllocator);
    const std::string path(reinterpret_cast<const char*>(inRef->hidden));
    return LogAndFail("CFURLCreateFromFSRef(" + path + ")") ? nullptr : MakeURL(path);
}

CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef inAllocator, CFURLRef inURL,
                                               CFStringRef inComponent, Boolean inIsDirectory) {
    CheckAllocator(inAllocator);
    const std::string name = TextOf(inComponent);
    const bool fails = LogAndFail("CFURLCreateCopyAppendingPathComponent(" + name + ", " +
                                  std::to_string(inIsDirectory) + ")");
    const URL* const url = FindURL(inURL, "CFURLCreateCopyAppendingPathComponent");
    return fails || url == nullptr ? nullptr : MakeURL(url->path + "/" + name);
}

CFBundleRef CFBundleCreate(CFAllocatorRef inAllocator, CFURLRef inURL) {
    CheckAllocator(inAllocator);
    const URL* const url = FindURL(inURL, "CFBundleCreate");
    if (LogAndFail("CFBundleCreate(" + (url != nullptr ? url->path : "") + ")") || url == nullptr)
        return nullptr;
    const auto found = TheState().frameworks.find(url->path);
    if (found == TheState().frameworks.end()) return nullptr;
    auto* const bundle = new Bundle{found->second};
    TheState().bundles.insert(bundle);
    return reinterpret_cast<CFBundleRef>(bundle);
}

Boolean CFBundleLoadExecutable(CFBundleRef inBundle) {
    const bool fails = LogAndFail("CFBundleLoadExecutable()");
    Bundle* const bundle = FindBundle(inBundle, "CFBundleLoadExecutable");
    if (fails || bundle == nullptr) return false;
    bundle->isLoaded = bundle->framework.loads;
    return bundle->isLoaded;
}

void* CFBundleGetFunctionPointerForName(CFBundleRef inBundle, CFStringRef inName) {
    const std::string name = TextOf(inName);
    Log("CFBundleGetFunctionPointerForName(" + name + ")");
    const Bundle* const bundle = FindBundle(inBundle, "CFBundleGetFunctionPointerForName");
    if (bundle == nullptr) return nullptr;
    if (!bundle->isLoaded) ReportMisuse("a function of a bundle that is not loaded");
    const auto found = bundle->framework.functions.find(name);
    return found != bundle->framework.functions.end() ? found->second : nullptr;
}
