#include "MPEG4Descriptors.h"

#include <algorithm>
#include <cstddef>

namespace toolbox::movies {
namespace {

// ISO/IEC 14496-1, 7.2.2.1: ES_DescrTag, DecoderConfigDescrTag, DecSpecificInfoTag.
enum DescriptorTag : std::uint8_t { kStream = 3, kDecoder = 4, kDecoderSpecific = 5 };

// A stretch of descriptor bytes, taken from the front.
class Descriptors {
  public:
    Descriptors(const std::uint8_t* inBytes, std::size_t inByteCount) : mNext(inBytes), mLeft(inByteCount) {}

    bool Skip(std::size_t inByteCount) {
        if (inByteCount > mLeft) return false;
        mNext += inByteCount;
        mLeft -= inByteCount;
        return true;
    }
    bool Byte(std::uint8_t& outByte) {
        if (mLeft == 0) return false;
        outByte = *mNext;
        return Skip(1);
    }
    // The content of the next descriptor of a tag; others before it are passed over. A length past the end
    // means up to the end.
    bool Find(std::uint8_t inTag, Descriptors& outContent) {
        std::uint8_t tag = 0;
        while (Byte(tag)) {
            const std::size_t length = std::min(Length(), mLeft);
            outContent = Descriptors(mNext, length);
            if (tag == inTag) return true;
            Skip(length);
        }
        return false;
    }
    std::vector<std::uint8_t> Rest() const { return {mNext, mNext + mLeft}; }

  private:
    // Seven bits a byte, at most four bytes, the high bit telling that another follows.
    std::size_t Length() {
        std::size_t length = 0;
        std::uint8_t byte = 0;
        for (int i = 0; i < 4 && Byte(byte); ++i) {
            length = length << 7 | (byte & 0x7fU);
            if ((byte & 0x80U) == 0) break;
        }
        return length;
    }

    const std::uint8_t* mNext;
    std::size_t mLeft;
};

// ES_Descriptor, 7.2.6.5: ES_ID, streamDependenceFlag, URL_Flag, OCRstreamFlag and streamPriority, and what
// the flags tell; then its own descriptors.
bool SkipStreamFields(Descriptors& ioStream) {
    std::uint8_t flags = 0;
    if (!ioStream.Skip(2) || !ioStream.Byte(flags)) return false;
    if ((flags & 0x80U) != 0 && !ioStream.Skip(2)) return false;  // depends on another stream
    if ((flags & 0x40U) != 0) {                                   // a URL
        std::uint8_t length = 0;
        if (!ioStream.Byte(length) || !ioStream.Skip(length)) return false;
    }
    return (flags & 0x20U) == 0 || ioStream.Skip(2);  // takes its clock from another stream
}

}  // namespace

bool ReadDecoderDescriptor(const std::vector<std::uint8_t>& inBytes, DecoderDescriptor& outDescriptor) {
    constexpr std::size_t kFieldBytes = 12;  // streamType, bufferSizeDB, maxBitrate, avgBitrate (7.2.6.6)
    Descriptors all(inBytes.data(), inBytes.size());
    Descriptors stream(nullptr, 0);
    Descriptors decoder(nullptr, 0);
    Descriptors specific(nullptr, 0);
    Descriptors& container = stream;
    // QuickTime sometimes leaves the stream descriptor out.
    if (Descriptors(all).Find(kStream, stream)) {
        if (!SkipStreamFields(stream)) return false;
    } else {
        container = all;
    }
    if (!container.Find(kDecoder, decoder) || !decoder.Byte(outDescriptor.objectType)) return false;
    outDescriptor.config.clear();
    if (decoder.Skip(kFieldBytes) && decoder.Find(kDecoderSpecific, specific))
        outDescriptor.config = specific.Rest();
    return true;
}

}  // namespace toolbox::movies
