#include "Promise.h"

#include "os/BigEndian.h"

#include <toolbox/MacErrors.h>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <string_view>
#include <vector>

namespace toolbox::movies::general {

namespace {

// A file of so many chunks is damaged in other ways; it is not walked through for this.
constexpr int kMaxChunks = 1 << 20;

// The file's bytes as numbers. What lies beyond its end reads as 0.
class Bytes {
  public:
    explicit Bytes(const ByteSource& inSource) : mSource(inSource) {}

    std::int64_t Size() const { return mSource.SizeBytes(); }
    bool Copy(std::int64_t inOffset, void* outBytes, std::size_t inCount) const {
        std::memset(outBytes, 0, inCount);
        std::size_t read = 0;
        return inOffset >= 0 && mSource.ReadAt(inOffset, outBytes, inCount, &read) == noErr &&
               read == inCount;
    }
    std::uint64_t Big(std::int64_t inOffset, std::size_t inCount) const {
        std::array<std::uint8_t, 8> bytes;
        Copy(inOffset, bytes.data(), inCount);
        return os::LoadNumber(bytes.data(), inCount);
    }
    std::uint64_t Little(std::int64_t inOffset, std::size_t inCount) const {
        std::array<std::uint8_t, 8> bytes;
        Copy(inOffset, bytes.data(), inCount);
        std::uint64_t value = 0;
        for (std::size_t i = inCount; i-- > 0;)
            value = value << 8 | bytes[i];
        return value;
    }
    bool Is(std::int64_t inOffset, std::string_view inText) const {
        std::array<char, 16> bytes;
        return Copy(inOffset, bytes.data(), inText.size()) &&
               std::string_view(bytes.data(), inText.size()) == inText;
    }
    // Whether a part that is told to have so many bytes ends behind the file's end. inUnknown: all ones in
    // the width of the field.
    bool Lacks(std::int64_t inOffset, std::uint64_t inSizeBytes, std::uint64_t inUnknown) const {
        if (inSizeBytes == 0 || inSizeBytes == inUnknown) return false;
        return inOffset > Size() || inSizeBytes > static_cast<std::uint64_t>(Size() - inOffset);
    }

  private:
    const ByteSource& mSource;
};

constexpr std::uint64_t kAllOnes32 = 0xFFFFFFFF;
constexpr std::uint64_t kAllOnes64 = ~std::uint64_t{0};

// Where the next chunk begins; the file's end where that is nowhere.
std::int64_t After(const Bytes& inBytes, std::int64_t inContent, std::uint64_t inSizeBytes,
                   std::uint64_t inAlignment) {
    if (inSizeBytes > static_cast<std::uint64_t>(inBytes.Size())) return inBytes.Size();
    const std::uint64_t padded = (inSizeBytes + inAlignment - 1) / inAlignment * inAlignment;
    return std::min(inContent + static_cast<std::int64_t>(padded), inBytes.Size());
}

// RIFF, QCP's as well, and RIFX with its numbers the other way round. In RF64 and BW64 a "ds64" chunk in
// front has the sizes that do not fit 32 bits: of the file, then of the data.
bool IsWaveCut(const Bytes& inBytes) {
    const bool isBig = inBytes.Is(0, "RIFX");
    std::uint64_t largeDataBytes = 0;
    std::int64_t chunk = 12;
    for (int count = 0; count < kMaxChunks && chunk + 8 <= inBytes.Size(); ++count) {
        const std::uint64_t sizeBytes = isBig ? inBytes.Big(chunk + 4, 4) : inBytes.Little(chunk + 4, 4);
        if (inBytes.Is(chunk, "ds64")) largeDataBytes = inBytes.Little(chunk + 16, 8);
        if (inBytes.Is(chunk, "data")) {
            const bool isLarge = sizeBytes == kAllOnes32 && largeDataBytes != 0;
            return isLarge ? inBytes.Lacks(chunk + 8, largeDataBytes, kAllOnes64)
                           : inBytes.Lacks(chunk + 8, sizeBytes, kAllOnes32);
        }
        chunk = After(inBytes, chunk + 8, sizeBytes, 2);
    }
    return false;
}

// Chunks named by 16 bytes, of which the first four say it; their size counts the 24 bytes of their head.
bool IsWave64Cut(const Bytes& inBytes) {
    constexpr std::int64_t kHeadBytes = 24;
    std::int64_t chunk = 40;
    for (int count = 0; count < kMaxChunks && chunk + kHeadBytes <= inBytes.Size(); ++count) {
        const std::uint64_t sizeBytes = inBytes.Little(chunk + 16, 8);
        if (inBytes.Is(chunk, "data")) return inBytes.Lacks(chunk, sizeBytes, kAllOnes64);
        if (sizeBytes < kHeadBytes) return false;
        chunk = After(inBytes, chunk, sizeBytes, 8);
    }
    return false;
}

// FORM with its chunks: AIFF, AIFF-C ("SSND") and 8SVX ("BODY").
bool IsFormCut(const Bytes& inBytes) {
    std::int64_t chunk = 12;
    for (int count = 0; count < kMaxChunks && chunk + 8 <= inBytes.Size(); ++count) {
        const std::uint64_t sizeBytes = inBytes.Big(chunk + 4, 4);
        if (inBytes.Is(chunk, "SSND") || inBytes.Is(chunk, "BODY"))
            return inBytes.Lacks(chunk + 8, sizeBytes, kAllOnes32);
        chunk = After(inBytes, chunk + 8, sizeBytes, 2);
    }
    return false;
}

bool IsCoreAudioCut(const Bytes& inBytes) {
    constexpr std::int64_t kHeadBytes = 12;
    std::int64_t chunk = 8;
    for (int count = 0; count < kMaxChunks && chunk + kHeadBytes <= inBytes.Size(); ++count) {
        const std::uint64_t sizeBytes = inBytes.Big(chunk + 4, 8);
        if (inBytes.Is(chunk, "data")) return inBytes.Lacks(chunk + kHeadBytes, sizeBytes, kAllOnes64);
        chunk = After(inBytes, chunk + kHeadBytes, sizeBytes, 1);
    }
    return false;
}

bool IsSunCut(const Bytes& inBytes) {
    return inBytes.Lacks(static_cast<std::int64_t>(inBytes.Big(4, 4)), inBytes.Big(8, 4), kAllOnes32);
}

// The list of packets, "movi", of each RIFF: a file of more than a gigabyte has several.
bool IsVideoInterleaveCut(const Bytes& inBytes) {
    std::int64_t chunk = 0;
    for (int count = 0; count < kMaxChunks && chunk + 12 <= inBytes.Size(); ++count) {
        const std::uint64_t sizeBytes = inBytes.Little(chunk + 4, 4);
        if (inBytes.Is(chunk, "RIFF")) {
            chunk += 12;  // into it
            continue;
        }
        if (inBytes.Is(chunk, "LIST") && inBytes.Is(chunk + 8, "movi") &&
            inBytes.Lacks(chunk + 8, sizeBytes, kAllOnes32))
            return true;
        chunk = After(inBytes, chunk + 8, sizeBytes, 2);
    }
    return false;
}

// Blocks behind each other, the last of them without a size. Where that is missing, none is known to be.
bool IsVoiceCut(const Bytes& inBytes) {
    constexpr std::uint64_t kUnknown = 0xFFFFFF;
    auto block = static_cast<std::int64_t>(inBytes.Little(20, 2));
    for (int count = 0; count < kMaxChunks && block + 4 <= inBytes.Size(); ++count) {
        const std::uint64_t sizeBytes = inBytes.Little(block + 1, 3);
        if (inBytes.Big(block, 1) == 0) return false;
        if (inBytes.Lacks(block + 4, sizeBytes, kUnknown)) return true;
        block = After(inBytes, block + 4, sizeBytes, 1);
    }
    return false;
}

bool IsDirectStreamCut(const Bytes& inBytes) {
    std::int64_t chunk = 28;
    for (int count = 0; count < kMaxChunks && chunk + 12 <= inBytes.Size(); ++count) {
        const std::uint64_t sizeBytes = inBytes.Little(chunk + 4, 8);
        if (inBytes.Is(chunk, "data")) return inBytes.Lacks(chunk, sizeBytes, kAllOnes64);
        if (sizeBytes < 12) return false;
        chunk = After(inBytes, chunk, sizeBytes, 1);
    }
    return false;
}

// The data object; a broadcast's has no size.
bool IsAdvancedSystemsCut(const Bytes& inBytes) {
    constexpr std::string_view kData("\x36\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C", 16);
    std::int64_t object = 0;
    for (int count = 0; count < kMaxChunks && object + 24 <= inBytes.Size(); ++count) {
        const std::uint64_t sizeBytes = inBytes.Little(object + 16, 8);
        if (inBytes.Is(object, kData)) return inBytes.Lacks(object, sizeBytes, kAllOnes64);
        if (sizeBytes < 24) return false;
        object = After(inBytes, object, sizeBytes, 1);
    }
    return false;
}

// An element's head: the number of leading zeros of the first byte tells the width of the id, and of the
// size, where that bit is no part of the number and a size of ones alone is unknown.
struct Element {
    std::uint64_t id = 0;
    std::uint64_t sizeBytes = 0;
    bool isSizeKnown = false;
    std::int64_t content = 0;
};

bool ReadElement(const Bytes& inBytes, std::int64_t inOffset, Element& outElement) {
    const auto idBytes = std::countl_zero(static_cast<std::uint8_t>(inBytes.Big(inOffset, 1))) + 1;
    if (idBytes > 4) return false;
    outElement.id = inBytes.Big(inOffset, static_cast<std::size_t>(idBytes));
    const std::int64_t size = inOffset + idBytes;
    const auto sizeBytes = std::countl_zero(static_cast<std::uint8_t>(inBytes.Big(size, 1))) + 1;
    if (sizeBytes > 8 || size + sizeBytes > inBytes.Size()) return false;
    const std::uint64_t ones = (std::uint64_t{1} << (7 * sizeBytes)) - 1;
    outElement.sizeBytes = inBytes.Big(size, static_cast<std::size_t>(sizeBytes)) & ones;
    outElement.isSizeKnown = outElement.sizeBytes != ones;
    outElement.content = size + sizeBytes;
    return true;
}

// Clusters hold the sound. Behind the last of them come an index and tags, which are not missed.
bool IsMatroskaCut(const Bytes& inBytes) {
    constexpr std::uint64_t kSegment = 0x18538067;
    constexpr std::uint64_t kCluster = 0x1F43B675;
    Element element;
    std::int64_t offset = 0;
    bool isSegmentCut = false;
    bool isLastCluster = false;
    for (int count = 0; count < kMaxChunks && offset < inBytes.Size(); ++count) {
        if (!ReadElement(inBytes, offset, element)) break;
        const bool lacks =
            element.isSizeKnown && inBytes.Lacks(element.content, element.sizeBytes, kAllOnes64);
        if (element.id == kSegment) {
            isSegmentCut = lacks;
            offset = element.content;
            continue;
        }
        isLastCluster = element.id == kCluster;
        if (lacks) return isLastCluster;
        if (!element.isSizeKnown) return false;  // recorded live
        offset = After(inBytes, element.content, element.sizeBytes, 1);
    }
    return isSegmentCut && isLastCluster;
}

// The last page says that it is the last, and tells in a table how long its pieces are.
bool IsOggCut(const Bytes& inBytes) {
    constexpr std::int64_t kHeadBytes = 27;
    constexpr std::int64_t kMaxPageBytes = kHeadBytes + 255 + 255 * 255;
    const std::int64_t start = std::max<std::int64_t>(inBytes.Size() - kMaxPageBytes, 0);
    std::vector<char> tail(static_cast<std::size_t>(inBytes.Size() - start));
    if (!inBytes.Copy(start, tail.data(), tail.size())) return false;
    const std::size_t found = std::string_view(tail.data(), tail.size()).rfind("OggS");
    if (found == std::string_view::npos) return false;
    const std::int64_t page = start + static_cast<std::int64_t>(found);
    const auto pieceCount = static_cast<std::int64_t>(inBytes.Big(page + 26, 1));
    std::int64_t end = page + kHeadBytes + pieceCount;
    for (std::int64_t piece = 0; piece < pieceCount; ++piece)
        end += static_cast<std::int64_t>(inBytes.Big(page + kHeadBytes + piece, 1));
    const bool isLast = (inBytes.Big(page + 5, 1) & 0x04) != 0;
    return !isLast || end > inBytes.Size();
}

// The samples that STREAMINFO tells in its last 36 bits before the checksum.
bool IsFLACCut(const AVStream& inStream, const FoundSound& inFound) {
    constexpr int kStreamInfoBytes = 34;
    const AVCodecParameters& parameters = *inStream.codecpar;
    if (parameters.extradata_size < kStreamInfoBytes) return false;
    const std::uint64_t total = os::LoadNumber(parameters.extradata + 13, 5) & 0xF'FFFF'FFFF;
    return inFound.frameCount < static_cast<std::int64_t>(total);
}

// How many frames of its codec a Xing, Info or VBRI header tells, 0 when there is none.
std::uint64_t PromisedLayerFrames(const Bytes& inBytes) {
    std::int64_t frame = 0;
    while (inBytes.Is(frame, "ID3")) {
        std::int64_t tagBytes = 0;
        for (int i = 6; i < 10; ++i)
            tagBytes = tagBytes << 7 | static_cast<std::int64_t>(inBytes.Big(frame + i, 1) & 0x7F);
        const bool hasFooter = (inBytes.Big(frame + 5, 1) & 0x10) != 0;
        frame += 10 + tagBytes + (hasFooter ? 10 : 0);
    }
    const std::uint64_t head = inBytes.Big(frame, 4);
    if ((head & 0xFFE00000) != 0xFFE00000) return 0;
    const bool isVersion1 = (head & 0x00180000) == 0x00180000;
    const bool isMono = (head & 0xC0) == 0xC0;
    const std::int64_t sideBytes = isVersion1 ? (isMono ? 17 : 32) : (isMono ? 9 : 17);
    const std::int64_t xing = frame + 4 + sideBytes;
    if (inBytes.Is(xing, "Xing") || inBytes.Is(xing, "Info")) {
        const bool tellsFrames = (inBytes.Big(xing + 4, 4) & 1) != 0;
        return tellsFrames ? inBytes.Big(xing + 8, 4) : 0;
    }
    const std::int64_t vbri = frame + 4 + 32;
    return inBytes.Is(vbri, "VBRI") ? inBytes.Big(vbri + 14, 4) : 0;
}

// The length of a frame of layer III by its header; 0 where that does not tell.
std::size_t LayerFrameBytes(std::uint32_t inHead) {
    constexpr int kVersion1Kilobits[] = {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 0};
    constexpr int kVersion2Kilobits[] = {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, 0};
    constexpr int kVersion1RatesHz[] = {44100, 48000, 32000, 0};
    if ((inHead & 0xFFE60000) != 0xFFE20000) return 0;
    const std::uint32_t version = inHead >> 19 & 3;  // 3: 1, 2: 2, 0: 2.5
    const bool isVersion1 = version == 3;
    const int rateHz = kVersion1RatesHz[inHead >> 10 & 3] / (isVersion1 ? 1 : version == 2 ? 2 : 4);
    const int kilobits = (isVersion1 ? kVersion1Kilobits : kVersion2Kilobits)[inHead >> 12 & 15];
    if (rateHz == 0) return 0;
    const int samplesInBytes = isVersion1 ? 144 : 72;
    const auto padding = static_cast<int>(inHead >> 9 & 1);
    return kilobits == 0 ? 0 : static_cast<std::size_t>(samplesInBytes * kilobits * 1000 / rateHz + padding);
}

bool IsLayerCut(const Bytes& inBytes, const FoundSound& inFound) {
    const std::uint64_t promised = PromisedLayerFrames(inBytes);
    if (promised == 0 || promised == kAllOnes32) return false;
    return inFound.packetCount < promised ||
           inFound.lastPacketBytes < LayerFrameBytes(inFound.lastPacketHead);
}

// Sample tables, which libavformat has made an index of.
bool IsMovieCut(const Bytes& inBytes, AVStream& inStream) {
    const int count = avformat_index_get_entries_count(&inStream);
    for (int i = 0; i < count; ++i) {
        const AVIndexEntry* entry = avformat_index_get_entry(&inStream, i);
        if (entry != nullptr && entry->size > 0 &&
            inBytes.Lacks(entry->pos, static_cast<std::uint64_t>(entry->size), kAllOnes64))
            return true;
    }
    return false;
}

// A header that counts all samples.
bool IsShorterThanTold(const AVStream& inStream, const FoundSound& inFound) {
    if (inStream.duration == AV_NOPTS_VALUE || inFound.rateHz > INT32_MAX) return false;
    const AVRational frame = {1, static_cast<int>(std::max<std::uint32_t>(inFound.rateHz, 1))};
    return inFound.frameCount < av_rescale_q(inStream.duration, inStream.time_base, frame);
}

}  // namespace

bool IsCutOff(const ByteSource& inSource, const AVInputFormat& inFormat, AVStream& inStream,
              const FoundSound& inFound) {
    const Bytes bytes(inSource);
    const std::string_view names(inFormat.name);
    const std::string_view name = names.substr(0, names.find(','));
    if (name == "wav" || name == "qcp") return IsWaveCut(bytes);
    if (name == "w64") return IsWave64Cut(bytes);
    if (name == "aiff" || name == "iff") return IsFormCut(bytes);
    if (name == "caf") return IsCoreAudioCut(bytes);
    if (name == "au") return IsSunCut(bytes);
    if (name == "avi") return IsVideoInterleaveCut(bytes);
    if (name == "voc") return IsVoiceCut(bytes);
    if (name == "dsf") return IsDirectStreamCut(bytes);
    if (name == "asf") return IsAdvancedSystemsCut(bytes);
    if (name == "matroska") return IsMatroskaCut(bytes);
    if (name == "ogg") return IsOggCut(bytes);
    if (name == "flac") return IsFLACCut(inStream, inFound);
    if (name == "mp3") return IsLayerCut(bytes, inFound);
    if (name == "mov") return IsMovieCut(bytes, inStream);
    if (name == "ape" || name == "tak" || name == "tta" || name == "wv")
        return IsShorterThanTold(inStream, inFound);
    return false;
}

}  // namespace toolbox::movies::general
