#include "Packages.h"
#include "ShownNames.h"
#include "bundles/URLObject.h"
#include "corefoundation/UTF8Text.h"

#include <toolbox/LaunchServices.h>

#include <new>

namespace toolbox::launch {

namespace {

using corefoundation::Owned;
using os::ItemKind;

constexpr OSType kApplicationType = 0x4150504C;  // 'APPL'

OSStatus CopyShownName(const FSRef& inItem, CFStringRef* outName) {
    ItemFacts facts;
    const OSStatus status = GetFacts(inItem, facts);
    if (status != noErr) return status;
    Owned<CFStringRef> name = ShownName(facts);
    if (!name) return memFullErr;
    *outName = name.Release();
    return noErr;
}

// Of an item that is not there: what it would be called.
OSStatus CopyNameOfURL(CFURLRef inURL, CFStringRef* outName) {
    const Owned<CFStringRef> component(CFURLCopyLastPathComponent(inURL));
    if (!component || CFStringGetLength(component.Get()) == 0) return fnfErr;
    std::u16string name;
    for (CFIndex i = 0; i < CFStringGetLength(component.Get()); ++i) {
        const UniChar unit = CFStringGetCharacterAtIndex(component.Get(), i);
        name += static_cast<char16_t>(unit == ':' ? '/' : unit);
    }
    Owned<CFStringRef> readable = ReadableName(name);
    if (!readable) return memFullErr;
    *outName = readable.Release();
    return noErr;
}

// The item itself, a link too.
bool FindOfURL(CFURLRef inURL, FSRef& outItem) {
    std::string path;
    if (!corefoundation::GetPOSIXPath(inURL, path)) return false;
    while (path.size() > 1 && path.ends_with('/'))
        path.pop_back();
    return FSPathMakeRefWithOptions(reinterpret_cast<const UInt8*>(path.c_str()),
                                    kFSPathMakeRefDoNotFollowLeafSymlink, &outItem, nullptr) == noErr;
}

LSItemInfoFlags BasicFlags(const ItemFacts& inFacts, bool inIsPackage) {
    const UInt16 finderFlags = inFacts.finder.finderFlags;
    const ItemKind kind = inFacts.item.status.kind;
    LSItemInfoFlags flags = 0;
    if (kind != ItemKind::kFolder && kind != ItemKind::kLink) flags |= kLSItemInfoIsPlainFile;
    if (kind == ItemKind::kFolder) flags |= kLSItemInfoIsContainer;
    if (kind == ItemKind::kLink) flags |= kLSItemInfoIsSymlink | kLSItemInfoIsAliasFile;
    if (kind == ItemKind::kFile && (finderFlags & kIsAlias) != 0) flags |= kLSItemInfoIsAliasFile;
    if (inIsPackage) flags |= kLSItemInfoIsPackage;
    if (inFacts.IsVolume()) flags |= kLSItemInfoIsVolume;
    if ((finderFlags & kIsInvisible) != 0 || inFacts.name.starts_with(u'.')) flags |= kLSItemInfoIsInvisible;
    return flags;
}

OSStatus CopyItemInfo(const FSRef& inItem, LSRequestedInfo inWhich, LSItemInfoRecord& outInfo) {
    ItemFacts facts;
    const OSStatus status = GetFacts(inItem, facts);
    if (status != noErr) return status;
    LSItemInfoRecord info = {};
    const bool wantsBasic = (inWhich & (kLSRequestBasicFlagsOnly | kLSRequestAllFlags)) != 0;
    const bool wantsKind = (inWhich & (kLSRequestAppTypeFlags | kLSRequestAllFlags)) != 0;
    const bool wantsCodes = (inWhich & kLSRequestTypeCreator) != 0;
    OSType type = facts.IsFolder() ? 0 : facts.finder.fileType;
    OSType creator = facts.IsFolder() ? 0 : facts.finder.fileCreator;
    const bool isPackage = facts.IsFolder() && (wantsBasic || wantsKind || wantsCodes) &&
                           IsPackage(facts.item, facts.name, facts.finder.finderFlags);
    if (isPackage) GetPackageCodes(facts.item, type, creator);
    const bool isApplication = type == kApplicationType;
    if (wantsBasic) info.flags |= BasicFlags(facts, isPackage);
    if (wantsBasic && isApplication) info.flags |= kLSItemInfoIsApplication;
    if (wantsKind && isApplication) info.flags |= kLSItemInfoIsNativeApp;
    if ((inWhich & (kLSRequestExtensionFlagsOnly | kLSRequestAllFlags)) != 0 && facts.HidesExtension())
        info.flags |= kLSItemInfoExtensionIsHidden;
    if (wantsCodes) {
        info.filetype = type;
        info.creator = creator;
    }
    const std::u16string_view extension = ExtensionOf(facts.name);
    if ((inWhich & kLSRequestExtension) != 0 && !extension.empty()) {
        info.extension = ReadableName(extension).Release();
        if (info.extension == nullptr) return memFullErr;
    }
    outInfo = info;
    return noErr;
}

template <class Function>
OSStatus StatusOf(const Function& inFunction) noexcept {
    try {
        return inFunction();
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

}  // namespace

}  // namespace toolbox::launch

using namespace toolbox::launch;

OSStatus LSCopyDisplayNameForRef(const FSRef* inItem, CFStringRef* outName) {
    if (inItem == nullptr || outName == nullptr) return paramErr;
    return StatusOf([&] { return CopyShownName(*inItem, outName); });
}

OSStatus LSCopyDisplayNameForURL(CFURLRef inURL, CFStringRef* outName) {
    if (inURL == nullptr || outName == nullptr) return paramErr;
    return StatusOf([&] {
        FSRef item;
        return FindOfURL(inURL, item) ? CopyShownName(item, outName) : CopyNameOfURL(inURL, outName);
    });
}

OSStatus LSCopyItemInfoForRef(const FSRef* inItem, LSRequestedInfo inWhichInfo, LSItemInfoRecord* outInfo) {
    if (inItem == nullptr || outInfo == nullptr) return paramErr;
    return StatusOf([&] { return CopyItemInfo(*inItem, inWhichInfo, *outInfo); });
}
