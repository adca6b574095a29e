// The movie that a raw AAC file is: one sound track, every frame of it presented.
#include "ADTSScan.h"
#include "ID3Texts.h"
#include "aac/AACConfig.h"
#include "aac/AACProbe.h"
#include "track/MovieImporter.h"

#include <toolbox/MacErrors.h>

extern "C" {
#include <libavcodec/codec_id.h>
}

#include <utility>

namespace toolbox::movies {

namespace {

// Every rate that AAC has divides this: time that passes at any of them is a whole number of such units, so
// that sound whose rate changes keeps its place exactly, however often that happens.
constexpr std::int64_t kTicksPerSecond = 56448000;

constexpr std::uint32_t kPacketsProbed = 4;

// What the decoder is told of the core. A few encoders write the profile of a scalable sampling rate over
// sound that is plain low complexity; sound that really has one is not decodable either way.
std::uint32_t DecoderObjectType(const ADTSHeader& inHeader) {
    return inHeader.ObjectType() == kAACSSR ? std::uint32_t{kAACLC} : inHeader.ObjectType();
}

const char* ProfileName(std::uint32_t inObjectType) {
    switch (inObjectType) {
        case kAACMain:
            return "AAC Main";
        case kAACLTP:
            return "AAC LTP";
        default:
            return "AAC LC";
    }
}

// Sound whose packets keep their headers: all the decoder needs is in them.
OSStatus DescribeByHeader(PacketReader& inReader, const ADTSStretch& inStretch, std::uint32_t inPacketCount,
                          SoundFormat& outFormat) {
    outFormat.dataFormat = FourChars("mp4a");
    outFormat.name = ProfileName(DecoderObjectType(inStretch.header));
    outFormat.codecID = AV_CODEC_ID_AAC;
    outFormat.sampleRateHz = inStretch.header.SampleRateHz();
    outFormat.nominalPacketFrames = 1024;
    for (std::uint32_t tried = 0; tried < inPacketCount && tried < kPacketsProbed; ++tried) {
        PacketBytes bytes;
        const OSStatus status = inReader.Read(inStretch.firstPacket + tried, bytes);
        if (status == ioErr || status == memFullErr) return status;
        ProbedSound sound;
        if (status == noErr && ProbeImplicitSBR(outFormat, bytes, sound)) {
            outFormat.sampleRateHz = sound.sampleRateHz;
            outFormat.channelCount = sound.channelCount;
            outFormat.nominalPacketFrames = sound.frameCount;
            break;
        }
    }
    return noErr;
}

OSStatus DescribeStretch(PacketReader& inReader, const ADTSStretch& inStretch, std::uint32_t inPacketCount,
                         SoundFormat& outFormat) {
    if (KeepsHeader(inStretch.header)) return DescribeByHeader(inReader, inStretch, inPacketCount, outFormat);
    outFormat.dataFormat = FourChars("mp4a");
    const ADTSHeader& header = inStretch.header;
    if (!DescribeAAC(
            MakeAudioSpecificConfig(DecoderObjectType(header), header.RateIndex(), header.ChannelConfig()),
            outFormat))
        return invalidMovie;
    return SettleImplicitSBR(inReader, inStretch.firstPacket, inPacketCount, outFormat);
}

class TrackBuilder {
  public:
    explicit TrackBuilder(SoundTrack& outTrack) : mTrack(outTrack) {}

    OSStatus Build(const std::vector<ADTSStretch>& inStretches, PacketReader& inReader,
                   std::uint32_t inPacketCount);

  private:
    OSStatus FindFormat(PacketReader& inReader, const ADTSStretch& inStretch, std::uint32_t inPacketCount,
                        std::uint32_t& outFormat);
    void Add(const ADTSStretch& inStretch, std::uint32_t inPacketCount, std::uint32_t inFormat);
    void CloseSpan();
    std::int64_t MediaFrame(std::int64_t inTicks) const;

    SoundTrack& mTrack;
    std::vector<ADTSHeader> mFormatHeaders;  // the first header of each format
    std::int64_t mSpanFrames = 0;            // of the open span, at its own rate
    std::int64_t mTicks = 0;                 // before the open span
};

// The version bit alone makes no other format.
OSStatus TrackBuilder::FindFormat(PacketReader& inReader, const ADTSStretch& inStretch,
                                  std::uint32_t inPacketCount, std::uint32_t& outFormat) {
    const ADTSHeader& header = inStretch.header;
    for (std::size_t index = 0; index < mFormatHeaders.size(); ++index) {
        const ADTSHeader& other = mFormatHeaders[index];
        if (other.ObjectType() == header.ObjectType() && other.RateIndex() == header.RateIndex() &&
            other.ChannelConfig() == header.ChannelConfig()) {
            outFormat = static_cast<std::uint32_t>(index);
            return noErr;
        }
    }
    SoundFormat format;
    const OSStatus status = DescribeStretch(inReader, inStretch, inPacketCount, format);
    if (status != noErr) return status;
    outFormat = static_cast<std::uint32_t>(mFormatHeaders.size());
    mFormatHeaders.push_back(header);
    mTrack.formats.push_back(std::move(format));
    return noErr;
}

// The frame of the track's rate at which a time begins: rounded to the nearest, from exact time.
std::int64_t TrackBuilder::MediaFrame(std::int64_t inTicks) const {
    const std::int64_t ticksPerFrame = kTicksPerSecond / mTrack.SampleRateHz();
    return (inTicks + ticksPerFrame / 2) / ticksPerFrame;
}

void TrackBuilder::CloseSpan() {
    if (mTrack.spans.empty()) return;
    PacketSpan& span = mTrack.spans.back();
    mTicks += mSpanFrames * (kTicksPerSecond / mTrack.formats[span.format].sampleRateHz);
    span.frameCount = MediaFrame(mTicks) - span.firstFrame;
}

void TrackBuilder::Add(const ADTSStretch& inStretch, std::uint32_t inPacketCount, std::uint32_t inFormat) {
    if (mTrack.spans.empty() || mTrack.spans.back().format != inFormat) {
        CloseSpan();
        mSpanFrames = 0;
        PacketSpan& span = mTrack.spans.emplace_back();
        span.firstPacket = inStretch.firstPacket;
        span.format = inFormat;
        span.firstFrame = MediaFrame(mTicks);
    }
    PacketSpan& span = mTrack.spans.back();
    const std::uint32_t framesPerPacket = mTrack.formats[inFormat].nominalPacketFrames * inStretch.blockCount;
    if (span.durations.empty() || span.durations.back().framesPerPacket != framesPerPacket)
        span.durations.push_back({inStretch.firstPacket, framesPerPacket, mSpanFrames});
    span.packetCount += inPacketCount;
    mSpanFrames += std::int64_t{framesPerPacket} * inPacketCount;
}

OSStatus TrackBuilder::Build(const std::vector<ADTSStretch>& inStretches, PacketReader& inReader,
                             std::uint32_t inPacketCount) {
    for (std::size_t index = 0; index < inStretches.size(); ++index) {
        const std::uint32_t end =
            index + 1 < inStretches.size() ? inStretches[index + 1].firstPacket : inPacketCount;
        const std::uint32_t count = end - inStretches[index].firstPacket;
        std::uint32_t format = 0;
        const OSStatus status = FindFormat(inReader, inStretches[index], count, format);
        if (status != noErr) return status;
        Add(inStretches[index], count, format);
    }
    CloseSpan();
    mTrack.edits = {{MediaFrame(mTicks), 0}};
    return noErr;
}

}  // namespace

OSStatus ImportADTS(const std::shared_ptr<const MediaFile>& inFile, ImportedMovie& outMovie,
                    std::string& outProblem, const ImportOptions& inOptions) {
    ADTSFrames frames;
    OSStatus status = ScanADTS(*inFile, frames);
    if (status == noErr && inOptions.soundTrack > 1) {
        outProblem = NoSuchSoundTrack(inOptions.soundTrack, 1);
        return trackNotInMovie;
    }
    if (status == invalidMovie) outProblem = "the AAC stream changes its format too often";
    if (status != noErr) return status;
    auto track = std::make_unique<SoundTrack>();
    const std::uint32_t packetCount = frames.packets.Count();
    track->skippedByteCount = frames.skippedByteCount;
    track->packets = NewFilePackets(inFile, std::move(frames.packets));
    status = TrackBuilder(*track).Build(frames.stretches, *track->packets->NewReader(), packetCount);
    if (status != noErr) {
        outProblem = status == ioErr ? "the file cannot be read" : "the AAC stream is damaged";
        return status;
    }
    outMovie.containerName = "ADTS";
    outMovie.timeScale = static_cast<std::int32_t>(track->SampleRateHz());
    const SoundFormat& format = track->formats.front();
    outMovie.soundTracks = {
        {format.dataFormat, format.name, "", format.sampleRateHz, format.channelCount, true, true}};
    outMovie.takenSoundTrack = 1;
    outMovie.tags = ReadID3Texts(*inFile);
    outMovie.tracks.clear();
    ImportedTrack& imported = outMovie.tracks.emplace_back();
    imported.mediaType = FourChars("soun");
    imported.duration = {track->edits.front().frameCount, track->SampleRateHz()};
    imported.sound = std::move(track);
    return noErr;
}

}  // namespace toolbox::movies
