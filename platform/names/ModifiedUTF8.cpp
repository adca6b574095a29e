#include "names/ModifiedUTF8.h"

#include <cstddef>
#include <cstdint>

namespace toolbox::files {

namespace {

constexpr std::size_t kSurrogateBytes = 3;

std::uint32_t ByteAt(std::string_view inText, std::size_t inOffset) {
    return static_cast<unsigned char>(inText[inOffset]);
}

// Whether a surrogate starts at inOffset whose second byte has the high four bits inSecondNibble: A for the
// high surrogate of a pair, B for the low.
bool IsSurrogateAt(std::string_view inText, std::size_t inOffset, std::uint32_t inSecondNibble) {
    if (inText.size() - inOffset < kSurrogateBytes) return false;
    return ByteAt(inText, inOffset) == 0xED && ByteAt(inText, inOffset + 1) >> 4 == inSecondNibble &&
           ByteAt(inText, inOffset + 2) >> 6 == 2;
}

// The ten bits that a surrogate carries.
std::uint32_t PayloadAt(std::string_view inText, std::size_t inOffset) {
    return (ByteAt(inText, inOffset + 1) & 0x0F) << 6 | (ByteAt(inText, inOffset + 2) & 0x3F);
}

}  // namespace

std::string JoinSurrogatePairs(std::string_view inText) {
    std::string joined;
    joined.reserve(inText.size());
    std::size_t at = 0;
    while (at < inText.size()) {
        if (!IsSurrogateAt(inText, at, 0xA) || !IsSurrogateAt(inText, at + kSurrogateBytes, 0xB)) {
            joined += inText[at++];
            continue;
        }
        const std::uint32_t codePoint =
            0x10000 + (PayloadAt(inText, at) << 10 | PayloadAt(inText, at + kSurrogateBytes));
        joined += static_cast<char>(0xF0 | codePoint >> 18);
        joined += static_cast<char>(0x80 | (codePoint >> 12 & 0x3F));
        joined += static_cast<char>(0x80 | (codePoint >> 6 & 0x3F));
        joined += static_cast<char>(0x80 | (codePoint & 0x3F));
        at += 2 * kSurrogateBytes;
    }
    return joined;
}

}  // namespace toolbox::files
