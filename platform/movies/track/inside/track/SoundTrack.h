// What an importer gives: a movie as tracks, and each sound track as packets, formats, spans and edits.
//
// Four clocks meet here, and each number says which it uses:
//   media time    units of the container's own time scale; importers convert it and nobody else sees it
//   span frames   frames at the rate of the span's own format
//   media frames  frames at the track's rate (that of its first format) from the start of its media
//   frames        frames at the track's rate from the start of the presentation, edits applied
#pragma once

#include <toolbox/MacTypes.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct AVBufferRef;

namespace toolbox::movies {

// The bytes of one coded packet, followed by at least 64 readable bytes that depend on the file alone.
struct PacketBytes {
    const std::uint8_t* data = nullptr;
    std::size_t sizeBytes = 0;
    AVBufferRef* owner = nullptr;  // borrowed; holds `data` when not null
};

// Reads packets of one track; for one thread. What it hands out stays good until its next Read.
class PacketReader {
  public:
    virtual ~PacketReader() = default;
    // eofErr when the packet lies (partly) beyond the file's end, ioErr when the device fails, else noErr.
    [[nodiscard]] virtual OSStatus Read(std::uint32_t inPacket, PacketBytes& outBytes) = 0;
};

// Where a track's packets are. Immutable once imported, so it is read from any thread.
class PacketStore {
  public:
    virtual ~PacketStore() = default;
    virtual std::uint32_t PacketCount() const = 0;
    [[nodiscard]] virtual std::unique_ptr<PacketReader> NewReader() const = 0;
};

// How much of what came before a decoder must have seen to decode a packet exactly.
enum class DecoderMemory {
    kNone,       // every packet stands alone: PCM, ALAC, FLAC
    kOnePacket,  // the predecessor only: AAC LC
    kUnbounded   // anything else
};

// One sample description.
struct SoundFormat {
    OSType dataFormat = 0;  // "mp4a", "alac", ...
    std::string name;       // for people: "AAC LC"
    int codecID = 0;        // an AVCodecID; 0 when none is known
    std::vector<std::uint8_t> decoderConfig;
    std::uint32_t sampleRateHz = 0;  // of the decoded sound, never 0
    std::uint16_t channelCount = 0;  // of the decoded sound; 0 when unknown
    std::uint64_t channelMask = 0;   // which channels those are, as libavutil numbers them; 0: the usual ones
    std::uint16_t bitsPerSample = 16;
    std::uint16_t blockAlign = 0;           // bytes per frame of PCM, else 0
    std::uint32_t nominalPacketFrames = 0;  // frames a full packet decodes to; 0 when packets differ
    DecoderMemory memory = DecoderMemory::kUnbounded;
    OSStatus decodable = 0;  // noErr; badFormat: encrypted; noCodecErr: no decoder for it
};

// From this packet on (until the next run), a packet is presented for so many frames. A decoder that gives
// more is cut, one that gives fewer is followed by silence.
struct DurationRun {
    std::uint32_t firstPacket = 0;  // absolute packet number
    std::uint32_t framesPerPacket = 0;
    std::int64_t firstFrame = 0;  // span frames
};

// Consecutive packets of one format with no gap between them: one decoder's work.
struct PacketSpan {
    std::uint32_t firstPacket = 0;
    std::uint32_t packetCount = 0;
    std::uint32_t format = 0;     // index into SoundTrack::formats
    std::int64_t firstFrame = 0;  // media frames; later than the previous span's end where sound is missing
    std::int64_t frameCount = 0;  // media frames
    std::vector<DurationRun> durations;  // in packet order, the first at firstPacket
};

// A stretch of the presentation.
struct Edit {
    static constexpr std::int64_t kEmpty = -1;
    std::int64_t frameCount = 0;  // frames presented
    std::int64_t mediaStart = 0;  // media frames, or kEmpty: silence
};

struct SoundTrack {
    std::vector<SoundFormat> formats;  // never empty; the first is the one described
    std::shared_ptr<const PacketStore> packets;
    std::vector<PacketSpan> spans;  // in media order, not overlapping
    std::vector<Edit> edits;        // the whole presentation in order

    std::uint32_t trimSource = 0;  // kSoundTrim...
    std::int64_t framesTrimmedAtStart = 0;
    std::int64_t framesTrimmedAtEnd = 0;
    std::uint64_t skippedByteCount = 0;
    bool isCutOff = false;  // the container promised sound behind the last packet that is not in the file

    std::uint32_t SampleRateHz() const { return formats.front().sampleRateHz; }
    std::int64_t FrameCount() const;  // of the presentation
};

// An exact length of time: units / unitsPerSecond.
struct Duration {
    std::int64_t units = 0;
    std::int64_t unitsPerSecond = 1;
};

// One track of sound or picture.
struct ImportedTrack {
    OSType mediaType = 0;               // "soun" or "vide"
    Duration duration;                  // presented
    std::unique_ptr<SoundTrack> sound;  // of "soun" only
};

// A sound track of the file, whether or not it is one of the movie's.
struct SoundTrackFacts {
    OSType dataFormat = 0;
    std::string name;                // for people: "AAC LC"; empty when only the data format is known
    std::string language;            // ISO 639-2, three letters; empty when the file does not tell
    std::uint32_t sampleRateHz = 0;  // 0 when unknown
    std::uint16_t channelCount = 0;  // 0 when unknown
    bool isEnabled = true;
    bool isAAC = false;
};

// A text about the sound.
struct MovieTag {
    std::uint32_t tag = 0;  // kMovieTag...
    std::string text;       // never empty, and without NUL
};

struct ImportedMovie {
    std::string containerName;  // for people: "MPEG-4"
    std::vector<ImportedTrack> tracks;
    std::int32_t timeScale = 600;
    std::vector<SoundTrackFacts> soundTracks;  // of the file, in its order
    std::uint32_t takenSoundTrack = 0;         // which of those is the movie's first, from 1; 0: none is
    std::vector<MovieTag> tags;                // each at most once
};

}  // namespace toolbox::movies
