#include "PathStyles.h"

#include <algorithm>
#include <cctype>

namespace toolbox::corefoundation {

namespace {

constexpr std::string_view kSystemDiskName = "System Disk";

// The separator of one style is an ordinary character of the other.
std::string TradePlaces(std::string_view inText) {
    std::string text(inText);
    for (char& character : text) {
        if (character == '/')
            character = ':';
        else if (character == ':')
            character = '/';
    }
    return text;
}

bool POSIXPathOfHFS(std::string_view inPath, std::string& outPath) {
    std::string_view rest = inPath;
    if (inPath.starts_with(':')) {
        outPath = ".";
    } else {
        if (!inPath.starts_with(kSystemDiskName)) return false;
        rest.remove_prefix(kSystemDiskName.size());
        if (!rest.empty() && rest[0] != ':') return false;
        outPath.clear();
    }
    if (rest.empty() || rest == ":") {
        outPath += '/';
        return true;
    }
    // Each name comes after a colon; a colon after a colon is the way up.
    while (!rest.empty()) {
        rest.remove_prefix(1);
        const std::size_t end = std::min(rest.find(':'), rest.size());
        const std::string_view name = rest.substr(0, end);
        rest.remove_prefix(end);
        if (!name.empty())
            outPath.append("/").append(TradePlaces(name));
        else
            outPath += rest.empty() ? "/" : "/..";
    }
    return true;
}

bool POSIXPathOfWindows(std::string_view inPath, std::string& outPath) {
    if (inPath.size() >= 2 && inPath[1] == ':') return false;  // a drive
    outPath = inPath;
    std::replace(outPath.begin(), outPath.end(), '\\', '/');
    return true;
}

}  // namespace

bool POSIXPathOf(std::string_view inPath, CFURLPathStyle inStyle, std::string& outPath) {
    if (inPath.empty()) return false;
    switch (inStyle) {
        case kCFURLPOSIXPathStyle:
            outPath = inPath;
            return true;
        case kCFURLHFSPathStyle:
            return POSIXPathOfHFS(inPath, outPath);
        case kCFURLWindowsPathStyle:
            return POSIXPathOfWindows(inPath, outPath);
        default:
            return false;
    }
}

bool StyledPathOf(std::string_view inPOSIXPath, CFURLPathStyle inStyle, std::string& outPath) {
    switch (inStyle) {
        case kCFURLPOSIXPathStyle:
            outPath = inPOSIXPath;
            return true;
        case kCFURLHFSPathStyle:
            outPath = std::string(kSystemDiskName) + TradePlaces(inPOSIXPath);
            return true;
        case kCFURLWindowsPathStyle:
            if (inPOSIXPath.find('\\') != std::string_view::npos) return false;
            outPath = inPOSIXPath;
            std::replace(outPath.begin(), outPath.end(), '/', '\\');
            return true;
        default:
            return false;
    }
}

}  // namespace toolbox::corefoundation
