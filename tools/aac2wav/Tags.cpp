#include "Tags.h"

#include "Printable.h"

#include <toolbox/MovieTags.h>

#include <cstdint>

namespace tool {
namespace {

struct TagName {
    UInt32 tag;
    const char* chunk;
};
constexpr TagName kTagNames[] = {{kMovieTagTitle, "INAM"},    {kMovieTagArtist, "IART"},
                                 {kMovieTagAlbum, "IPRD"},    {kMovieTagDate, "ICRD"},
                                 {kMovieTagGenre, "IGNR"},    {kMovieTagTrackNumber, "ITRK"},
                                 {kMovieTagComment, "ICMT"},  {kMovieTagCopyright, "ICOP"},
                                 {kMovieTagComposer, "IMUS"}, {kMovieTagEncoder, "ISFT"}};

std::string LittleEndian32(std::size_t inNumber) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8)
        bytes += static_cast<char>(inNumber >> shift & 0xFF);
    return bytes;
}

// The size tells the content alone; what follows begins at an even offset.
std::string Chunk(const char* inName, const std::string& inContent) {
    const std::string padding(inContent.size() % 2, '\0');
    return inName + LittleEndian32(inContent.size()) + inContent + padding;
}

void Add(unsigned char* ioNumber, int inByteCount, std::uint64_t inAddend) {
    for (int at = 0; at < inByteCount; ++at) {
        inAddend += ioNumber[at];
        ioNumber[at] = static_cast<unsigned char>(inAddend & 0xFF);
        inAddend >>= 8;
    }
}

}  // namespace

std::string TagChunk(Movie inMovie) {
    std::string content = "INFO";
    const std::size_t emptyBytes = content.size();
    for (const TagName& each : kTagNames) {
        const char* const text = GetMovieTag(inMovie, each.tag);
        if (text == nullptr || !IsUTF8(text)) continue;
        // The text ends with a NUL, which counts.
        content += Chunk(each.chunk, std::string(text) + '\0');
    }
    return content.size() == emptyBytes ? std::string() : Chunk("LIST", content);
}

void CountTagChunk(unsigned char* ioHeader, std::size_t inChunkBytes, bool inIsRF64) {
    constexpr std::size_t kSizeOffset = 4;
    constexpr std::size_t kLongSizeOffset = 20;
    inIsRF64 ? Add(ioHeader + kLongSizeOffset, 8, inChunkBytes)
             : Add(ioHeader + kSizeOffset, 4, inChunkBytes);
}

}  // namespace tool
