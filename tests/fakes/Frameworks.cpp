#include "Frameworks.h"

#include "Calls.h"
#include "Catalogue.h"
#include "CountedString.h"
#include "Text.h"

#include <toolbox/CFURL.h>
#include <toolbox/Folders.h>
#include <toolbox/LaunchServices.h>
#include <toolbox/MacErrors.h>

#include <algorithm>
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

void PutBundle(const std::string& inPath, const ScriptedFramework& inBundle) {
    TheState().frameworks[inPath] = inBundle;
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
    const OSErr answer = AnswerOf("FSFindFolder");
    if (answer != noErr) return answer;
    const UInt32 known = WellKnownFolder(inWhere, inType);
    if (known != 0) *outFolder = RefOf(known);
    if (known != 0) return noErr;
    std::memset(outFolder, 0, sizeof *outFolder);
    std::memcpy(outFolder->hidden, code.c_str(), code.size() + 1);
    return noErr;
}

CFURLRef CFURLCreateFromFSRef(CFAllocatorRef inAllocator, const FSRef* inRef) {
    CheckAllocator(inAllocator);
    const bool isItem = IDOf(*inRef) != 0;
    if (isItem && !HasItem(IDOf(*inRef))) return nullptr;
    const std::string path =
        isItem ? PathOfItem(IDOf(*inRef)) : std::string(reinterpret_cast<const char*>(inRef->hidden));
    return LogAndFail("CFURLCreateFromFSRef(" + path + ")") ? nullptr : MakeURL(path);
}

CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef inAllocator, CFURLRef inURL,
                                               CFStringRef inComponent, Boolean inIsDirectory) {
    CheckAllocator(inAllocator);
    const std::string name = TextOf(inComponent);
    const bool fails = LogAndFail("CFURLCreateCopyAppendingPathComponent(" + name + ", " +
                                  std::to_string(inIsDirectory) + ")");
    const URL* const url = FindURL(inURL, "CFURLCreateCopyAppendingPathComponent");
    const std::string separator = url != nullptr && url->path == "/" ? "" : "/";
    return fails || url == nullptr ? nullptr : MakeURL(url->path + separator + name);
}

// "file://" and a path in which "%" and two digits are a byte; anything else is a URL that leads nowhere.
CFURLRef CFURLCreateWithBytes(CFAllocatorRef inAllocator, const UInt8* inBytes, CFIndex inCount,
                              CFStringEncoding inEncoding, CFURLRef inBase) {
    CheckAllocator(inAllocator);
    const std::string text(inBytes, inBytes + inCount);
    if (inBase != nullptr) ReportMisuse("a URL with a base");
    if (LogAndFail("CFURLCreateWithBytes(" + text + ", " + std::to_string(inEncoding) + ")") ||
        !Decode(text, inEncoding))
        return nullptr;
    constexpr std::size_t kSchemeLength = 7;
    if (text.rfind("file://", 0) != 0) return MakeURL(text);
    std::string path;
    for (std::size_t i = kSchemeLength; i < text.size(); ++i) {
        if (text[i] == '%') {
            path += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else {
            path += text[i];
        }
    }
    return MakeURL(path);
}

// The path ends where the first NUL is, or with the bytes.
CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef inAllocator, const UInt8* inPath,
                                                 CFIndex inByteCount, Boolean inIsDirectory) {
    CheckAllocator(inAllocator);
    const std::string bytes(inPath, inPath + inByteCount);
    const std::string path = bytes.substr(0, bytes.find('\0'));
    return LogAndFail("CFURLCreateFromFileSystemRepresentation(" + path + ", " + std::to_string(inByteCount) +
                      ", " + std::to_string(inIsDirectory) + ")")
               ? nullptr
               : MakeURL(path);
}

Boolean CFURLGetFSRef(CFURLRef inURL, FSRef* outRef) {
    const URL* const url = FindURL(inURL, "CFURLGetFSRef");
    if (LogAndFail("CFURLGetFSRef(" + (url != nullptr ? url->path : "") + ")") || url == nullptr)
        return false;
    return MakeRefOfPath(url->path, outRef, nullptr) == noErr;
}

// Of what is no path there is none.
CFURLRef CFURLCreateCopyDeletingLastPathComponent(CFAllocatorRef inAllocator, CFURLRef inURL) {
    CheckAllocator(inAllocator);
    const URL* const url = FindURL(inURL, "CFURLCreateCopyDeletingLastPathComponent");
    if (LogAndFail("CFURLCreateCopyDeletingLastPathComponent()") || url == nullptr || url->path[0] != '/')
        return nullptr;
    const std::size_t slash = url->path.rfind('/');
    return MakeURL(url->path.substr(0, slash == 0 ? 1 : slash));
}

CFStringRef CFURLCopyLastPathComponent(CFURLRef inURL) {
    const URL* const url = FindURL(inURL, "CFURLCopyLastPathComponent");
    if (LogAndFail("CFURLCopyLastPathComponent()") || url == nullptr) return nullptr;
    return MakeString(Decode(url->path.substr(url->path.rfind('/') + 1), kCFStringEncodingUTF8));
}

// Colons stand between the names in one style, and nothing is known of a third.
CFStringRef CFURLCopyFileSystemPath(CFURLRef inURL, CFURLPathStyle inStyle) {
    const URL* const url = FindURL(inURL, "CFURLCopyFileSystemPath");
    if (LogAndFail(CallText("CFURLCopyFileSystemPath", inStyle)) || url == nullptr) return nullptr;
    if (inStyle != kCFURLPOSIXPathStyle && inStyle != kCFURLHFSPathStyle) return nullptr;
    std::string path = url->path;
    if (inStyle == kCFURLHFSPathStyle) std::replace(path.begin(), path.end(), '/', ':');
    return MakeString(Decode(path, kCFStringEncodingUTF8));
}

OSStatus LSCopyDisplayNameForURL(CFURLRef inURL, CFStringRef* outName) {
    const URL* const url = FindURL(inURL, "LSCopyDisplayNameForURL");
    const OSErr answer = LogAndAnswer("LSCopyDisplayNameForURL(" + (url != nullptr ? url->path : "") + ")");
    if (answer != noErr) return answer;
    *outName =
        MakeString(Decode("shown " + url->path.substr(url->path.rfind('/') + 1), kCFStringEncodingUTF8));
    return noErr;
}

OSStatus LSCopyDisplayNameForRef(const FSRef* inItem, CFStringRef* outName) {
    const OSErr answer = LogAndAnswer(CallText("LSCopyDisplayNameForRef", IDOf(*inItem)));
    if (answer == noErr)
        *outName = MakeString(Decode("shown " + ItemOf(IDOf(*inItem)).name, kCFStringEncodingUTF8));
    return answer;
}

OSStatus LSCopyItemInfoForRef(const FSRef* inItem, LSRequestedInfo inWhichInfo, LSItemInfoRecord* outInfo) {
    const OSErr answer = LogAndAnswer(CallText("LSCopyItemInfoForRef", IDOf(*inItem), inWhichInfo));
    if (answer == noErr) *outInfo = {ItemOf(IDOf(*inItem)).shownFlags, 0, 0, nullptr, nullptr, 0};
    return answer;
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

void CFBundleGetPackageInfo(CFBundleRef inBundle, UInt32* outPackageType, UInt32* outCreator) {
    Log("CFBundleGetPackageInfo()");
    const Bundle* const bundle = FindBundle(inBundle, "CFBundleGetPackageInfo");
    if (bundle == nullptr) return;
    *outPackageType = bundle->framework.packageType;
    *outCreator = bundle->framework.creator;
}

UInt32 CFBundleGetVersionNumber(CFBundleRef inBundle) {
    Log("CFBundleGetVersionNumber()");
    const Bundle* const bundle = FindBundle(inBundle, "CFBundleGetVersionNumber");
    return bundle != nullptr ? bundle->framework.version : 0;
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
