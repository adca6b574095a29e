#include "PathStyles.h"
#include "URLText.h"
#include "bundles/URLObject.h"
#include "catalogue/Catalogue.h"
#include "corefoundation/Object.h"
#include "corefoundation/UTF8Text.h"

#include <toolbox/CFURL.h>

#include <algorithm>
#include <cassert>
#include <cstring>

namespace toolbox::corefoundation {

namespace {

struct URLObject {
    Object base;
    CFStringRef text;  // ASCII, with a scheme
    bool isOfItem;     // a link at the end of the path is the item, not the way to one
};

void FinishURL(Object* inObject) {
    CFRelease(reinterpret_cast<URLObject*>(inObject)->text);
}
CFStringRef TextOf(CFTypeRef inURL) {
    return CFURLGetString(static_cast<CFURLRef>(inURL));
}
bool IsEqual(CFTypeRef inURL1, CFTypeRef inURL2) {
    return CFEqual(TextOf(inURL1), TextOf(inURL2));
}
CFHashCode HashOf(CFTypeRef inURL) {
    return CFHash(TextOf(inURL));
}
CFStringRef CopyDescription(CFTypeRef inURL) {
    return CFStringCreateCopy(kCFAllocatorDefault, TextOf(inURL));
}
constexpr TypeInfo kURLType = {kURLTypeID, FinishURL, "CFURL", IsEqual, HashOf, CopyDescription};

// Null when memory is short. inIsOfItem as in URLObject.
Owned<CFURLRef> NewURL(std::string_view inText, bool inIsOfItem = false) {
    Owned<CFStringRef> text = StringOf(inText);
    if (!text) return {};
    auto* url = static_cast<URLObject*>(NewObject(kURLType, sizeof(URLObject)));
    if (url == nullptr) return {};
    url->text = text.Release();
    url->isOfItem = inIsOfItem;
    return Owned(reinterpret_cast<CFURLRef>(url));
}

// The text of a URL and its parts, which are views into it.
class ReadURL {
  public:
    explicit ReadURL(CFURLRef inURL) {
        GetUTF8(CFURLGetString(inURL), mText);
        mParts = SplitURL(mText);
    }
    ReadURL(const ReadURL&) = delete;
    ReadURL& operator=(const ReadURL&) = delete;

    const std::string& Text() const { return mText; }
    const URLParts& Parts() const { return mParts; }

  private:
    std::string mText;
    URLParts mParts;
};

std::string_view WithoutSlashesAtEnd(std::string_view inPath) {
    return inPath.substr(0, inPath.find_last_not_of('/') + 1);
}

// What comes after the last slash, a path's own slashes at the end aside.
std::string_view LastSegment(std::string_view inPath) {
    const std::string_view path = WithoutSlashesAtEnd(inPath);
    return path.substr(path.rfind('/') + 1);
}

bool IsDots(std::string_view inSegment) {
    return inSegment == "." || inSegment == "..";
}

bool EqualsIgnoringCase(std::string_view inText, std::string_view inLowerCase) {
    return inText.size() == inLowerCase.size() &&
           std::equal(inText.begin(), inText.end(), inLowerCase.begin(),
                      [](char inLeft, char inRight) { return (inLeft | 0x20) == inRight; });
}

bool IsFileURL(const URLParts& inParts) {
    return EqualsIgnoringCase(inParts.scheme, "file") &&
           (inParts.authority.empty() || EqualsIgnoringCase(inParts.authority, "localhost")) &&
           inParts.path.starts_with('/');
}

Owned<CFURLRef> NewURLWithPath(const ReadURL& inURL, std::string_view inPath) {
    URLParts parts = inURL.Parts();
    parts.path = inPath;
    parts.query = {};
    parts.fragment = {};
    return NewURL(JoinURL(parts));
}

std::string FileURLTextOf(std::string_view inPath, bool inIsFolder) {
    std::string text = "file://" + EscapePath(inPath);
    if (inIsFolder && !text.ends_with('/')) text += '/';
    return text;
}

// A reference as text of a URL.
Owned<CFURLRef> NewURLOfReference(const std::string& inReference, CFURLRef inBaseURL) {
    if (!SplitURL(inReference).scheme.empty()) return NewURL(inReference);
    if (inBaseURL == nullptr) return {};
    return NewURL(ResolveReference(ReadURL(inBaseURL).Text(), inReference));
}

// The URL of any POSIX path, which is not empty.
Owned<CFURLRef> NewURLOfPath(std::string_view inPath, bool inIsFolder) {
    assert(!inPath.empty());
    if (inPath.starts_with('/')) return FileURLOf(inPath, inIsFolder);
    files::FoundItem here;
    if (files::FindByPath(".", here) != noErr) return {};
    if (inPath.starts_with("./")) inPath.remove_prefix(2);
    if (!here.path.ends_with('/')) here.path += '/';
    return FileURLOf(here.path.append(inPath), inIsFolder);
}

Owned<CFURLRef> NewURLOfStyledPath(CFStringRef inPath, CFURLPathStyle inStyle, bool inIsFolder) {
    std::string styled;
    std::string path;
    if (inPath == nullptr || !GetUTF8(inPath, styled) || !POSIXPathOf(styled, inStyle, path)) return {};
    return path.find('\0') == std::string::npos ? NewURLOfPath(path, inIsFolder) : Owned<CFURLRef>();
}

Owned<CFURLRef> NewURLWithComponent(CFURLRef inURL, CFStringRef inComponent, bool inIsFolder) {
    std::string text;
    if (inURL == nullptr || inComponent == nullptr || !GetUTF8(inComponent, text)) return {};
    std::string_view component = WithoutSlashesAtEnd(text);
    component.remove_prefix(std::min(component.find_first_not_of('/'), component.size()));
    const ReadURL url(inURL);
    std::string path(url.Parts().path);
    if (!path.ends_with('/')) path += '/';
    path += EscapePath(component);
    if (inIsFolder && !path.ends_with('/')) path += '/';
    return NewURLWithPath(url, path);
}

Owned<CFURLRef> NewURLWithoutComponent(CFURLRef inURL) {
    if (inURL == nullptr) return {};
    const ReadURL url(inURL);
    std::string path(WithoutSlashesAtEnd(url.Parts().path));
    if (IsDots(LastSegment(path)))
        path += "/../";
    else if (path.empty())
        path = url.Parts().path;
    else
        path.erase(path.rfind('/') + 1);
    return NewURLWithPath(url, path);
}

Owned<CFStringRef> CopyLastComponent(CFURLRef inURL) {
    const ReadURL url(inURL);
    const std::string_view path = url.Parts().path;
    std::string name;
    if (!Unescape(LastSegment(path), name)) return {};
    if (name.empty() && !path.empty()) name = "/";
    return StringOf(name);
}

Owned<CFStringRef> CopyStyledPath(CFURLRef inURL, CFURLPathStyle inStyle) {
    const ReadURL url(inURL);
    const std::string_view escaped = url.Parts().path;
    if (!escaped.starts_with('/')) return {};
    std::string path;
    std::string styled;
    const std::string_view withoutSlashes = WithoutSlashesAtEnd(escaped);
    if (!Unescape(withoutSlashes.empty() ? "/" : withoutSlashes, path)) return {};
    if (path.find('\0') != std::string::npos || !StyledPathOf(path, inStyle, styled)) return {};
    return StringOf(styled);
}

}  // namespace

Owned<CFURLRef> FileURLOf(std::string_view inPath, bool inIsFolder) {
    return NewURL(FileURLTextOf(inPath, inIsFolder));
}

bool GetPOSIXPath(CFURLRef inURL, std::string& outPath) {
    const ReadURL url(inURL);
    return IsFileURL(url.Parts()) && Unescape(url.Parts().path, outPath) &&
           outPath.find('\0') == std::string::npos;
}

}  // namespace toolbox::corefoundation

using namespace toolbox::corefoundation;

CFTypeID CFURLGetTypeID() {
    return kURLTypeID;
}

CFURLRef CFURLCreateWithBytes(CFAllocatorRef, const UInt8* inBytes, CFIndex inByteCount,
                              CFStringEncoding inEncoding, CFURLRef inBaseURL) {
    if (inByteCount < 1) return nullptr;
    const Owned<CFStringRef> text(
        CFStringCreateWithBytes(kCFAllocatorDefault, inBytes, inByteCount, inEncoding, false));
    if (!text) return nullptr;
    return UnlessMemoryIsShort([&]() -> CFURLRef {
        std::string bytes;
        if (!GetUTF8(text.Get(), bytes)) return nullptr;
        return NewURLOfReference(MakeURLText(bytes), inBaseURL).Release();
    });
}

CFURLRef CFURLCreateWithString(CFAllocatorRef, CFStringRef inText, CFURLRef inBaseURL) {
    if (inText == nullptr || CFStringGetLength(inText) == 0) return nullptr;
    return UnlessMemoryIsShort([&]() -> CFURLRef {
        std::string bytes;
        if (!GetUTF8(inText, bytes) || !IsURLText(bytes)) return nullptr;
        return NewURLOfReference(bytes, inBaseURL).Release();
    });
}

CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef, CFStringRef inPath, CFURLPathStyle inStyle,
                                       Boolean inIsDirectory) {
    return UnlessMemoryIsShort(
        [&] { return NewURLOfStyledPath(inPath, inStyle, inIsDirectory != 0).Release(); });
}

CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef, const UInt8* inPath, CFIndex inByteCount,
                                                 Boolean inIsDirectory) {
    if (inPath == nullptr || inByteCount < 0) return nullptr;
    const auto* text = reinterpret_cast<const char*>(inPath);
    const std::string_view path(text, strnlen(text, static_cast<std::size_t>(inByteCount)));
    if (path.empty()) return nullptr;
    return UnlessMemoryIsShort([&] { return NewURLOfPath(path, inIsDirectory != 0).Release(); });
}

CFURLRef CFURLCreateFromFSRef(CFAllocatorRef, const FSRef* inRef) {
    if (inRef == nullptr) return nullptr;
    return UnlessMemoryIsShort([&]() -> CFURLRef {
        toolbox::files::FoundItem item;
        if (toolbox::files::FindByRef(*inRef, item) != noErr) return nullptr;
        const bool isFolder = item.status.kind == toolbox::os::ItemKind::kFolder;
        return NewURL(FileURLTextOf(item.path, isFolder), true).Release();
    });
}

Boolean CFURLGetFSRef(CFURLRef inURL, FSRef* outRef) {
    return UnlessMemoryIsShort([&]() -> Boolean {
        std::string path;
        if (!GetPOSIXPath(inURL, path)) return false;
        const bool isOfItem = reinterpret_cast<const URLObject*>(inURL)->isOfItem;
        const OptionBits options =
            isOfItem ? kFSPathMakeRefDoNotFollowLeafSymlink : kFSPathMakeRefDefaultOptions;
        return FSPathMakeRefWithOptions(reinterpret_cast<const UInt8*>(path.c_str()), options, outRef,
                                        nullptr) == noErr;
    });
}

CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef, CFURLRef inURL, CFStringRef inComponent,
                                               Boolean inIsDirectory) {
    return UnlessMemoryIsShort(
        [&] { return NewURLWithComponent(inURL, inComponent, inIsDirectory != 0).Release(); });
}

CFURLRef CFURLCreateCopyDeletingLastPathComponent(CFAllocatorRef, CFURLRef inURL) {
    return UnlessMemoryIsShort([&] { return NewURLWithoutComponent(inURL).Release(); });
}

CFStringRef CFURLCopyLastPathComponent(CFURLRef inURL) {
    return UnlessMemoryIsShort([&] { return CopyLastComponent(inURL).Release(); });
}

CFStringRef CFURLCopyFileSystemPath(CFURLRef inURL, CFURLPathStyle inStyle) {
    return UnlessMemoryIsShort([&] { return CopyStyledPath(inURL, inStyle).Release(); });
}

Boolean CFURLGetFileSystemRepresentation(CFURLRef inURL, Boolean, UInt8* outPath, CFIndex inMaxByteCount) {
    return UnlessMemoryIsShort([&]() -> Boolean {
        std::string path;
        if (!GetPOSIXPath(inURL, path)) return false;
        while (path.size() > 1 && path.back() == '/')
            path.pop_back();
        if (inMaxByteCount < 1 || path.size() >= static_cast<std::size_t>(inMaxByteCount)) return false;
        std::memcpy(outPath, path.c_str(), path.size() + 1);
        return true;
    });
}

CFStringRef CFURLGetString(CFURLRef inURL) {
    return reinterpret_cast<const URLObject*>(inURL)->text;
}

Boolean CFURLHasDirectoryPath(CFURLRef inURL) {
    return UnlessMemoryIsShort([&]() -> Boolean {
        const ReadURL url(inURL);
        const std::string_view path = url.Parts().path;
        return path.ends_with('/') || IsDots(LastSegment(path));
    });
}
