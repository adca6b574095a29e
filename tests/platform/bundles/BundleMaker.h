// Bundles for tests, made in a temporary folder.
#pragma once

#include "platform/corefoundation/CFSupport.h"
#include "support/TemporaryFolder.h"

#include <toolbox/CFBundle.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace test_bundles {

using test_files::TemporaryFolder;

template <class Ref>
struct OwnedRef {
    Ref ref = nullptr;

    OwnedRef(Ref inRef = nullptr) : ref(inRef) {}
    OwnedRef(OwnedRef&& ioOther) noexcept : ref(std::exchange(ioOther.ref, nullptr)) {}
    OwnedRef& operator=(OwnedRef&& ioOther) noexcept {
        std::swap(ref, ioOther.ref);
        return *this;
    }
    ~OwnedRef() {
        if (ref != nullptr) CFRelease(ref);
    }
    operator Ref() const { return ref; }
};
using OwnedURL = OwnedRef<CFURLRef>;
using OwnedBundle = OwnedRef<CFBundleRef>;

inline OwnedURL URLOfPath(std::string_view inPath, bool inIsFolder = false) {
    return CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
                                                   reinterpret_cast<const UInt8*>(inPath.data()),
                                                   static_cast<CFIndex>(inPath.size()), inIsFolder);
}

inline OwnedBundle BundleAt(std::string_view inPath) {
    return CFBundleCreate(kCFAllocatorDefault, URLOfPath(inPath, true));
}

// The text as UTF-8; "(null)" for null.
inline std::string UTF8Of(CFStringRef inString) {
    if (inString == nullptr) return "(null)";
    std::string text(static_cast<std::size_t>(CFStringGetLength(inString)) * 3 + 1, '\0');
    if (!CFStringGetCString(inString, text.data(), static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8))
        return "(no UTF-8)";
    text.resize(text.find('\0'));
    return text;
}
// The same of a string that is given back.
inline std::string TakeUTF8(CFStringRef inString) {
    const OwnedRef<CFStringRef> owner(inString);
    return UTF8Of(inString);
}

// A property list in XML with this inside its <plist>.
inline std::string XMLList(std::string_view inContents) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!DOCTYPE plist SYSTEM \"PropertyList.dtd\">\n"
           "<plist version=\"1.0\">" +
           std::string(inContents) + "</plist>\n";
}
inline std::string InfoWith(std::string_view inKey, std::string_view inValue) {
    return XMLList("<dict><key>" + std::string(inKey) + "</key><string>" + std::string(inValue) +
                   "</string></dict>");
}

inline void MakeFileAt(const TemporaryFolder& inFolder, std::string_view inPath,
                       std::string_view inContents) {
    std::filesystem::create_directories(std::filesystem::path(inFolder / inPath).parent_path());
    inFolder.MakeFile(inPath, inContents);
}

inline void CopyTo(const TemporaryFolder& inFolder, std::string_view inPath, const char* inSource) {
    std::filesystem::create_directories(std::filesystem::path(inFolder / inPath).parent_path());
    std::filesystem::copy_file(inSource, inFolder / inPath,
                               std::filesystem::copy_options::overwrite_existing);
}

}  // namespace test_bundles
