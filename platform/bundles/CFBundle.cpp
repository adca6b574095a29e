#include "BundleFolder.h"
#include "ELFObject.h"
#include "LoadedCode.h"
#include "bundles/URLObject.h"
#include "catalogue/Catalogue.h"
#include "corefoundation/Object.h"
#include "corefoundation/UTF8Text.h"

#include <toolbox/CFBundle.h>
#include <toolbox/CFNumber.h>

#include <atomic>
#include <memory>
#include <string>

namespace toolbox::corefoundation {

namespace {

struct BundleState {
    BundleContents contents;
    std::atomic<void*> code = nullptr;  // once set it stays until the end
};

struct BundleObject {
    Object base;
    BundleState* state;
};

BundleState& StateOf(CFBundleRef inBundle) {
    return *reinterpret_cast<BundleObject*>(inBundle)->state;
}

void FinishBundle(Object* inObject) {
    const std::unique_ptr<BundleState> state(reinterpret_cast<BundleObject*>(inObject)->state);
    void* const code = state->code.load(std::memory_order_acquire);
    if (code != nullptr) UnloadObject(code);
}
constexpr TypeInfo kBundleType = {kBundleTypeID, FinishBundle, "CFBundle"};

CFBundleRef NewBundle(CFURLRef inURL) {
    std::string path;
    auto state = std::make_unique<BundleState>();
    if (!GetPOSIXPath(inURL, path) || !ReadBundle(path, state->contents) || !state->contents.information)
        return nullptr;
    auto* bundle = static_cast<BundleObject*>(NewObject(kBundleType, sizeof(BundleObject)));
    if (bundle == nullptr) return nullptr;
    bundle->state = state.release();
    return reinterpret_cast<CFBundleRef>(bundle);
}

// Whether the path still leads to an object, and through no link: what the loader opens is what was found.
bool IsObjectThere(const std::string& inPath) {
    files::FoundItem item;
    return files::FindByPath(inPath.c_str(), item) == noErr && item.status.kind == os::ItemKind::kFile &&
           item.path == inPath && IsWholeELFObject(files::MakeRef(item));
}

// The code, loaded if it was not; null when it cannot be. No lock is held while it is: what is loaded may run
// code that asks for its own bundle.
void* LoadCode(BundleState& ioState) {
    void* code = ioState.code.load(std::memory_order_acquire);
    const std::string& path = ioState.contents.executablePath;
    if (code != nullptr) return code;
    if (path.empty() || !IsObjectThere(path)) return nullptr;
    void* const loaded = LoadObject(path.c_str());
    if (loaded == nullptr) return nullptr;
    if (ioState.code.compare_exchange_strong(code, loaded, std::memory_order_acq_rel)) return loaded;
    UnloadObject(loaded);  // another thread was faster
    return code;
}

void* FindPointer(CFBundleRef inBundle, CFStringRef inName) {
    std::string name;
    if (inName == nullptr || !GetUTF8(inName, name) || name.find('\0') != std::string::npos) return nullptr;
    void* const code = LoadCode(StateOf(inBundle));
    return code == nullptr ? nullptr : FindSymbol(code, name.c_str());
}

UInt32 VersionOf(CFTypeRef inValue) {
    if (inValue == nullptr) return 0;
    if (CFGetTypeID(inValue) == CFNumberGetTypeID()) {
        SInt64 packed = 0;
        const bool isWhole =
            CFNumberGetValue(static_cast<CFNumberRef>(inValue), kCFNumberSInt64Type, &packed);
        return isWhole && packed >= 0 && packed <= UINT32_MAX ? static_cast<UInt32>(packed) : 0;
    }
    std::string text;
    if (CFGetTypeID(inValue) != CFStringGetTypeID() || !GetUTF8(static_cast<CFStringRef>(inValue), text))
        return 0;
    return PackVersion(text);
}

}  // namespace

}  // namespace toolbox::corefoundation

using namespace toolbox::corefoundation;

CFTypeID CFBundleGetTypeID() {
    return kBundleTypeID;
}

CFBundleRef CFBundleCreate(CFAllocatorRef, CFURLRef inURL) {
    if (inURL == nullptr) return nullptr;
    return UnlessMemoryIsShort([&] { return NewBundle(inURL); });
}

CFURLRef CFBundleCopyBundleURL(CFBundleRef inBundle) {
    return UnlessMemoryIsShort(
        [&] { return FileURLOf(StateOf(inBundle).contents.folderPath, true).Release(); });
}

CFURLRef CFBundleCopyExecutableURL(CFBundleRef inBundle) {
    const std::string& path = StateOf(inBundle).contents.executablePath;
    if (path.empty()) return nullptr;
    return UnlessMemoryIsShort([&] { return FileURLOf(path, false).Release(); });
}

CFDictionaryRef CFBundleGetInfoDictionary(CFBundleRef inBundle) {
    return StateOf(inBundle).contents.information.Get();
}

CFTypeRef CFBundleGetValueForInfoDictionaryKey(CFBundleRef inBundle, CFStringRef inKey) {
    return CFDictionaryGetValue(CFBundleGetInfoDictionary(inBundle), inKey);
}

UInt32 CFBundleGetVersionNumber(CFBundleRef inBundle) {
    return UnlessMemoryIsShort(
        [&] { return VersionOf(CFBundleGetValueForInfoDictionaryKey(inBundle, CFSTR("CFBundleVersion"))); });
}

void CFBundleGetPackageInfo(CFBundleRef inBundle, UInt32* outPackageType, UInt32* outCreator) {
    const BundleContents& contents = StateOf(inBundle).contents;
    if (outPackageType != nullptr) *outPackageType = contents.packageType;
    if (outCreator != nullptr) *outCreator = contents.creator;
}

Boolean CFBundleLoadExecutable(CFBundleRef inBundle) {
    return UnlessMemoryIsShort([&]() -> Boolean { return LoadCode(StateOf(inBundle)) != nullptr; });
}

Boolean CFBundleIsExecutableLoaded(CFBundleRef inBundle) {
    return StateOf(inBundle).code.load(std::memory_order_acquire) != nullptr;
}

void* CFBundleGetFunctionPointerForName(CFBundleRef inBundle, CFStringRef inName) {
    return UnlessMemoryIsShort([&] { return FindPointer(inBundle, inName); });
}

void* CFBundleGetDataPointerForName(CFBundleRef inBundle, CFStringRef inName) {
    return UnlessMemoryIsShort([&] { return FindPointer(inBundle, inName); });
}
