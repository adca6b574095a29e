#include "MPEG4Tags.h"

#include <toolbox/MovieTags.h>

#include <algorithm>
#include <string>

namespace toolbox::movies {
namespace {

constexpr std::int64_t kVersionBytes = 4;
constexpr std::int64_t kDataHeadBytes = 8;  // kind and locale in front of a value
constexpr std::int64_t kMaxTextBytes = 32 * 1024;
constexpr std::uint32_t kUTF8 = 1;  // kind of a value

struct TagName {
    OSType item;
    std::uint32_t tag;
};
constexpr TagName kTagNames[] = {{BoxType("\xA9nam"), kMovieTagTitle},
                                 {BoxType("\xA9"
                                          "ART"),
                                  kMovieTagArtist},
                                 {BoxType("\xA9"
                                          "alb"),
                                  kMovieTagAlbum},
                                 {BoxType("\xA9"
                                          "day"),
                                  kMovieTagDate},
                                 {BoxType("\xA9gen"), kMovieTagGenre},
                                 {BoxType("trkn"), kMovieTagTrackNumber},
                                 {BoxType("\xA9"
                                          "cmt"),
                                  kMovieTagComment},
                                 {BoxType("cprt"), kMovieTagCopyright},
                                 {BoxType("\xA9wrt"), kMovieTagComposer},
                                 {BoxType("\xA9too"), kMovieTagEncoder}};

// A metadata box has version and flags in MPEG-4 files and none in QuickTime files.
std::int64_t MetadataChildrenBytes(BoxFile& ioFile, const Box& inMetadata) {
    if (inMetadata.ContentSizeBytes() < 8) return inMetadata.endBytes;
    const std::uint8_t* const bytes = ioFile.At(inMetadata.contentBytes, 8);
    const bool isPlain = bytes != nullptr && os::Load32(bytes + 4) == BoxType("hdlr");
    return inMetadata.contentBytes + (isPlain ? 0 : kVersionBytes);
}

// Two numbers of 16 bits, of the track and of all, behind two bytes of nothing.
std::string TrackNumber(const std::uint8_t* inValue, std::int64_t inByteCount) {
    if (inByteCount < 4 || os::Load16(inValue + 2) == 0) return {};
    std::string text = std::to_string(os::Load16(inValue + 2));
    if (inByteCount >= 6 && os::Load16(inValue + 4) != 0)
        text += '/' + std::to_string(os::Load16(inValue + 4));
    return text;
}

std::string ValueOf(BoxFile& ioFile, const Box& inItem) {
    const Box data = FindBox(ioFile, inItem, BoxType("data"));
    if (!data.Exists() || data.ContentSizeBytes() <= kDataHeadBytes) return {};
    const std::int64_t byteCount = std::min(data.ContentSizeBytes() - kDataHeadBytes, kMaxTextBytes);
    const std::uint8_t* const bytes =
        ioFile.At(data.contentBytes, static_cast<std::size_t>(kDataHeadBytes + byteCount));
    if (bytes == nullptr) return {};
    const std::uint8_t* const value = bytes + kDataHeadBytes;
    if (inItem.type == BoxType("trkn")) return TrackNumber(value, byteCount);
    if (os::Load32(bytes) != kUTF8) return {};
    return std::string(value, std::find(value, value + byteCount, 0));
}

}  // namespace

Box FindTagList(BoxFile& ioFile, const Box& inMovie) {
    const Box userData = FindBox(ioFile, inMovie, BoxType("udta"));
    if (!userData.Exists()) return {};
    Box metadata = FindBox(ioFile, userData, BoxType("meta"));
    if (!metadata.Exists()) return {};
    metadata.contentBytes = MetadataChildrenBytes(ioFile, metadata);
    return FindBox(ioFile, metadata, BoxType("ilst"));
}

std::vector<MovieTag> ReadTags(BoxFile& ioFile, const Box& inMovie) {
    std::vector<MovieTag> tags;
    const Box list = FindTagList(ioFile, inMovie);
    if (!list.Exists()) return tags;
    BoxWalk items(ioFile, list);
    for (Box item; items.Next(item);) {
        const auto* const name =
            std::find_if(std::begin(kTagNames), std::end(kTagNames),
                         [&item](const TagName& each) { return each.item == item.type; });
        if (name == std::end(kTagNames)) continue;
        const bool isKnown = std::any_of(tags.begin(), tags.end(),
                                         [name](const MovieTag& tag) { return tag.tag == name->tag; });
        std::string text = isKnown ? std::string() : ValueOf(ioFile, item);
        if (!text.empty()) tags.push_back({name->tag, std::move(text)});
    }
    return tags;
}

}  // namespace toolbox::movies
