#include "Packages.h"

#include "StringsFile.h"
#include "catalogue/FileAccess.h"
#include "corefoundation/UTF8Text.h"

#include <toolbox/CFBundle.h>

#include <algorithm>
#include <iterator>

namespace toolbox::launch {

namespace {

using corefoundation::Owned;
using files::FoundItem;
using os::ItemKind;

constexpr std::u16string_view kPackageExtensions[] = {u"app", u"bundle", u"component", u"plugin", u"nib"};
constexpr const char* kNameKeys[] = {"CFBundleDisplayName", "CFBundleName"};
constexpr std::string_view kResourceFolders[] = {"/Contents/Resources/", "/Versions/Current/Resources/",
                                                 "/Resources/"};

bool IsSameButForCase(std::u16string_view inText, std::u16string_view inSmallLetters) {
    return std::equal(inText.begin(), inText.end(), inSmallLetters.begin(), inSmallLetters.end(),
                      [](char16_t inLeft, char16_t inRight) {
                          const bool isCapital = inLeft >= 'A' && inLeft <= 'Z';
                          return (isCapital ? inLeft + ('a' - 'A') : inLeft) == inRight;
                      });
}

bool HoldsFile(const FoundItem& inFolder, const std::string& inPath, FoundItem& outFile) {
    return files::FindByPath((inFolder.path + inPath).c_str(), outFile) == noErr &&
           outFile.status.kind == ItemKind::kFile && outFile.path.starts_with(inFolder.path + '/');
}

Owned<CFBundleRef> BundleIn(const FoundItem& inFolder) {
    const FSRef ref = files::MakeRef(inFolder);
    const Owned<CFURLRef> url(CFURLCreateFromFSRef(kCFAllocatorDefault, &ref));
    return Owned<CFBundleRef>(url ? CFBundleCreate(kCFAllocatorDefault, url.Get()) : nullptr);
}

// The name in Info.plist; null when it has none.
CFStringRef NameInInformation(CFBundleRef inBundle) {
    for (const char* const key : kNameKeys) {
        const Owned<CFStringRef> keyString = corefoundation::StringOf(key);
        if (!keyString) return nullptr;
        const CFTypeRef value = CFBundleGetValueForInfoDictionaryKey(inBundle, keyString.Get());
        if (value != nullptr && CFGetTypeID(value) == CFStringGetTypeID())
            return static_cast<CFStringRef>(value);
    }
    return nullptr;
}

bool IsNamed(CFStringRef inString, std::u16string_view inName) {
    if (static_cast<std::size_t>(CFStringGetLength(inString)) != inName.size()) return false;
    for (std::size_t i = 0; i < inName.size(); ++i)
        if (CFStringGetCharacterAtIndex(inString, static_cast<CFIndex>(i)) != inName[i]) return false;
    return true;
}

std::string NameInFolder(const FoundItem& inPackage, const std::string& inFolderPath) {
    FoundItem file;
    std::string contents;
    if (!HoldsFile(inPackage, inFolderPath + "/InfoPlist.strings", file) ||
        files::ReadSmallFile(files::MakeRef(file), kMaxStringsFileBytes, contents) != noErr)
        return {};
    for (const char* const key : kNameKeys) {
        std::string name = StringInFile(contents, key);
        if (!name.empty()) return name;
    }
    return {};
}

}  // namespace

std::u16string_view ExtensionOf(std::u16string_view inName) {
    const std::size_t dot = inName.rfind(u'.');
    const bool isFirst = dot == std::u16string_view::npos || dot == 0;
    return isFirst ? std::u16string_view() : inName.substr(dot + 1);
}

bool IsPackage(const FoundItem& inFolder, std::u16string_view inName, UInt16 inFinderFlags) {
    if ((inFinderFlags & kHasBundle) != 0) return true;
    const std::u16string_view extension = ExtensionOf(inName);
    FoundItem file;
    return std::any_of(std::begin(kPackageExtensions), std::end(kPackageExtensions),
                       [&](std::u16string_view inKnown) { return IsSameButForCase(extension, inKnown); }) ||
           HoldsFile(inFolder, "/Contents/PkgInfo", file);
}

bool GetPackageCodes(const FoundItem& inPackage, UInt32& outType, UInt32& outCreator) {
    const Owned<CFBundleRef> bundle = BundleIn(inPackage);
    if (bundle) CFBundleGetPackageInfo(bundle.Get(), &outType, &outCreator);
    return static_cast<bool>(bundle);
}

std::string LocalizedName(const FoundItem& inPackage, std::u16string_view inName,
                          const std::vector<Language>& inLanguages) {
    if (inLanguages.empty()) return {};
    const Owned<CFBundleRef> bundle = BundleIn(inPackage);
    const CFStringRef name = bundle ? NameInInformation(bundle.Get()) : nullptr;
    const std::u16string_view extension = ExtensionOf(inName);
    const std::size_t suffixSize = extension.empty() ? 0 : extension.size() + 1;
    if (name == nullptr || !IsNamed(name, inName.substr(0, inName.size() - suffixSize))) return {};
    for (const Language& language : inLanguages)
        for (const std::string& folder : {language.language + '_' + language.country,
                                          language.language + '-' + language.country, language.language})
            for (const std::string_view resources : kResourceFolders) {
                const std::string path = std::string(resources) + folder + ".lproj";
                std::string found = NameInFolder(inPackage, path);
                if (!found.empty()) return found;
            }
    return {};
}

}  // namespace toolbox::launch
