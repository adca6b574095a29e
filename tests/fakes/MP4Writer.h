// MPEG-4 and QuickTime files from a description: right ones in five lines, and wrong ones by replacing a box.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace mirtal::fakes {

using Bytes = std::vector<std::uint8_t>;

// Pieces. Numbers are big-endian; a type has four characters.
Bytes U8(std::uint32_t inValue);
Bytes U16(std::uint32_t inValue);
Bytes U32(std::uint32_t inValue);
Bytes U64(std::uint64_t inValue);
Bytes Text(const std::string& inText);
Bytes Zeros(std::size_t inCount);
Bytes Join(std::initializer_list<Bytes> inPieces);
Bytes Join(const std::vector<Bytes>& inPieces);
Bytes Box(const std::string& inType, const Bytes& inContent);
Bytes LargeBox(const std::string& inType, const Bytes& inContent);  // with a 64-bit size
// A box whose size field says something else than its size.
Bytes LyingBox(const std::string& inType, std::uint32_t inClaimedSize, const Bytes& inContent);
Bytes FullBox(const std::string& inType, std::uint32_t inVersion, std::uint32_t inFlags,
              const Bytes& inContent);
// Version, flags and a count in front of entries.
Bytes TableBox(const std::string& inType, std::uint32_t inCount, const Bytes& inEntries);

// Sample descriptions of sound.
struct SoundEntry {
    std::string dataFormat = "mp4a";
    std::uint16_t version = 0;  // 1 and 2: QuickTime's longer forms
    std::uint16_t channelCount = 2;
    std::uint16_t bitsPerSample = 16;
    std::uint32_t rateHz = 44100;
    Bytes children;
};
Bytes WriteSoundEntry(const SoundEntry& inEntry);
// An "esds" box.
Bytes StreamDescriptor(const Bytes& inConfig, std::uint8_t inObjectType = 0x40);
// AAC as MPEG-4 files describe it.
Bytes AACEntry(const Bytes& inConfig, std::uint32_t inRateHz, std::uint16_t inChannelCount);

struct MP4Edit {
    std::uint64_t length = 0;    // of the movie's time scale
    std::int64_t mediaTime = 0;  // -1: empty
    std::uint32_t rate = 0x10000;
};

struct MP4Track {
    std::uint32_t id = 1;
    bool isEnabled = true;
    std::string handler = "soun";
    std::uint32_t timeScale = 44100;
    bool hasLargeTimes = false;  // version 1 of "mdhd" and "tkhd"
    std::vector<Bytes> descriptions;
    std::vector<Bytes> packets;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> durations;  // count, delta
    std::uint32_t packetsPerChunk = 0;                               // 0: all in one chunk
    std::vector<std::uint32_t> chunkDescriptions;                    // of each chunk, from 1; empty: 1
    bool hasLargeOffsets = false;
    std::uint32_t sizeBits = 32;  // 4, 8, 16: "stz2"
    std::optional<std::uint32_t> constantSizeBytes;
    std::vector<MP4Edit> edits;
    bool hasLargeEdits = false;
    std::vector<std::uint32_t> chapterTracks;
    // Boxes of these types are written as given instead; empty: left out.
    std::map<std::string, Bytes> replaced;
};

struct MP4Fragment {
    std::uint32_t trackID = 1;
    std::optional<std::uint64_t> time;  // "tfdt"
    std::vector<Bytes> packets;
    std::vector<std::uint32_t> durations;  // of each packet; empty: the default
    bool hasSizes = true;                  // else the default
    std::optional<std::uint32_t> defaultDuration;
    std::optional<std::uint32_t> defaultSize;
    bool hasBaseOffset = false;  // else counted from the fragment's start
};

struct MP4File {
    // Written one after the other: "ftyp", "moov", "mdat", "mdat64", "mdat0" (size 0: to the end), "free",
    // "wide", "frag" (all fragments), or any other type, which becomes a small box of it.
    std::vector<std::string> order = {"ftyp", "moov", "mdat"};
    std::string brand = "M4A ";
    std::uint32_t movieTimeScale = 1000;
    bool hasLargeTimes = false;
    std::vector<MP4Track> tracks;
    std::vector<MP4Fragment> fragments;  // with any, "mvex" is written
    std::uint32_t defaultDuration = 1024;
    std::uint32_t defaultSize = 0;
    Bytes moreInMovie;                      // boxes at the end of "moov"
    std::map<std::string, Bytes> replaced;  // "mvhd", "mvex"
};

Bytes WriteMP4(const MP4File& inFile);

// User data with the tag of the given text.
Bytes GaplessTagBox(const std::string& inText);

// A movie of one track of AAC: packets of 1024 units each.
MP4Track AACTrack(const Bytes& inConfig, std::uint32_t inRateHz, std::uint16_t inChannelCount,
                  std::vector<Bytes> inPackets);
// Packets of so many bytes, each with its number in its first two. No decoder makes sound of them.
std::vector<Bytes> NumberedPackets(std::uint32_t inCount, std::uint32_t inSizeBytes);

}  // namespace mirtal::fakes
