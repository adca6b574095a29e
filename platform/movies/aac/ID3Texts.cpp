#include "ID3Texts.h"

#include "ADTSTags.h"
#include "os/BigEndian.h"
#include "track/FileWindow.h"

#include <toolbox/MovieTags.h>

extern "C" {
#include <libavutil/common.h>
}

#include <algorithm>
#include <string>
#include <string_view>

namespace toolbox::movies {
namespace {

constexpr std::int64_t kHeaderBytes = 10;
constexpr std::size_t kMaxTextBytes = 32 * 1024;
constexpr std::size_t kLanguageBytes = 3;

// Of the tag.
constexpr std::uint8_t kUnsynchronised = 0x80;
constexpr std::uint8_t kHasExtendedHeader = 0x40;  // in version 2.2: is compressed

enum TextEncoding : std::uint8_t { kLatin1, kUTF16WithMark, kUTF16BigEndian, kUTF8 };

struct FrameName {
    std::string_view name;
    std::string_view shortName;  // of version 2.2
    std::uint32_t tag;
};
constexpr std::string_view kComment = "COMM";
constexpr std::string_view kOwnText = "TXXX";
constexpr FrameName kFrameNames[] = {
    {"TIT2", "TT2", kMovieTagTitle},       {"TPE1", "TP1", kMovieTagArtist},
    {"TALB", "TAL", kMovieTagAlbum},       {"TDRC", {}, kMovieTagDate},
    {"TYER", "TYE", kMovieTagDate},        {"TCON", "TCO", kMovieTagGenre},
    {"TRCK", "TRK", kMovieTagTrackNumber}, {kComment, "COM", kMovieTagComment},
    {kOwnText, "TXX", kMovieTagComment},   {"TCOP", "TCR", kMovieTagCopyright},
    {"TCOM", "TCM", kMovieTagComposer},    {"TSSE", "TSS", kMovieTagEncoder}};

// Seven bits in each byte.
std::uint32_t Syncsafe32(const std::uint8_t* inBytes) {
    return static_cast<std::uint32_t>(inBytes[0] & 0x7F) << 21 |
           static_cast<std::uint32_t>(inBytes[1] & 0x7F) << 14 |
           static_cast<std::uint32_t>(inBytes[2] & 0x7F) << 7 | static_cast<std::uint32_t>(inBytes[3] & 0x7F);
}

// The bytes without the zeros that were put behind 0xFF, so that no sync word arises.
std::string Synchronised(std::string_view inBytes) {
    std::string bytes;
    for (std::size_t at = 0; at < inBytes.size(); ++at) {
        bytes += inBytes[at];
        const bool isFollowed = at + 1 < inBytes.size() && inBytes[at + 1] == '\0';
        if (static_cast<std::uint8_t>(inBytes[at]) == 0xFF && isFollowed) ++at;
    }
    return bytes;
}

// A frame's texts, each ended by a NUL or by the frame.
class TextReader {
  public:
    TextReader(std::string_view inBytes, std::uint8_t inEncoding) : mBytes(inBytes), mEncoding(inEncoding) {}

    std::string Next() {
        switch (mEncoding) {
            case kUTF16WithMark:
            case kUTF16BigEndian:
                return NextWide();
            default:
                return NextNarrow();
        }
    }

  private:
    std::string NextNarrow() {
        const std::string_view text = mBytes.substr(0, mBytes.find('\0'));
        mBytes.remove_prefix(std::min(text.size() + 1, mBytes.size()));
        if (mEncoding == kUTF8) return std::string(text);
        std::string latin;
        for (const char byte : text)
            Add(static_cast<std::uint8_t>(byte), latin);
        return latin;
    }

    // Empty from a half of a pair on that has no other half.
    std::string NextWide() {
        if (mEncoding == kUTF16WithMark && mBytes.size() >= 2) {
            mIsLittleEndian = mBytes.substr(0, 2) == "\xFF\xFE";
            if (mIsLittleEndian || mBytes.substr(0, 2) == "\xFE\xFF") mBytes.remove_prefix(2);
        }
        std::string text;
        while (mBytes.size() >= 2) {
            std::uint32_t code = 0;
            GET_UTF16(code, NextUnit(), return {};)
            if (code == 0) break;
            Add(code, text);
        }
        return text;
    }

    std::uint16_t NextUnit() {
        if (mBytes.size() < 2) return 0;
        const auto first = static_cast<std::uint8_t>(mBytes[0]);
        const auto second = static_cast<std::uint8_t>(mBytes[1]);
        mBytes.remove_prefix(2);
        return static_cast<std::uint16_t>(mIsLittleEndian ? second << 8 | first : first << 8 | second);
    }

    static void Add(std::uint32_t inCode, std::string& ioText) {
        std::uint8_t byte = 0;
        PUT_UTF8(inCode, byte, ioText += static_cast<char>(byte);)
    }

    std::string_view mBytes;
    std::uint8_t mEncoding;
    bool mIsLittleEndian = false;
};

struct Frame {
    std::string name;
    std::uint8_t flags = 0;  // those of its form
    std::size_t byteCount = 0;
};

class TagReader {
  public:
    TagReader(FileWindow& ioWindow, std::int64_t inOffset, std::int64_t inByteCount)
        : mWindow(ioWindow), mAt(inOffset + kHeaderBytes), mEnd(inOffset + inByteCount) {
        const std::uint8_t* const header = mWindow.At(inOffset, kHeaderBytes);
        if (header == nullptr) return;
        mVersion = header[3];
        mFlags = header[5];
    }

    void AddTexts(std::vector<MovieTag>& ioTags) {
        if (mVersion < 2 || mVersion > 4 || !PassExtendedHeader()) return;
        for (Frame frame; NextFrame(frame);) {
            const auto* const name = NameOf(frame);
            std::string content;
            const bool isTaken = name != nullptr && frame.byteCount <= kMaxTextBytes;
            if (!Take(frame.byteCount, isTaken ? &content : nullptr)) return;
            if (!isTaken || !OpenContent(frame, content)) continue;
            const bool isKnown = std::any_of(ioTags.begin(), ioTags.end(),
                                             [name](const MovieTag& each) { return each.tag == name->tag; });
            std::string text = isKnown ? std::string() : TextOf(*name, content);
            if (!text.empty()) ioTags.push_back({name->tag, std::move(text)});
        }
    }

  private:
    // False when the tag has fewer bytes left.
    bool Take(std::size_t inCount, std::string* outBytes) {
        const bool isUnsynchronised = mVersion < 4 && (mFlags & kUnsynchronised) != 0;
        if (!isUnsynchronised && outBytes == nullptr) {
            mAt += static_cast<std::int64_t>(inCount);
            return mAt <= mEnd;
        }
        for (; inCount > 0; --inCount) {
            const std::uint8_t* const byte = mAt < mEnd ? mWindow.At(mAt, 1) : nullptr;
            if (byte == nullptr) return false;
            ++mAt;
            if (outBytes != nullptr) *outBytes += static_cast<char>(*byte);
            if (!isUnsynchronised || *byte != 0xFF || mAt == mEnd) continue;
            const std::uint8_t* const next = mWindow.At(mAt, 1);
            if (next != nullptr && *next == 0) ++mAt;
        }
        return true;
    }

    bool PassExtendedHeader() {
        if ((mFlags & kHasExtendedHeader) == 0) return true;
        std::string size;
        if (mVersion == 2 || !Take(4, &size)) return false;
        const auto* const bytes = reinterpret_cast<const std::uint8_t*>(size.data());
        if (mVersion == 3) return Take(os::Load32(bytes), nullptr);
        const std::uint32_t byteCount = Syncsafe32(bytes);  // with itself
        return byteCount >= 4 && Take(byteCount - 4, nullptr);
    }

    // False at the end, which padding may stand before.
    bool NextFrame(Frame& outFrame) {
        std::string header;
        if (!Take(mVersion == 2 ? 6 : 10, &header) || header[0] == '\0') return false;
        const auto* const bytes = reinterpret_cast<const std::uint8_t*>(header.data());
        if (mVersion == 2) {
            outFrame = {header.substr(0, 3), 0, os::Load32(bytes + 2) & 0xFFFFFF};
        } else {
            outFrame = {header.substr(0, 4), bytes[9],
                        mVersion == 3 ? os::Load32(bytes + 4) : Syncsafe32(bytes + 4)};
        }
        return true;
    }

    const FrameName* NameOf(const Frame& inFrame) const {
        const auto* const name =
            std::find_if(std::begin(kFrameNames), std::end(kFrameNames), [&](const FrameName& inEach) {
                return inFrame.name == (mVersion == 2 ? inEach.shortName : inEach.name);
            });
        return name == std::end(kFrameNames) ? nullptr : name;
    }

    // Takes off what stands around a frame's content; false when that cannot be read.
    bool OpenContent(const Frame& inFrame, std::string& ioContent) const {
        struct Form {
            std::uint8_t grouped, packed, unsynchronised, counted;
        };
        constexpr Form kForms[] = {{0, 0, 0, 0}, {0x20, 0xC0, 0, 0}, {0x40, 0x0C, 0x02, 0x01}};
        const Form& form = kForms[mVersion - 2];
        if ((inFrame.flags & form.packed) != 0) return false;
        if ((inFrame.flags & form.unsynchronised) != 0) ioContent = Synchronised(ioContent);
        const std::size_t headBytes =
            ((inFrame.flags & form.grouped) != 0 ? 1U : 0U) + ((inFrame.flags & form.counted) != 0 ? 4U : 0U);
        if (ioContent.size() <= headBytes) return false;
        ioContent.erase(0, headBytes);
        return true;
    }

    // Some comments are none: programs keep numbers of their own in such that have a description.
    static std::string TextOf(const FrameName& inName, std::string_view inContent) {
        const auto encoding = static_cast<std::uint8_t>(inContent[0]);
        inContent.remove_prefix(1);
        if (inName.name == kComment) inContent.remove_prefix(std::min(kLanguageBytes, inContent.size()));
        TextReader texts(inContent, encoding);
        if (inName.name == kComment && !texts.Next().empty()) return {};
        if (inName.name == kOwnText && texts.Next() != "comment") return {};
        return texts.Next();
    }

    FileWindow& mWindow;
    std::int64_t mAt;
    std::int64_t mEnd;
    std::uint8_t mVersion = 0;
    std::uint8_t mFlags = 0;
};

}  // namespace

std::vector<MovieTag> ReadID3Texts(const MediaFile& inFile) {
    std::vector<MovieTag> tags;
    FileWindow window(inFile);
    std::int64_t offset = 0;
    while (const std::int64_t tagBytes = ID3v2Bytes(window, offset)) {
        TagReader(window, offset, tagBytes).AddTexts(tags);
        offset += tagBytes;
    }
    return tags;
}

}  // namespace toolbox::movies
