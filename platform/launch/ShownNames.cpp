#include "ShownNames.h"

#include "DesktopEntry.h"
#include "Packages.h"
#include "catalogue/FileAccess.h"
#include "catalogue/ItemInfo.h"
#include "catalogue/VolumeLabels.h"
#include "corefoundation/UTF8Text.h"

#include <algorithm>
#include <cstring>

namespace toolbox::launch {

namespace {

using corefoundation::Owned;
using os::ItemKind;

constexpr std::size_t kMaxEntryBytes = std::size_t{64} * 1024;
constexpr CFIndex kMaxShownUnits = 255;
constexpr UInt16 kGroupAndOthersWrite = 022;
constexpr UInt16 kAnyoneExecutes = 0111;

// What would change how text around it is read.
bool IsControl(UniChar inUnit) {
    return inUnit < 0x20 || (inUnit >= 0x7F && inUnit < 0xA0) || (inUnit >= 0x200E && inUnit <= 0x200F) ||
           (inUnit >= 0x2028 && inUnit <= 0x202E) || (inUnit >= 0x2066 && inUnit <= 0x2069);
}

// What files and devices tell: null unless it is UTF-8, of some length, and nothing but text.
Owned<CFStringRef> ForeignName(std::string_view inBytes) {
    Owned<CFStringRef> name = corefoundation::StringOf(inBytes);
    const CFIndex length = name ? CFStringGetLength(name.Get()) : 0;
    if (length == 0 || length > kMaxShownUnits) return {};
    for (CFIndex i = 0; i < length; ++i)
        if (IsControl(CFStringGetCharacterAtIndex(name.Get(), i))) return {};
    return name;
}

// One could be made by anyone to look like something else.
bool IsTrusted(const FSCatalogInfo& inInfo) {
    const FSPermissionInfo& permissions = inInfo.permissions;
    const bool isRoots = permissions.userID == 0;
    const bool isOwn = (inInfo.userPrivileges & kioACUserNotOwnerMask) == 0;
    return (isRoots || isOwn) && (permissions.mode & kGroupAndOthersWrite) == 0 &&
           (isRoots || (permissions.mode & kAnyoneExecutes) != 0);
}

std::string NameOfDesktopFile(const ItemFacts& inFacts) {
    std::string contents;
    if (inFacts.item.status.kind != ItemKind::kFile || ExtensionOf(inFacts.name) != u"desktop" ||
        !IsTrusted(inFacts.info) ||
        files::ReadSmallFile(files::MakeRef(inFacts.item), kMaxEntryBytes, contents) != noErr)
        return {};
    return NameInDesktopEntry(contents, UserLanguages());
}

// As others than the item itself tell it; empty when nobody does.
std::string NameElsewhere(const ItemFacts& inFacts) {
    if (inFacts.IsVolume()) return files::LabelOfVolume(inFacts.info.volume);
    if (!inFacts.IsFolder()) return NameOfDesktopFile(inFacts);
    if (!IsPackage(inFacts.item, inFacts.name, inFacts.finder.finderFlags)) return {};
    return LocalizedName(inFacts.item, inFacts.name, UserLanguages());
}

}  // namespace

bool ItemFacts::HidesExtension() const {
    return (finder.finderFlags & kHidesExtension) != 0 && !ExtensionOf(name).empty();
}

OSStatus GetFacts(const FSRef& inItem, ItemFacts& outFacts) {
    OSStatus status = files::FindByRef(inItem, outFacts.item);
    if (status != noErr) return status;
    constexpr FSCatalogInfoBitmap kOfItem =
        kFSCatInfoVolume | kFSCatInfoParentDirID | kFSCatInfoPermissions | kFSCatInfoUserPrivs;
    HFSUniStr255 name;
    files::InfoOutputs outputs;
    outputs.info = &outFacts.info;
    outputs.name = &name;
    status = files::GetInfoOf(outFacts.item, kOfItem, outputs);
    if (status != noErr) return status;
    outFacts.name.assign(name.unicode, name.unicode + name.length);
    outputs.name = nullptr;
    status = files::GetInfoOf(outFacts.item, kFSCatInfoFinderInfo, outputs);
    if (status == noErr) std::memcpy(&outFacts.finder, outFacts.info.finderInfo, sizeof outFacts.finder);
    return status == afpAccessDenied ? OSStatus{noErr} : status;
}

Owned<CFStringRef> ShownName(const ItemFacts& inFacts) {
    Owned<CFStringRef> name = ForeignName(NameElsewhere(inFacts));
    if (name) return name;
    std::u16string_view shown = inFacts.name;
    if (inFacts.HidesExtension()) shown.remove_suffix(ExtensionOf(shown).size() + 1);
    return ReadableName(shown);
}

Owned<CFStringRef> ReadableName(std::u16string_view inName) {
    std::u16string text(inName);
    std::replace_if(
        text.begin(), text.end(), [](char16_t inUnit) { return inUnit >= 0xF780 && inUnit <= 0xF7FF; },
        u'\uFFFD');
    return Owned<CFStringRef>(CFStringCreateWithCharacters(kCFAllocatorDefault,
                                                           reinterpret_cast<const UniChar*>(text.data()),
                                                           static_cast<CFIndex>(text.size())));
}

}  // namespace toolbox::launch
