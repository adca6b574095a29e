#include "names/CatalogueNames.h"

#include "corefoundation/CaselessText.h"

#include <algorithm>
#include <cassert>

namespace toolbox::files {

namespace {

constexpr char16_t kByteRange = 0xF700;  // and the byte, which is 0x80 or more
constexpr char16_t kFirstOfBytes = 0xF780;
constexpr char16_t kLastOfBytes = 0xF7FF;

bool StandsForByte(char32_t inCharacter) {
    return inCharacter >= kFirstOfBytes && inCharacter <= kLastOfBytes;
}

bool IsLeadSurrogate(char32_t inUnit) {
    return inUnit >= 0xD800 && inUnit < 0xDC00;
}

bool IsTrailSurrogate(char32_t inUnit) {
    return inUnit >= 0xDC00 && inUnit < 0xE000;
}

// The character's byte count in well-formed UTF-8 at the start of inBytes, which are not empty; 0 when they
// are none.
std::size_t DecodeOne(std::string_view inBytes, char32_t& outCharacter) {
    assert(!inBytes.empty());
    const auto lead = static_cast<UInt8>(inBytes[0]);
    if (lead < 0x80) return outCharacter = lead, 1;
    const std::size_t count = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || inBytes.size() < count) return 0;
    char32_t character = lead & (0xFFU >> (count + 1));
    for (std::size_t i = 1; i < count; ++i) {
        if ((inBytes[i] & 0xC0) != 0x80) return 0;
        character = character << 6 | (inBytes[i] & 0x3F);
    }
    constexpr char32_t kFirstOfCount[] = {0, 0, 0x80, 0x800, 0x10000};
    if (character < kFirstOfCount[count] || character > 0x10FFFF) return 0;
    if (IsLeadSurrogate(character) || IsTrailSurrogate(character)) return 0;
    outCharacter = character;
    return count;
}

char16_t UnitOfASCII(char inByte) {
    return static_cast<char16_t>(inByte == ':' ? '/' : inByte);
}

void AppendUTF16(std::u16string& ioText, char32_t inCharacter) {
    if (inCharacter < 0x10000) {
        ioText += static_cast<char16_t>(inCharacter);
        return;
    }
    ioText += static_cast<char16_t>(0xD7C0 + (inCharacter >> 10));
    ioText += static_cast<char16_t>(0xDC00 | (inCharacter & 0x3FF));
}

void AppendUTF8(std::string& ioBytes, char32_t inCharacter) {
    const auto add = [&ioBytes](char32_t inByte) { ioBytes += static_cast<char>(inByte); };
    if (inCharacter < 0x80) return add(inCharacter);
    if (inCharacter < 0x800) {
        add(0xC0 | inCharacter >> 6);
    } else if (inCharacter < 0x10000) {
        add(0xE0 | inCharacter >> 12);
        add(0x80 | (inCharacter >> 6 & 0x3F));
    } else {
        add(0xF0 | inCharacter >> 18);
        add(0x80 | (inCharacter >> 12 & 0x3F));
        add(0x80 | (inCharacter >> 6 & 0x3F));
    }
    add(0x80 | (inCharacter & 0x3F));
}

}  // namespace

// Most names are ASCII, as far as they go.
std::u16string CatalogueName(std::string_view inDiskName) {
    const auto isASCII = [](char inByte) { return static_cast<UInt8>(inByte) < 0x80; };
    const auto asciiEnd = std::find_if_not(inDiskName.begin(), inDiskName.end(), isASCII);
    std::u16string name(inDiskName.size(), u'\0');
    const auto nameEnd = std::transform(inDiskName.begin(), asciiEnd, name.begin(), UnitOfASCII);
    name.erase(nameEnd, name.end());
    inDiskName.remove_prefix(name.size());
    while (!inDiskName.empty()) {
        char32_t character = 0;
        const std::size_t count = DecodeOne(inDiskName, character);
        if (count == 0 || StandsForByte(character)) {
            name += static_cast<char16_t>(kByteRange | static_cast<UInt8>(inDiskName[0]));
            inDiskName.remove_prefix(1);
            continue;
        }
        AppendUTF16(name, character == ':' ? U'/' : character);
        inDiskName.remove_prefix(count);
    }
    return name;
}

std::u16string FoldedName(std::u16string_view inCatalogueName) {
    return corefoundation::CaselessText(inCatalogueName);
}

// Of ASCII only letters and the one sign have another form.
void FoldDiskName(std::string_view inDiskName, std::u16string& outFolded) {
    outFolded.resize(inDiskName.size());
    for (std::size_t i = 0; i < inDiskName.size(); ++i) {
        const auto byte = static_cast<UInt8>(inDiskName[i]);
        if (byte >= 0x80) {
            outFolded = FoldedName(CatalogueName(inDiskName));
            return;
        }
        const bool isCapital = byte >= 'A' && byte <= 'Z';
        outFolded[i] = static_cast<char16_t>(isCapital ? byte + ('a' - 'A') : byte == ':' ? '/' : byte);
    }
}

bool IsSameName(std::u16string_view inLeft, std::u16string_view inRight) {
    return FoldedName(inLeft) == FoldedName(inRight);
}

void SetUniStr(std::u16string_view inCatalogueName, HFSUniStr255& outName) {
    outName.length = static_cast<UInt16>(std::min(inCatalogueName.size(), kMaxNameUnits));
    std::copy_n(inCatalogueName.begin(), outName.length, outName.unicode);
}

bool IsASCIIName(std::string_view inDiskName) {
    unsigned bits = 0;
    for (const char byte : inDiskName)
        bits |= static_cast<UInt8>(byte);
    return !inDiskName.empty() && bits < 0x80;
}

void SetASCIIName(std::string_view inDiskName, HFSUniStr255& outName) {
    outName.length = static_cast<UInt16>(std::min(inDiskName.size(), kMaxNameUnits));
    std::transform(inDiskName.begin(), inDiskName.begin() + outName.length, outName.unicode, UnitOfASCII);
}

bool DiskName(std::u16string_view inCatalogueName, std::string& outDiskName) {
    outDiskName.clear();
    for (std::size_t i = 0; i < inCatalogueName.size(); ++i) {
        char32_t character = inCatalogueName[i];
        if (character == 0 || IsTrailSurrogate(character)) return false;
        if (IsLeadSurrogate(character)) {
            if (++i == inCatalogueName.size() || !IsTrailSurrogate(inCatalogueName[i])) return false;
            character = ((character & 0x3FF) << 10 | (inCatalogueName[i] & 0x3FF)) + 0x10000;
        }
        if (StandsForByte(character))
            outDiskName += static_cast<char>(character & 0xFF);
        else
            AppendUTF8(outDiskName, character == '/' ? U':' : character);
    }
    return !outDiskName.empty() && outDiskName != "." && outDiskName != "..";
}

}  // namespace toolbox::files
