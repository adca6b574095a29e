#include "MatroskaWriter.h"

#include <bit>

namespace mirtal::fakes {

namespace {

// RFC 9559.
enum Kind : std::uint32_t {
    kEBML = 0x1A45DFA3,
    kDocType = 0x4282,
    kDocTypeVersion = 0x4287,
    kDocTypeReadVersion = 0x4285,
    kSegment = 0x18538067,
    kInfo = 0x1549A966,
    kTimestampScale = 0x2AD7B1,
    kTracks = 0x1654AE6B,
    kTrackEntry = 0xAE,
    kTrackNumber = 0xD7,
    kTrackUID = 0x73C5,
    kTrackType = 0x83,
    kCodecID = 0x86,
    kCodecPrivate = 0x63A2,
    kCodecDelay = 0x56AA,
    kAudio = 0xE1,
    kSamplingFrequency = 0xB5,
    kChannels = 0x9F,
    kCluster = 0x1F43B675,
    kTimestamp = 0xE7,
    kSimpleBlock = 0xA3,
    kBlockGroup = 0xA0,
    kBlock = 0xA1,
    kDiscardPadding = 0x75A2
};

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

std::string BigEndian(std::uint64_t inNumber, int inByteCount) {
    std::string bytes;
    for (int shift = 8 * (inByteCount - 1); shift >= 0; shift -= 8)
        bytes += static_cast<char>(inNumber >> shift & 0xFF);
    return bytes;
}

// A kind keeps the mark that tells its length; a size is written in eight bytes, of which the mark takes one.
std::string Element(Kind inKind, const std::string& inContent) {
    const int kindBytes = (std::bit_width(static_cast<std::uint32_t>(inKind)) + 7) / 8;
    return BigEndian(inKind, kindBytes) + '\x01' + BigEndian(inContent.size(), 7) + inContent;
}

std::string Number(Kind inKind, std::int64_t inNumber) {
    return Element(inKind, BigEndian(static_cast<std::uint64_t>(inNumber), 8));
}

std::int64_t Nanoseconds(std::int64_t inFrameCount, std::uint32_t inRateHz) {
    return (inFrameCount * kNanosecondsPerSecond + inRateHz / 2) / inRateHz;
}

std::string TrackEntry(const EncodedSound& inSound, const MatroskaTrims& inTrims) {
    std::string entry = Number(kTrackNumber, 1) + Number(kTrackUID, 1) + Number(kTrackType, 2) +
                        Element(kCodecID, "A_AAC") +
                        Element(kCodecPrivate, std::string(inSound.config.begin(), inSound.config.end()));
    if (inTrims.delayFrameCount != 0)
        entry += Number(kCodecDelay, Nanoseconds(inTrims.delayFrameCount, inSound.sampleRateHz));
    const auto rate = std::bit_cast<std::uint64_t>(static_cast<double>(inSound.sampleRateHz));
    entry += Element(
        kAudio, Element(kSamplingFrequency, BigEndian(rate, 8)) + Number(kChannels, inSound.channelCount));
    return Element(kTrackEntry, entry);
}

std::string Cluster(const EncodedSound& inSound, const MatroskaTrims& inTrims) {
    std::string cluster = Number(kTimestamp, 0);
    for (std::size_t packet = 0; packet < inSound.packets.size(); ++packet) {
        const std::uint64_t milliseconds = packet * 1024 * 1000 / inSound.sampleRateHz;
        const std::string head = '\x81' + BigEndian(milliseconds, 2);
        const std::string bytes(inSound.packets[packet].begin(), inSound.packets[packet].end());
        if (packet + 1 == inSound.packets.size() && inTrims.paddingFrameCount != 0) {
            const std::int64_t padding = Nanoseconds(inTrims.paddingFrameCount, inSound.sampleRateHz);
            cluster +=
                Element(kBlockGroup, Element(kBlock, head + '\0' + bytes) + Number(kDiscardPadding, padding));
        } else {
            cluster += Element(kSimpleBlock, head + '\x80' + bytes);
        }
    }
    return Element(kCluster, cluster);
}

}  // namespace

std::string WriteMatroska(const EncodedSound& inSound, const MatroskaTrims& inTrims) {
    const std::string head =
        Element(kDocType, "matroska") + Number(kDocTypeVersion, 4) + Number(kDocTypeReadVersion, 2);
    const std::string segment = Element(kInfo, Number(kTimestampScale, 1'000'000)) +
                                Element(kTracks, TrackEntry(inSound, inTrims)) + Cluster(inSound, inTrims);
    return Element(kEBML, head) + Element(kSegment, segment);
}

}  // namespace mirtal::fakes
