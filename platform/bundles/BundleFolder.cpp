#include "BundleFolder.h"

#include "bundles/PropertyList.h"
#include "catalogue/Catalogue.h"
#include "catalogue/FileAccess.h"
#include "corefoundation/UTF8Text.h"
#include "corefoundation/Values.h"
#include "os/BigEndian.h"

#include <algorithm>
#include <array>

namespace toolbox::corefoundation {

namespace {

using files::FoundItem;
using os::ItemKind;

// Paths within the folder; where there are two, the first that is there counts.
struct Layout {
    std::string_view folder;  // that tells the layout; empty: any
    std::array<std::string_view, 2> information;
    std::array<std::string_view, 2> packageInfo;
    std::array<std::string_view, 2> executableFolder;
};
constexpr Layout kLayouts[] = {
    {"Contents", {"Contents/Info.plist"}, {"Contents/PkgInfo"}, {"Contents/Linux/", "Contents/MacOS/"}},
    {"Versions/Current",
     {"Versions/Current/Resources/Info.plist"},
     {"Versions/Current/Resources/PkgInfo"},
     {"Versions/Current/"}},
    {"", {"Info.plist", "Resources/Info.plist"}, {"PkgInfo", "Resources/PkgInfo"}, {"./"}},
};

struct PackageKind {
    std::string_view extension;
    UInt32 type;
};
constexpr PackageKind kPackageKinds[] = {
    {".app", FourChars("APPL")},       {".framework", FourChars("FMWK")}, {".bundle", FourChars("BNDL")},
    {".component", FourChars("BNDL")}, {".plugin", FourChars("BNDL")},
};
constexpr UInt32 kUnknownType = FourChars("BNDL");
constexpr UInt32 kUnknownCreator = FourChars("????");

constexpr std::size_t kMaxPackageInfoBytes = 4096;

std::string_view LeafOf(std::string_view inPath) {
    return inPath.substr(inPath.rfind('/') + 1);
}

// The name's extension with its dot; a dot at the front begins none.
std::string_view ExtensionOf(std::string_view inName) {
    const std::size_t dot = inName.rfind('.');
    return dot == std::string_view::npos || dot == 0 ? std::string_view() : inName.substr(dot);
}

const PackageKind* FindPackageKind(std::string_view inFolderPath) {
    std::string extension(ExtensionOf(LeafOf(inFolderPath)));
    std::transform(extension.begin(), extension.end(), extension.begin(), [](char inLetter) {
        return inLetter >= 'A' && inLetter <= 'Z' ? inLetter | 0x20 : inLetter;
    });
    for (const PackageKind& kind : kPackageKinds)
        if (kind.extension == extension) return &kind;
    return nullptr;
}

// An item of the folder by the path of its links' ends, which must lie in the folder as well.
bool FindInside(const std::string& inFolderPath, std::string_view inPath, ItemKind inKind,
                FoundItem& outItem) {
    const std::string folder = inFolderPath == "/" ? inFolderPath : inFolderPath + '/';
    return files::FindByPath((folder + std::string(inPath)).c_str(), outItem) == noErr &&
           outItem.status.kind == inKind && outItem.path.starts_with(folder);
}

bool FindFirst(const std::string& inFolderPath, const std::array<std::string_view, 2>& inPaths,
               std::string_view inName, FoundItem& outItem) {
    return std::any_of(inPaths.begin(), inPaths.end(), [&](std::string_view inPath) {
        return !inPath.empty() &&
               FindInside(inFolderPath, std::string(inPath).append(inName), ItemKind::kFile, outItem);
    });
}

const Layout& FindLayout(const std::string& inFolderPath) {
    const Layout* layout = kLayouts;
    FoundItem folder;
    while (!layout->folder.empty() && !FindInside(inFolderPath, layout->folder, ItemKind::kFolder, folder))
        ++layout;
    return *layout;
}

Owned<CFDictionaryRef> ReadInformation(const FoundItem& inFile) {
    std::string bytes;
    if (files::ReadSmallFile(files::MakeRef(inFile), kMaxPropertyListBytes, bytes) == noErr) {
        Owned<CFTypeRef> value = ReadPropertyList(bytes);
        if (value && CFGetTypeID(value.Get()) == CFDictionaryGetTypeID())
            return Owned(static_cast<CFDictionaryRef>(value.Release()));
    }
    return NewDictionary({});
}

// The string under a key; null when there is none, or it is something else.
CFStringRef FindString(CFDictionaryRef inDictionary, CFStringRef inKey) {
    const void* value = CFDictionaryGetValue(inDictionary, inKey);
    return value != nullptr && CFGetTypeID(value) == CFStringGetTypeID() ? static_cast<CFStringRef>(value)
                                                                         : nullptr;
}

// False when the key has no string of four characters.
bool ReadCode(CFDictionaryRef inDictionary, CFStringRef inKey, UInt32& outCode) {
    UInt8 bytes[4];
    CFIndex byteCount = 0;
    CFStringRef text = FindString(inDictionary, inKey);
    if (text == nullptr || CFStringGetLength(text) != sizeof(bytes) ||
        CFStringGetBytes(text, CFRangeMake(0, sizeof(bytes)), kCFStringEncodingMacRoman, 0, false, bytes,
                         sizeof(bytes), &byteCount) != sizeof(bytes))
        return false;
    outCode = os::Load32(bytes);
    return true;
}

void ReadPackageInfo(const FoundItem* inFile, const PackageKind* inKind, BundleContents& ioContents) {
    ioContents.packageType = inKind == nullptr ? kUnknownType : inKind->type;
    ioContents.creator = kUnknownCreator;
    std::string bytes;
    if (inFile != nullptr &&
        files::ReadSmallFile(files::MakeRef(*inFile), kMaxPackageInfoBytes, bytes) == noErr &&
        bytes.size() >= 8) {
        ioContents.packageType = os::Load32(reinterpret_cast<const UInt8*>(bytes.data()));
        ioContents.creator = os::Load32(reinterpret_cast<const UInt8*>(bytes.data()) + 4);
    }
    ReadCode(ioContents.information.Get(), CFSTR("CFBundlePackageType"), ioContents.packageType);
    ReadCode(ioContents.information.Get(), CFSTR("CFBundleSignature"), ioContents.creator);
}

// The executable's name; empty when the information tells one that is none.
std::string ExecutableNameOf(const BundleContents& inContents) {
    const std::string_view leaf = LeafOf(inContents.folderPath);
    const CFStringRef key = CFSTR("CFBundleExecutable");
    if (!CFDictionaryContainsKey(inContents.information.Get(), key))
        return std::string(leaf.substr(0, leaf.size() - ExtensionOf(leaf).size()));
    std::string name;
    CFStringRef text = FindString(inContents.information.Get(), key);
    if (text == nullptr || !GetUTF8(text, name)) return {};
    const bool isName =
        name.find_first_of(std::string_view("/\0", 2)) == std::string::npos && name != "." && name != "..";
    return isName ? name : std::string();
}

}  // namespace

bool ReadBundle(const std::string& inPath, BundleContents& outContents) {
    FoundItem folder;
    if (files::FindByPath(inPath.c_str(), folder) != noErr || folder.status.kind != ItemKind::kFolder)
        return false;
    outContents.folderPath = folder.path;
    const Layout& layout = FindLayout(folder.path);
    const PackageKind* kind = FindPackageKind(folder.path);
    FoundItem information;
    FoundItem packageInfo;
    const bool hasInformation = FindFirst(folder.path, layout.information, "", information);
    const bool hasPackageInfo = FindFirst(folder.path, layout.packageInfo, "", packageInfo);
    if (kind == nullptr && !hasInformation && !hasPackageInfo) return false;

    outContents.information = hasInformation ? ReadInformation(information) : NewDictionary({});
    if (!outContents.information) return true;
    ReadPackageInfo(hasPackageInfo ? &packageInfo : nullptr, kind, outContents);
    const std::string name = ExecutableNameOf(outContents);
    FoundItem executable;
    if (!name.empty() && FindFirst(folder.path, layout.executableFolder, name, executable))
        outContents.executablePath = executable.path;
    return true;
}

}  // namespace toolbox::corefoundation
