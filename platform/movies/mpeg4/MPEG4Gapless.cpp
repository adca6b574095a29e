#include "MPEG4Gapless.h"

#include "MPEG4Tags.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace toolbox::movies {
namespace {

constexpr std::int64_t kVersionBytes = 4;
constexpr std::int64_t kDataHeadBytes = 8;   // kind and locale in front of a value
constexpr std::int64_t kMaxTextBytes = 512;  // what follows the numbers we take is of no interest

int DigitOf(char inCharacter) {
    if (inCharacter >= '0' && inCharacter <= '9') return inCharacter - '0';
    if (inCharacter >= 'a' && inCharacter <= 'f') return inCharacter - 'a' + 10;
    if (inCharacter >= 'A' && inCharacter <= 'F') return inCharacter - 'A' + 10;
    return -1;
}

bool IsSpace(char inCharacter) {
    return inCharacter == ' ' || (inCharacter >= '\t' && inCharacter <= '\r');
}

// Takes a number of up to 16 digits from the front of the text, and the spaces before it.
bool TakeNumber(std::string_view& ioText, std::uint64_t& outNumber) {
    while (!ioText.empty() && IsSpace(ioText.front()))
        ioText.remove_prefix(1);
    std::uint64_t number = 0;
    std::size_t digits = 0;
    for (; digits < ioText.size() && DigitOf(ioText[digits]) >= 0; ++digits)
        number = number << 4 | static_cast<std::uint64_t>(DigitOf(ioText[digits]));
    const bool ends = digits == ioText.size() || IsSpace(ioText[digits]) || ioText[digits] == '\0';
    if (digits == 0 || digits > 16 || !ends) return false;
    ioText.remove_prefix(digits);
    outNumber = number;
    return true;
}

bool TextEquals(BoxFile& ioFile, std::int64_t inStartBytes, std::int64_t inEndBytes,
                std::string_view inText) {
    if (inEndBytes - inStartBytes != static_cast<std::int64_t>(inText.size())) return false;
    const std::uint8_t* const bytes = ioFile.At(inStartBytes, inText.size());
    return bytes != nullptr && std::memcmp(bytes, inText.data(), inText.size()) == 0;
}

// One free-form item: a box with a name and a value.
bool ReadItem(BoxFile& ioFile, const Box& inItem, GaplessTag& outTag) {
    const Box name = FindBox(ioFile, inItem, BoxType("name"));
    if (!name.Exists() || !TextEquals(ioFile, name.contentBytes + kVersionBytes, name.endBytes, "iTunSMPB"))
        return false;
    const Box data = FindBox(ioFile, inItem, BoxType("data"));
    if (!data.Exists() || data.ContentSizeBytes() <= kDataHeadBytes) return false;
    const std::int64_t textBytes = std::min(data.ContentSizeBytes() - kDataHeadBytes, kMaxTextBytes);
    const std::uint8_t* const text =
        ioFile.At(data.contentBytes + kDataHeadBytes, static_cast<std::size_t>(textBytes));
    if (text == nullptr) return false;
    // Bytes are looked at as characters: any value may be there.
    return ParseGaplessTag(reinterpret_cast<const char*>(text), static_cast<std::size_t>(textBytes), outTag);
}

}  // namespace

bool ParseGaplessTag(const char* inText, std::size_t inByteCount, GaplessTag& outTag) {
    std::string_view text(inText, inByteCount);
    std::uint64_t first = 0;
    std::uint64_t delay = 0;
    std::uint64_t padding = 0;
    std::uint64_t length = 0;
    if (!TakeNumber(text, first) || !TakeNumber(text, delay) || !TakeNumber(text, padding)) return false;
    if (delay > UINT32_MAX || padding > UINT32_MAX) return false;
    if (!TakeNumber(text, length)) length = 0;
    outTag = {static_cast<std::uint32_t>(delay), static_cast<std::uint32_t>(padding), length};
    return true;
}

bool FindGaplessTag(BoxFile& ioFile, const Box& inMovie, GaplessTag& outTag) {
    const Box list = FindTagList(ioFile, inMovie);
    if (!list.Exists()) return false;
    BoxWalk items(ioFile, list);
    for (Box item; items.Next(item);)
        if (item.type == BoxType("----") && ReadItem(ioFile, item, outTag)) return true;
    return false;
}

bool ApplyGaplessTag(const GaplessTag& inTag, std::int64_t inMediaFrames, std::uint32_t inOutputRatio,
                     GaplessTrim& outTrim) {
    std::int64_t start = inTag.delayFrames;
    std::int64_t padding = inTag.paddingFrames;
    // A length that does not even fit the media is none.
    std::int64_t sound = inTag.soundFrames <= static_cast<std::uint64_t>(inMediaFrames)
                             ? static_cast<std::int64_t>(inTag.soundFrames)
                             : 0;
    const bool countsCore = inOutputRatio > 1 && (start + padding + sound) * inOutputRatio == inMediaFrames;
    if (countsCore) {
        start *= inOutputRatio;
        padding *= inOutputRatio;
        sound *= inOutputRatio;
    }
    if (sound == 0 || sound > inMediaFrames - start) sound = inMediaFrames - start - padding;
    if (sound <= 0 || sound == inMediaFrames) return false;
    outTrim = {start, sound};
    return true;
}

}  // namespace toolbox::movies
