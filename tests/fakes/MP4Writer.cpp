#include "MP4Writer.h"

#include <algorithm>
#include <bit>

namespace mirtal::fakes {
namespace {

Bytes Number(std::uint64_t inValue, int inByteCount) {
    Bytes bytes;
    for (int i = inByteCount; i-- > 0;)
        bytes.push_back(static_cast<std::uint8_t>(inValue >> (8 * i)));
    return bytes;
}

void Append(Bytes& ioBytes, const Bytes& inMore) {
    ioBytes.insert(ioBytes.end(), inMore.begin(), inMore.end());
}

// Writes a box, or what the description has in its place.
Bytes Or(const std::map<std::string, Bytes>& inReplaced, const std::string& inType, const Bytes& inBox) {
    const auto found = inReplaced.find(inType);
    return found == inReplaced.end() ? inBox : found->second;
}

std::uint32_t PacketsPerChunk(const MP4Track& inTrack) {
    if (inTrack.packetsPerChunk != 0) return inTrack.packetsPerChunk;
    return std::max<std::uint32_t>(static_cast<std::uint32_t>(inTrack.packets.size()), 1);
}

Bytes Times(bool inIsLarge, const Bytes& inBetween, std::uint64_t inDuration) {
    const Bytes duration = inIsLarge ? U64(inDuration) : U32(static_cast<std::uint32_t>(inDuration));
    return Join({Zeros(inIsLarge ? 16 : 8), inBetween, duration});
}

Bytes TrackHeader(const MP4Track& inTrack) {
    const Bytes content = Join({Times(inTrack.hasLargeTimes, Join({U32(inTrack.id), U32(0)}), 0), Zeros(60)});
    return FullBox("tkhd", inTrack.hasLargeTimes ? 1 : 0, inTrack.isEnabled ? 7 : 6, content);
}

Bytes MediaHeader(const MP4Track& inTrack) {
    std::uint64_t duration = 0;
    for (const auto& [count, delta] : inTrack.durations)
        duration += std::uint64_t{count} * delta;
    return FullBox("mdhd", inTrack.hasLargeTimes ? 1 : 0, 0,
                   Join({Times(inTrack.hasLargeTimes, U32(inTrack.timeScale), duration), U32(0x55c40000)}));
}

Bytes EditList(const MP4Track& inTrack) {
    if (inTrack.edits.empty()) return {};
    Bytes entries;
    for (const MP4Edit& edit : inTrack.edits) {
        const auto mediaTime = static_cast<std::uint64_t>(edit.mediaTime);
        Append(entries,
               inTrack.hasLargeEdits ? U64(edit.length) : U32(static_cast<std::uint32_t>(edit.length)));
        Append(entries, inTrack.hasLargeEdits ? U64(mediaTime) : U32(static_cast<std::uint32_t>(mediaTime)));
        Append(entries, U32(edit.rate));
    }
    return Box("edts", FullBox("elst", inTrack.hasLargeEdits ? 1 : 0, 0,
                               Join({U32(static_cast<std::uint32_t>(inTrack.edits.size())), entries})));
}

Bytes References(const MP4Track& inTrack) {
    if (inTrack.chapterTracks.empty()) return {};
    Bytes ids;
    for (const std::uint32_t id : inTrack.chapterTracks)
        Append(ids, U32(id));
    return Box("tref", Box("chap", ids));
}

Bytes Durations(const MP4Track& inTrack) {
    auto durations = inTrack.durations;
    if (durations.empty() && !inTrack.packets.empty())
        durations.emplace_back(static_cast<std::uint32_t>(inTrack.packets.size()), 1024);
    Bytes entries;
    for (const auto& [count, delta] : durations)
        Append(entries, Join({U32(count), U32(delta)}));
    return TableBox("stts", static_cast<std::uint32_t>(durations.size()), entries);
}

Bytes Sizes(const MP4Track& inTrack) {
    const auto count = static_cast<std::uint32_t>(inTrack.packets.size());
    if (inTrack.constantSizeBytes)
        return FullBox("stsz", 0, 0, Join({U32(*inTrack.constantSizeBytes), U32(count)}));
    Bytes sizes;
    std::uint32_t half = 0;
    for (std::size_t i = 0; i < inTrack.packets.size(); ++i) {
        const auto size = static_cast<std::uint32_t>(inTrack.packets[i].size());
        if (inTrack.sizeBits != 4) {
            Append(sizes, Number(size, static_cast<int>(inTrack.sizeBits / 8)));
        } else if (i % 2 == 0) {
            half = size << 4;
            if (i + 1 == inTrack.packets.size()) Append(sizes, U8(half));
        } else {
            Append(sizes, U8(half | size));
        }
    }
    if (inTrack.sizeBits == 32) return FullBox("stsz", 0, 0, Join({U32(0), U32(count), sizes}));
    return FullBox("stz2", 0, 0, Join({U32(inTrack.sizeBits), U32(count), sizes}));
}

std::uint32_t DescriptionOfChunk(const MP4Track& inTrack, std::uint32_t inChunk) {
    return inChunk < inTrack.chunkDescriptions.size() ? inTrack.chunkDescriptions[inChunk] : 1;
}

// One entry for each chunk, which is not the shortest form but a right one.
Bytes Chunks(const MP4Track& inTrack) {
    const std::uint32_t perChunk = PacketsPerChunk(inTrack);
    const auto packetCount = static_cast<std::uint32_t>(inTrack.packets.size());
    Bytes entries;
    std::uint32_t chunk = 0;
    for (std::uint32_t first = 0; first < packetCount; first += perChunk, ++chunk)
        Append(entries, Join({U32(chunk + 1), U32(std::min(perChunk, packetCount - first)),
                              U32(DescriptionOfChunk(inTrack, chunk))}));
    return TableBox("stsc", chunk, entries);
}

Bytes Offsets(const MP4Track& inTrack, std::uint64_t inDataOffset) {
    const std::uint32_t perChunk = PacketsPerChunk(inTrack);
    Bytes entries;
    std::uint32_t chunks = 0;
    std::uint64_t offset = inDataOffset;
    for (std::size_t i = 0; i < inTrack.packets.size(); ++i) {
        if (i % perChunk == 0) {
            Append(entries, inTrack.hasLargeOffsets ? U64(offset) : U32(static_cast<std::uint32_t>(offset)));
            ++chunks;
        }
        offset += inTrack.packets[i].size();
    }
    return TableBox(inTrack.hasLargeOffsets ? "co64" : "stco", chunks, entries);
}

Bytes SampleTable(const MP4Track& inTrack, std::uint64_t inDataOffset) {
    const auto& replaced = inTrack.replaced;
    const Bytes descriptions =
        TableBox("stsd", static_cast<std::uint32_t>(inTrack.descriptions.size()), Join(inTrack.descriptions));
    return Box("stbl", Join({Or(replaced, "stsd", descriptions), Or(replaced, "stts", Durations(inTrack)),
                             Or(replaced, "stsc", Chunks(inTrack)), Or(replaced, "stsz", Sizes(inTrack)),
                             Or(replaced, "stco", Offsets(inTrack, inDataOffset))}));
}

Bytes WriteTrack(const MP4Track& inTrack, std::uint64_t inDataOffset) {
    const auto& replaced = inTrack.replaced;
    const Bytes handler = FullBox("hdlr", 0, 0, Join({U32(0), Text(inTrack.handler), Zeros(13)}));
    // A second handler, of the data, as QuickTime writes it: it is not the media's.
    const Bytes information = Box("minf", Join({FullBox("hdlr", 0, 0, Join({Text("dhlralis"), Zeros(13)})),
                                                Or(replaced, "stbl", SampleTable(inTrack, inDataOffset))}));
    const Bytes media = Box("mdia", Join({Or(replaced, "mdhd", MediaHeader(inTrack)),
                                          Or(replaced, "hdlr", handler), Or(replaced, "minf", information)}));
    return Box("trak",
               Join({Or(replaced, "tkhd", TrackHeader(inTrack)), Or(replaced, "edts", EditList(inTrack)),
                     References(inTrack), Or(replaced, "mdia", media)}));
}

Bytes FragmentDefaults(const MP4File& inFile) {
    if (inFile.fragments.empty()) return {};
    Bytes all;
    for (const MP4Track& track : inFile.tracks)
        Append(all, FullBox("trex", 0, 0,
                            Join({U32(track.id), U32(1), U32(inFile.defaultDuration), U32(inFile.defaultSize),
                                  U32(0)})));
    return Box("mvex", all);
}

Bytes MovieBox(const MP4File& inFile, std::uint64_t inDataOffset) {
    const Bytes header =
        FullBox("mvhd", inFile.hasLargeTimes ? 1 : 0, 0,
                Join({Times(inFile.hasLargeTimes, U32(inFile.movieTimeScale), 0), Zeros(80)}));
    Bytes content = Or(inFile.replaced, "mvhd", header);
    for (const MP4Track& track : inFile.tracks) {
        Append(content, WriteTrack(track, inDataOffset));
        for (const Bytes& packet : track.packets)
            inDataOffset += packet.size();
    }
    Append(content, Or(inFile.replaced, "mvex", FragmentDefaults(inFile)));
    Append(content, inFile.moreInMovie);
    return Box("moov", content);
}

Bytes FragmentBox(const MP4Fragment& inFragment, std::uint64_t inStart, std::uint32_t inDataOffset) {
    std::uint32_t headerFlags = inFragment.hasBaseOffset ? 0x1 : 0x20000;
    Bytes header = U32(inFragment.trackID);
    if (inFragment.hasBaseOffset) Append(header, U64(inStart));
    if (inFragment.defaultDuration) {
        headerFlags |= 0x8;
        Append(header, U32(*inFragment.defaultDuration));
    }
    if (inFragment.defaultSize) {
        headerFlags |= 0x10;
        Append(header, U32(*inFragment.defaultSize));
    }
    std::uint32_t runFlags = 0x1;
    if (!inFragment.durations.empty()) runFlags |= 0x100;
    if (inFragment.hasSizes) runFlags |= 0x200;
    Bytes run = Join({U32(static_cast<std::uint32_t>(inFragment.packets.size())), U32(inDataOffset)});
    for (std::size_t i = 0; i < inFragment.packets.size(); ++i) {
        if (!inFragment.durations.empty()) Append(run, U32(inFragment.durations[i]));
        if (inFragment.hasSizes) Append(run, U32(static_cast<std::uint32_t>(inFragment.packets[i].size())));
    }
    Bytes content = FullBox("tfhd", 0, headerFlags, header);
    if (inFragment.time) Append(content, FullBox("tfdt", 1, 0, U64(*inFragment.time)));
    Append(content, FullBox("trun", 0, runFlags, run));
    return Box("moof", Join({FullBox("mfhd", 0, 0, U32(1)), Box("traf", content)}));
}

Bytes Fragments(const MP4File& inFile, std::uint64_t inStart) {
    Bytes all;
    for (const MP4Fragment& fragment : inFile.fragments) {
        const std::uint64_t start = inStart + all.size();
        const auto dataOffset = static_cast<std::uint32_t>(FragmentBox(fragment, start, 0).size() + 8);
        Append(all, FragmentBox(fragment, start, dataOffset));
        Append(all, Box("mdat", Join(fragment.packets)));
    }
    return all;
}

Bytes MediaData(const std::string& inForm, const Bytes& inData) {
    if (inForm == "mdat64") return LargeBox("mdat", inData);
    if (inForm == "mdat0") return LyingBox("mdat", 0, inData);
    return Box("mdat", inData);
}

bool IsMediaData(const std::string& inPart) {
    return inPart.substr(0, 4) == "mdat";
}

Bytes WriteParts(const MP4File& inFile, const Bytes& inData, std::uint64_t inDataOffset,
                 std::uint64_t* outDataOffset) {
    Bytes file;
    for (const std::string& part : inFile.order) {
        if (IsMediaData(part)) {
            *outDataOffset = file.size() + (part == "mdat64" ? 16 : 8);
            Append(file, MediaData(part, inData));
        } else if (part == "moov") {
            Append(file, MovieBox(inFile, inDataOffset));
        } else if (part == "frag") {
            Append(file, Fragments(inFile, file.size()));
        } else if (part == "ftyp") {
            Append(file, Box("ftyp", Join({Text(inFile.brand), U32(0), Text("isom")})));
        } else {
            Append(file, Box(part, part == "wide" ? Bytes() : Zeros(16)));
        }
    }
    return file;
}

}  // namespace

Bytes U8(std::uint32_t inValue) {
    return Number(inValue, 1);
}
Bytes U16(std::uint32_t inValue) {
    return Number(inValue, 2);
}
Bytes U32(std::uint32_t inValue) {
    return Number(inValue, 4);
}
Bytes U64(std::uint64_t inValue) {
    return Number(inValue, 8);
}
Bytes Text(const std::string& inText) {
    return {inText.begin(), inText.end()};
}
Bytes Zeros(std::size_t inCount) {
    return Bytes(inCount);
}

Bytes Join(std::initializer_list<Bytes> inPieces) {
    return Join(std::vector<Bytes>(inPieces));
}

Bytes Join(const std::vector<Bytes>& inPieces) {
    Bytes all;
    for (const Bytes& piece : inPieces)
        Append(all, piece);
    return all;
}

Bytes LyingBox(const std::string& inType, std::uint32_t inClaimedSize, const Bytes& inContent) {
    return Join({U32(inClaimedSize), Text(inType), inContent});
}

Bytes Box(const std::string& inType, const Bytes& inContent) {
    return LyingBox(inType, static_cast<std::uint32_t>(inContent.size() + 8), inContent);
}

Bytes LargeBox(const std::string& inType, const Bytes& inContent) {
    return Join({U32(1), Text(inType), U64(inContent.size() + 16), inContent});
}

Bytes FullBox(const std::string& inType, std::uint32_t inVersion, std::uint32_t inFlags,
              const Bytes& inContent) {
    return Box(inType, Join({U32(inVersion << 24 | inFlags), inContent}));
}

Bytes TableBox(const std::string& inType, std::uint32_t inCount, const Bytes& inEntries) {
    return FullBox(inType, 0, 0, Join({U32(inCount), inEntries}));
}

Bytes WriteSoundEntry(const SoundEntry& inEntry) {
    const bool isLong = inEntry.version == 2;
    Bytes content =
        Join({Zeros(6), U16(1), U16(inEntry.version), Zeros(6), U16(isLong ? 3 : inEntry.channelCount),
              U16(inEntry.bitsPerSample), Zeros(4), isLong ? U32(0x10000) : U32(inEntry.rateHz << 16)});
    if (inEntry.version == 1) Append(content, Zeros(16));
    if (isLong)
        Append(content,
               Join({U32(72), U64(std::bit_cast<std::uint64_t>(double(inEntry.rateHz))),
                     U32(inEntry.channelCount), U32(0x7f000000), U32(inEntry.bitsPerSample), Zeros(12)}));
    return Box(inEntry.dataFormat, Join({content, inEntry.children}));
}

Bytes StreamDescriptor(const Bytes& inConfig, std::uint8_t inObjectType) {
    const auto length = [](std::size_t inLength) {
        return Join({U8(0x80), U8(0x80), U8(0x80), U8(inLength & 0x7f)});
    };
    const Bytes specific = inConfig.empty() ? Bytes() : Join({U8(5), length(inConfig.size()), inConfig});
    const Bytes decoder = Join({U8(inObjectType), U8(0x15), Zeros(11), specific});
    const Bytes stream = Join({U16(1), U8(0), U8(4), length(decoder.size()), decoder});
    return FullBox("esds", 0, 0, Join({U8(3), length(stream.size()), stream}));
}

Bytes AACEntry(const Bytes& inConfig, std::uint32_t inRateHz, std::uint16_t inChannelCount) {
    SoundEntry entry;
    entry.channelCount = inChannelCount;
    entry.rateHz = inRateHz;
    entry.children = StreamDescriptor(inConfig);
    return WriteSoundEntry(entry);
}

Bytes WriteMP4(const MP4File& inFile) {
    Bytes data;
    for (const MP4Track& track : inFile.tracks)
        Append(data, Join(track.packets));
    // Offsets do not change the size of what holds them: a first pass finds where the data comes to lie.
    std::uint64_t dataOffset = 0;
    WriteParts(inFile, data, 0, &dataOffset);
    return WriteParts(inFile, data, dataOffset, &dataOffset);
}

Bytes GaplessTagBox(const std::string& inText) {
    const Bytes item = Box("----", Join({FullBox("mean", 0, 0, Text("com.example.player")),
                                         FullBox("name", 0, 0, Text("iTunSMPB")),
                                         Box("data", Join({U32(1), U32(0), Text(inText)}))}));
    const Bytes other = Box("----", Join({FullBox("name", 0, 0, Text("other")),
                                          Box("data", Join({U32(1), U32(0), Text("1 2 3 4")}))}));
    return Box("udta", FullBox("meta", 0, 0,
                               Join({FullBox("hdlr", 0, 0, Zeros(20)), Box("ilst", Join({other, item}))})));
}

MP4Track AACTrack(const Bytes& inConfig, std::uint32_t inRateHz, std::uint16_t inChannelCount,
                  std::vector<Bytes> inPackets) {
    MP4Track track;
    track.timeScale = inRateHz;
    track.descriptions = {AACEntry(inConfig, inRateHz, inChannelCount)};
    track.packets = std::move(inPackets);
    return track;
}

std::vector<Bytes> NumberedPackets(std::uint32_t inCount, std::uint32_t inSizeBytes) {
    std::vector<Bytes> packets;
    for (std::uint32_t i = 0; i < inCount; ++i) {
        Bytes packet(inSizeBytes, 0x55);
        const Bytes number = U16(i);
        std::copy_n(number.begin(), std::min<std::size_t>(number.size(), inSizeBytes), packet.begin());
        packets.push_back(std::move(packet));
    }
    return packets;
}

}  // namespace mirtal::fakes
