#include "URLText.h"

#include <algorithm>

namespace toolbox::corefoundation {

namespace {

constexpr std::string_view kUnreservedMarks = "-._~";
constexpr std::string_view kReserved = ":/?#[]@!$&'()*+,;=";
// Of those, what means nothing particular in a path.
constexpr std::string_view kPathMarks = "/:@!$&'()*+,=";

bool IsLetter(char inCharacter) {
    return (inCharacter >= 'a' && inCharacter <= 'z') || (inCharacter >= 'A' && inCharacter <= 'Z');
}

bool IsDigit(char inCharacter) {
    return inCharacter >= '0' && inCharacter <= '9';
}

bool IsUnreserved(char inCharacter) {
    return IsLetter(inCharacter) || IsDigit(inCharacter) ||
           kUnreservedMarks.find(inCharacter) != std::string_view::npos;
}

bool IsScheme(std::string_view inText) {
    if (inText.empty() || !IsLetter(inText[0])) return false;
    return std::all_of(inText.begin(), inText.end(), [](char inCharacter) {
        return IsLetter(inCharacter) || IsDigit(inCharacter) || inCharacter == '+' || inCharacter == '-' ||
               inCharacter == '.';
    });
}

int HexValue(char inDigit) {
    if (IsDigit(inDigit)) return inDigit - '0';
    if (inDigit >= 'a' && inDigit <= 'f') return inDigit - 'a' + 10;
    if (inDigit >= 'A' && inDigit <= 'F') return inDigit - 'A' + 10;
    return -1;
}

// Cuts what begins with inMark off the end, and returns it.
std::string_view CutFrom(char inMark, std::string_view& ioText) {
    const std::size_t at = std::min(ioText.find(inMark), ioText.size());
    const std::string_view cut = ioText.substr(at);
    ioText = ioText.substr(0, at);
    return cut;
}

// Follows the segments "." and "..", of a path that begins with a slash.
std::string FollowDots(std::string_view inPath) {
    std::string path;
    while (!inPath.empty()) {
        const std::size_t end = std::min(inPath.find('/', 1), inPath.size());
        const std::string_view segment = inPath.substr(0, end);  // with the slash before it
        inPath.remove_prefix(end);
        const bool isUp = segment == "/..";
        if (isUp) path.erase(std::min(path.rfind('/'), path.size()));
        if (!isUp && segment != "/.")
            path += segment;
        else if (inPath.empty())
            path += '/';
    }
    return path;
}

// The path of a reference that has neither scheme nor authority, in a document with these parts.
std::string MergePath(const URLParts& inBase, std::string_view inPath) {
    if (inPath.starts_with('/')) return FollowDots(inPath);
    if (inBase.path.empty()) return FollowDots("/" + std::string(inPath));
    const std::size_t slash = inBase.path.rfind('/');
    if (slash == std::string_view::npos) return std::string(inPath);
    return FollowDots(std::string(inBase.path.substr(0, slash + 1)) + std::string(inPath));
}

}  // namespace

URLParts SplitURL(std::string_view inText) {
    URLParts parts;
    parts.fragment = CutFrom('#', inText);
    parts.query = CutFrom('?', inText);
    const std::size_t colon = inText.find(':');
    if (colon != std::string_view::npos && IsScheme(inText.substr(0, colon))) {
        parts.scheme = inText.substr(0, colon);
        inText.remove_prefix(colon + 1);
    }
    parts.hasAuthority = inText.starts_with("//");
    if (parts.hasAuthority) {
        inText.remove_prefix(2);
        parts.authority = inText.substr(0, std::min(inText.find('/'), inText.size()));
        inText.remove_prefix(parts.authority.size());
    }
    parts.path = inText;
    return parts;
}

std::string JoinURL(const URLParts& inParts) {
    std::string text(inParts.scheme);
    if (!inParts.scheme.empty()) text += ':';
    if (inParts.hasAuthority) text.append("//").append(inParts.authority);
    return text.append(inParts.path).append(inParts.query).append(inParts.fragment);
}

bool CanStandInURL(unsigned char inCharacter) {
    const char character = static_cast<char>(inCharacter);
    return IsUnreserved(character) || kReserved.find(character) != std::string_view::npos;
}

bool IsURLText(std::string_view inText) {
    for (std::size_t i = 0; i < inText.size(); ++i)
        if (!CanStandInURL(static_cast<unsigned char>(inText[i])) && ReadEscape(inText, i) < 0) return false;
    return true;
}

std::string MakeURLText(std::string_view inText) {
    std::string text;
    for (std::size_t i = 0; i < inText.size(); ++i) {
        const auto byte = static_cast<unsigned char>(inText[i]);
        if (CanStandInURL(byte) || ReadEscape(inText, i) >= 0)
            text += inText[i];
        else
            AppendEscape(byte, text);
    }
    return text;
}

std::string ResolveReference(std::string_view inBase, std::string_view inReference) {
    const URLParts base = SplitURL(inBase);
    URLParts result = SplitURL(inReference);
    std::string path;
    if (!result.scheme.empty()) return std::string(inReference);
    result.scheme = base.scheme;
    if (!result.hasAuthority) {
        result.hasAuthority = base.hasAuthority;
        result.authority = base.authority;
        if (result.path.empty()) {
            result.path = base.path;
            if (result.query.empty()) result.query = base.query;
        } else {
            path = MergePath(base, result.path);
            result.path = path;
        }
    } else {
        path = FollowDots(result.path);
        result.path = path;
    }
    return JoinURL(result);
}

void AppendEscape(unsigned char inByte, std::string& ioText) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    ioText += '%';
    ioText += kDigits[inByte >> 4];
    ioText += kDigits[inByte & 15];
}

std::string EscapePath(std::string_view inPath) {
    std::string text;
    for (const char character : inPath) {
        if (IsUnreserved(character) || kPathMarks.find(character) != std::string_view::npos)
            text += character;
        else
            AppendEscape(static_cast<unsigned char>(character), text);
    }
    return text;
}

int ReadEscape(std::string_view inText, std::size_t inIndex) {
    if (inText[inIndex] != '%' || inText.size() - inIndex < 3) return -1;
    const int high = HexValue(inText[inIndex + 1]);
    const int low = HexValue(inText[inIndex + 2]);
    return high < 0 || low < 0 ? -1 : high * 16 + low;
}

bool Unescape(std::string_view inText, std::string& outBytes) {
    outBytes.clear();
    for (std::size_t i = 0; i < inText.size(); ++i) {
        if (inText[i] != '%') {
            outBytes += inText[i];
            continue;
        }
        const int byte = ReadEscape(inText, i);
        if (byte < 0) return false;
        outBytes += static_cast<char>(byte);
        i += 2;
    }
    return true;
}

}  // namespace toolbox::corefoundation
