// Names of the catalogue as Pascal strings.
#include "names/CatalogueNames.h"

#include <toolbox/CFString.h>
#include <toolbox/MacErrors.h>
#include <toolbox/TextEncoding.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>

namespace toolbox::files {

namespace {

constexpr std::size_t kMaxExtensionBytes = 5;  // with the dot
constexpr std::size_t kMaxNodeDigits = 8;
constexpr UInt8 kReplacement = '?';

struct StringReleaser {
    void operator()(CFStringRef inString) const { CFRelease(inString); }
};
using OwnedString = std::unique_ptr<std::remove_pointer_t<CFStringRef>, StringReleaser>;

OwnedString MakeString(std::u16string_view inText) {
    OwnedString string(CFStringCreateWithCharacters(kCFAllocatorDefault,
                                                    reinterpret_cast<const UniChar*>(inText.data()),
                                                    static_cast<CFIndex>(inText.size())));
    if (string == nullptr) throw std::bad_alloc();
    return string;
}

// As many characters as fit, in the application's encoding; the byte count. Those that it does not have
// become question marks.
std::size_t Encode(std::u16string_view inText, unsigned char* outBytes, std::size_t inCapacity) {
    const OwnedString string = MakeString(inText);
    CFIndex byteCount = 0;
    CFStringGetBytes(string.get(), CFRangeMake(0, static_cast<CFIndex>(inText.size())),
                     GetApplicationTextEncoding(), kReplacement, false, outBytes,
                     static_cast<CFIndex>(inCapacity), &byteCount);
    return static_cast<std::size_t>(byteCount);
}

// The last dot and what follows it, if it is short and plain. The last "#" of the whole is the node's.
std::string Extension(std::u16string_view inName) {
    const std::size_t dot = inName.rfind(u'.');
    if (dot == std::u16string_view::npos || dot == 0 || inName.size() - dot > kMaxExtensionBytes) return {};
    const std::u16string_view extension = inName.substr(dot);
    const bool isPlain = std::all_of(extension.begin(), extension.end(), [](char16_t inUnit) {
        return inUnit > ' ' && inUnit < 0x7F && inUnit != '#';
    });
    return isPlain ? std::string(extension.begin(), extension.end()) : std::string();
}

std::string NodeSuffix(UInt32 inNodeID, const std::string& inExtension) {
    char digits[kMaxNodeDigits];
    const auto end = std::to_chars(digits, digits + sizeof digits, inNodeID, 16).ptr;
    std::string suffix = "#";
    for (const char* at = digits; at < end; ++at)
        suffix += *at >= 'a' ? static_cast<char>(*at - 'a' + 'A') : *at;
    return suffix + inExtension;
}

bool FitsAsItIs(std::u16string_view inName, StringPtr outName, std::size_t inMaxByteCount) {
    const OwnedString string = MakeString(inName);
    return CFStringGetPascalString(string.get(), outName, static_cast<CFIndex>(inMaxByteCount) + 1,
                                   GetApplicationTextEncoding()) != 0;
}

}  // namespace

void SpecName(std::u16string_view inCatalogueName, UInt32 inNodeID, StringPtr outName,
              std::size_t inMaxByteCount) {
    if (FitsAsItIs(inCatalogueName, outName, inMaxByteCount)) return;
    const std::string extension = Extension(inCatalogueName);
    const std::string suffix = NodeSuffix(inNodeID, extension);
    const std::u16string_view stem = inCatalogueName.substr(0, inCatalogueName.size() - extension.size());
    const std::size_t count = Encode(stem, outName + 1, inMaxByteCount - suffix.size());
    std::copy(suffix.begin(), suffix.end(), outName + 1 + count);
    outName[0] = static_cast<unsigned char>(count + suffix.size());
}

// ASCII without what some encodings have another character for, or none of one byte.
bool IsSpecName(std::string_view inDiskName) {
    return inDiskName.size() <= kMaxSpecNameBytes &&
           std::all_of(inDiskName.begin(), inDiskName.end(),
                       [](char inByte) { return inByte >= ' ' && inByte < '~' && inByte != '\\'; });
}

bool NameOfSpec(ConstStr255Param inName, std::u16string& outCatalogueName) {
    const OwnedString string(
        CFStringCreateWithPascalString(kCFAllocatorDefault, inName, GetApplicationTextEncoding()));
    if (string == nullptr) return false;
    outCatalogueName.resize(static_cast<std::size_t>(CFStringGetLength(string.get())));
    for (std::size_t i = 0; i < outCatalogueName.size(); ++i)
        outCatalogueName[i] = CFStringGetCharacterAtIndex(string.get(), static_cast<CFIndex>(i));
    return true;
}

UInt32 NodeOfSpecName(ConstStr255Param inName) {
    const std::string_view name(reinterpret_cast<const char*>(inName + 1), inName[0]);
    const std::size_t mark = name.rfind('#');
    if (mark == std::string_view::npos) return 0;
    const char* const first = name.data() + mark + 1;
    const char* const last = name.data() + std::min(name.size(), mark + 1 + kMaxNodeDigits);
    UInt32 node = 0;
    const char* const end = std::from_chars(first, last, node, 16).ptr;
    const bool isWhole = end != first && (end == name.data() + name.size() || *end == '.');
    return isWhole ? node : 0;
}

}  // namespace toolbox::files
