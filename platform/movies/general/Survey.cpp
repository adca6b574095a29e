#include "Survey.h"

#include "DemuxedPackets.h"
#include "Demuxer.h"
#include "KeptRanges.h"
#include "OwnedPacket.h"
#include "PacketFrames.h"
#include "Promise.h"
#include "SoundStart.h"
#include "decoder/SoundDecoder.h"
#include "os/BigEndian.h"

#include <toolbox/MacErrors.h>
#include <toolbox/MovieTags.h>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>
#include <utility>

namespace toolbox::movies::general {

namespace {

// Packets whose lengths go up and down make a run each: as many as a week of the shortest.
constexpr std::size_t kMaxRuns = std::size_t{1} << 22;
// A packet takes at least a byte of the file; a demuxer that gives many more is caught in a loop.
constexpr std::int64_t kPacketsBeyondBytes = 65536;
constexpr std::int64_t kMaxFrames = std::int64_t{1} << 48;

std::int64_t LittleEndian32(const std::uint8_t* inBytes) {
    return inBytes[0] | std::int64_t{inBytes[1]} << 8 | std::int64_t{inBytes[2]} << 16 |
           std::int64_t{inBytes[3]} << 24;
}

// The length of each packet by decoding all of them.
class DecodedFrames {
  public:
    OSStatus Open(const SoundFormat& inFormat) { return mDecoder.Open(inFormat); }
    std::int64_t Next(const AVPacket& inPacket, const SoundFormat& inFormat) {
        const auto sent =
            mDecoder.Send({inPacket.data, static_cast<std::size_t>(inPacket.size), inPacket.buf});
        return sent == SoundDecoder::Outcome::kNothing ? Drain(inFormat) : 0;
    }
    std::int64_t Rest(const SoundFormat& inFormat) {
        return mDecoder.HasDelay() && mDecoder.SendEnd() == SoundDecoder::Outcome::kNothing ? Drain(inFormat)
                                                                                            : 0;
    }

  private:
    std::int64_t Drain(const SoundFormat& inFormat) {
        std::int64_t frames = 0;
        while (mDecoder.Receive() == SoundDecoder::Outcome::kSound) {
            const AVFrame& frame = mDecoder.Frame();
            frames += frame.sample_rate > 0
                          ? av_rescale(frame.nb_samples, inFormat.sampleRateHz, frame.sample_rate)
                          : std::int64_t{frame.nb_samples};
        }
        return frames;
    }
    SoundDecoder mDecoder;
};

// When pictures are shown, by their packets, where the container does not say for how long.
struct Pictures {
    std::int64_t first = AV_NOPTS_VALUE;
    std::int64_t end = AV_NOPTS_VALUE;
    void Add(const AVPacket& inPacket) {
        const std::int64_t stamp = inPacket.pts != AV_NOPTS_VALUE ? inPacket.pts : inPacket.dts;
        std::int64_t packetEnd = 0;
        if (stamp == AV_NOPTS_VALUE || __builtin_add_overflow(stamp, inPacket.duration, &packetEnd)) return;
        first = first == AV_NOPTS_VALUE ? stamp : std::min(first, stamp);
        end = end == AV_NOPTS_VALUE ? packetEnd : std::max(end, packetEnd);
    }
};

// A file that ends early for those who read, as it did for the survey that gave up the rest.
class CutSource final : public ByteSource {
  public:
    CutSource(std::shared_ptr<const ByteSource> inSource, std::int64_t inEndBytes)
        : mSource(std::move(inSource)), mEndBytes(inEndBytes) {}
    std::int64_t SizeBytes() const override { return mSource->SizeBytes(); }
    OSStatus ReadAt(std::int64_t inOffset, void* outBytes, std::size_t inByteCount,
                    std::size_t* outRead) const override {
        const std::int64_t left = std::max<std::int64_t>(mEndBytes - inOffset, 0);
        return mSource->ReadAt(
            inOffset, outBytes,
            static_cast<std::size_t>(std::min<std::uint64_t>(inByteCount, static_cast<std::uint64_t>(left))),
            outRead);
    }
    bool MustStop() const override { return mSource->MustStop(); }

  private:
    std::shared_ptr<const ByteSource> mSource;
    std::int64_t mEndBytes;
};

class Survey {
  public:
    Survey(std::shared_ptr<const ByteSource> inSource, const ImportOptions& inOptions)
        : mSource(std::move(inSource)), mOptions(inOptions) {}
    OSStatus Run(ImportedMovie& outMovie, std::string& outProblem);

  private:
    void ReadTags(ImportedMovie& outMovie) const;
    OSStatus Learn(std::string& outProblem);
    OSStatus ReadAll(std::string& outProblem);
    OSStatus AddSound(const AVPacket& inPacket);
    std::int64_t FramesOf(const AVPacket& inPacket);
    void AddTrim(const AVPacket& inPacket, std::int64_t inFrames);
    std::int64_t CountedTooMuch(const AVPacket& inFirst, std::int64_t inFrames) const;
    void AddRest();
    void DescribeSound(ImportedMovie& outMovie);
    void ListSoundTracks(ImportedMovie& outMovie) const;
    void DescribePictures(ImportedMovie& outMovie);
    AVStream* FindPictures();

    std::shared_ptr<const ByteSource> mSource;
    ImportOptions mOptions;
    std::unique_ptr<Demuxer> mDemuxer;
    bool mHasSound = false;
    SoundStart mStart;
    std::unique_ptr<PacketFrames> mFrames;
    std::optional<DecodedFrames> mDecoded;
    PacketSpan mSpan;
    KeptRanges mKept;
    std::int64_t mLastFrames = 0;
    std::size_t mLastBytes = 0;
    std::uint32_t mLastHead = 0;
    std::int64_t mCountedTooMuch = 0;
    Pictures mPictures;
};

// One opening is spent on learning what the sound is, so that the second can count from the first packet on.
OSStatus Survey::Learn(std::string& outProblem) {
    std::unique_ptr<Demuxer> demuxer;
    OSStatus status = Demuxer::Open(mSource, mOptions, demuxer, outProblem);
    if (status != noErr) return status;
    status = LearnSoundStart(*demuxer, mStart, outProblem);
    if (status == noSoundTrackInMovieErr) {
        if (mOptions.soundTrack == 0) return noErr;
        outProblem = NoSuchSoundTrack(mOptions.soundTrack, demuxer->SoundCount());
        return trackNotInMovie;
    }
    if (status != noErr) return status;
    mHasSound = true;
    mFrames = PacketFrames::New(*demuxer->Sound()->codecpar, mStart.decodedFrames);
    if (mFrames == nullptr && mStart.format.decodable == noErr) return mDecoded.emplace().Open(mStart.format);
    return noErr;
}

std::int64_t Survey::FramesOf(const AVPacket& inPacket) {
    if (mDecoded) return mDecoded->Next(inPacket, mStart.format);
    if (mFrames != nullptr) {
        const std::int64_t frames = mFrames->Next(inPacket.data, static_cast<std::size_t>(inPacket.size));
        return frames >= 0 ? frames
                           : mLastFrames;  // a damaged packet most likely is as long as its predecessor
    }
    // No decoder will ever contradict the container.
    const AVRational timeBase = mDemuxer->Sound()->time_base;
    return std::clamp<std::int64_t>(
        av_rescale_q(std::max<std::int64_t>(inPacket.duration, 0), timeBase,
                     {1, static_cast<int>(std::min<std::uint32_t>(mStart.format.sampleRateHz, 1 << 30))}),
        0, std::numeric_limits<std::int32_t>::max());
}

void Survey::AddTrim(const AVPacket& inPacket, std::int64_t inFrames) {
    std::int64_t skip = 0;
    std::int64_t discard = 0;
    std::size_t size = 0;
    const std::uint8_t* data = av_packet_get_side_data(&inPacket, AV_PKT_DATA_SKIP_SAMPLES, &size);
    if (data != nullptr && size >= 8) {
        skip = LittleEndian32(data);
        discard = LittleEndian32(data + 4);
    }
    // Containers that tell the delay in a header of the stream do not repeat it at the first packet.
    if (mSpan.packetCount == 0 && skip == 0) skip = mDemuxer->Sound()->codecpar->initial_padding;
    if (mSpan.packetCount == 0) mCountedTooMuch = CountedTooMuch(inPacket, inFrames);
    mKept.Add(inFrames, skip, discard - mCountedTooMuch);
}

// libavformat lets the first packet of a short Ogg Vorbis stream take time, though it gives no sound, and
// finds that much too much padding at the end.
std::int64_t Survey::CountedTooMuch(const AVPacket& inFirst, std::int64_t inFrames) const {
    const AVStream& stream = *mDemuxer->Sound();
    const bool countsFrames = stream.time_base.num == 1 && stream.time_base.den > 0 &&
                              static_cast<std::uint32_t>(stream.time_base.den) == mStart.format.sampleRateHz;
    if (stream.codecpar->codec_id != AV_CODEC_ID_VORBIS || !countsFrames || inFirst.pts != 0) return 0;
    return std::max<std::int64_t>(inFirst.duration - inFrames, 0);
}

OSStatus Survey::AddSound(const AVPacket& inPacket) {
    const std::int64_t frames = FramesOf(inPacket);
    if (mSpan.packetCount >= mSource->SizeBytes() + kPacketsBeyondBytes ||
        mSpan.packetCount == std::numeric_limits<std::uint32_t>::max() || mSpan.durations.size() > kMaxRuns ||
        mSpan.frameCount > kMaxFrames || frames > std::numeric_limits<std::int32_t>::max())
        return invalidMovie;
    AddTrim(inPacket, frames);
    const auto framesPerPacket = static_cast<std::uint32_t>(frames);
    if (mSpan.durations.empty() || mSpan.durations.back().framesPerPacket != framesPerPacket)
        mSpan.durations.push_back({mSpan.packetCount, framesPerPacket, mSpan.frameCount});
    ++mSpan.packetCount;
    mSpan.frameCount += frames;
    mLastFrames = frames;
    mLastBytes = static_cast<std::size_t>(inPacket.size);
    mLastHead = inPacket.size < 4 ? 0 : os::Load32(inPacket.data);
    return noErr;
}

// What a decoder holds back to the end is the last packet's.
void Survey::AddRest() {
    const std::int64_t rest = mDecoded ? mDecoded->Rest(mStart.format) : 0;
    if (rest <= 0 || mSpan.packetCount == 0) return;
    const std::int64_t last = mLastFrames + rest;
    if (mSpan.durations.back().firstPacket == mSpan.packetCount - 1) mSpan.durations.pop_back();
    mSpan.durations.push_back(
        {mSpan.packetCount - 1, static_cast<std::uint32_t>(last), mSpan.frameCount - mLastFrames});
    mSpan.frameCount += rest;
    mKept.Add(rest, 0, 0);
}

OSStatus Survey::ReadAll(std::string& outProblem) {
    OSStatus status = Demuxer::Open(mSource, mOptions, mDemuxer, outProblem);
    OwnedPacket packet;
    while (status == noErr) {
        packet.Clear();
        // Many packets may come of one read, and each may have to be decoded.
        status = mSource->MustStop() ? OSStatus{userCanceledErr} : mDemuxer->Next(*packet, outProblem);
        if (status != noErr) break;
        if (mDemuxer->Sound() != nullptr && packet->stream_index == mDemuxer->Sound()->index)
            status = mHasSound ? AddSound(*packet) : OSStatus{noErr};
        else if (mDemuxer->Format().streams[packet->stream_index] == FindPictures())
            mPictures.Add(*packet);
    }
    if (status == invalidMovie && outProblem.empty())
        outProblem = "the file claims more sound than it can hold";
    AddRest();
    return status == eofErr ? noErr : status;
}

void Survey::DescribeSound(ImportedMovie& outMovie) {
    auto track = std::make_unique<SoundTrack>();
    SoundFormat& format = mStart.format;
    if (mSpan.durations.size() == 1) format.nominalPacketFrames = mSpan.durations.front().framesPerPacket;
    mKept.Describe(*track);
    track->isCutOff =
        IsCutOff(*mSource, *mDemuxer->Format().iformat, *mDemuxer->Sound(),
                 {mSpan.packetCount, mSpan.frameCount, format.sampleRateHz, mLastHead, mLastBytes});
    track->skippedByteCount = static_cast<std::uint64_t>(mDemuxer->BytesGivenUp());
    if (track->skippedByteCount > 0)
        mSource = std::make_shared<const CutSource>(mSource, mDemuxer->ReadEndBytes());
    track->packets = NewDemuxedPackets(mSource, mOptions, mSpan.packetCount);
    track->formats.push_back(std::move(format));
    track->spans.push_back(std::move(mSpan));
    std::int64_t presented = 0;
    for (const Edit& edit : track->edits)
        presented += edit.frameCount;
    ImportedTrack& imported = outMovie.tracks.emplace_back();
    imported.mediaType = FourChars("soun");
    imported.duration = {presented, track->SampleRateHz()};
    outMovie.timeScale = static_cast<std::int32_t>(
        std::min<std::uint32_t>(track->SampleRateHz(), std::numeric_limits<std::int32_t>::max()));
    imported.sound = std::move(track);
}

void Survey::ListSoundTracks(ImportedMovie& outMovie) const {
    outMovie.soundTracks.clear();
    outMovie.takenSoundTrack = 0;
    const AVFormatContext& format = mDemuxer->Format();
    for (unsigned index = 0; index < format.nb_streams; ++index) {
        const AVStream& stream = *format.streams[index];
        if (!Demuxer::IsSound(stream)) continue;
        const bool isTaken = mHasSound && &stream == mDemuxer->Sound();
        const SoundFormat described = isTaken ? mStart.format : DescribedFormat(*stream.codecpar);
        SoundTrackFacts& facts = outMovie.soundTracks.emplace_back();
        facts.dataFormat = described.dataFormat;
        facts.name = described.name;
        facts.sampleRateHz = described.sampleRateHz;
        facts.channelCount = described.channelCount;
        facts.isEnabled = mDemuxer->IsEnabled(stream);
        facts.isAAC =
            stream.codecpar->codec_id == AV_CODEC_ID_AAC || stream.codecpar->codec_id == AV_CODEC_ID_AAC_LATM;
        const AVDictionaryEntry* language = av_dict_get(stream.metadata, "language", nullptr, 0);
        if (language != nullptr && std::strlen(language->value) == 3 &&
            std::strcmp(language->value, "und") != 0)
            facts.language = language->value;
        if (isTaken) outMovie.takenSoundTrack = static_cast<std::uint32_t>(outMovie.soundTracks.size());
    }
}

AVStream* Survey::FindPictures() {
    AVFormatContext& format = mDemuxer->Format();
    for (unsigned index = 0; index < format.nb_streams; ++index) {
        if (Demuxer::IsPicture(*format.streams[index])) return format.streams[index];
    }
    return nullptr;
}

void Survey::DescribePictures(ImportedMovie& outMovie) {
    const AVStream* stream = FindPictures();
    if (stream == nullptr || stream->time_base.num <= 0 || stream->time_base.den <= 0) return;
    std::int64_t length = stream->duration;
    if (length == AV_NOPTS_VALUE || length <= 0) {
        const bool isKnown = mPictures.first != AV_NOPTS_VALUE && mPictures.end != AV_NOPTS_VALUE;
        if (!isKnown || __builtin_sub_overflow(mPictures.end, mPictures.first, &length)) length = 0;
    }
    ImportedTrack& imported = outMovie.tracks.emplace_back();
    imported.mediaType = FourChars("vide");
    std::int64_t units = 0;
    if (length > 0 && !__builtin_mul_overflow(length, std::int64_t{stream->time_base.num}, &units))
        imported.duration = {units, stream->time_base.den};
}

// "Matroska / WebM", or what stands before an explanation in brackets.
std::string ContainerName(const AVInputFormat& inFormat) {
    std::string name = inFormat.long_name != nullptr ? inFormat.long_name : inFormat.name;
    return name.substr(0, name.find(" ("));
}

// Those of the file, and where it has none of a name, those of the sound: Ogg keeps them there.
void Survey::ReadTags(ImportedMovie& outMovie) const {
    struct TagName {
        const char* name;
        std::uint32_t tag;
    };
    static constexpr TagName kNames[] = {{"title", kMovieTagTitle},       {"artist", kMovieTagArtist},
                                         {"album", kMovieTagAlbum},       {"date", kMovieTagDate},
                                         {"genre", kMovieTagGenre},       {"track", kMovieTagTrackNumber},
                                         {"comment", kMovieTagComment},   {"copyright", kMovieTagCopyright},
                                         {"composer", kMovieTagComposer}, {"encoder", kMovieTagEncoder}};
    outMovie.tags.clear();
    for (const TagName& each : kNames) {
        const AVDictionaryEntry* entry = av_dict_get(mDemuxer->Format().metadata, each.name, nullptr, 0);
        if (entry == nullptr && mDemuxer->Sound() != nullptr)
            entry = av_dict_get(mDemuxer->Sound()->metadata, each.name, nullptr, 0);
        if (entry != nullptr && entry->value[0] != 0) outMovie.tags.push_back({each.tag, entry->value});
    }
}

OSStatus Survey::Run(ImportedMovie& outMovie, std::string& outProblem) {
    OSStatus status = Learn(outProblem);
    if (status == noErr) status = ReadAll(outProblem);
    if (status != noErr) return status;
    outMovie.tracks.clear();
    ListSoundTracks(outMovie);
    ReadTags(outMovie);
    outMovie.containerName = ContainerName(*mDemuxer->Format().iformat);
    if (mHasSound) DescribeSound(outMovie);
    DescribePictures(outMovie);
    if (outMovie.tracks.empty()) {
        outProblem = "the file holds neither sound nor pictures";
        return invalidMovie;
    }
    return noErr;
}

}  // namespace

OSStatus SurveyMovie(const std::shared_ptr<const ByteSource>& inSource, ImportedMovie& outMovie,
                     std::string& outProblem, const ImportOptions& inOptions) {
    return Survey(inSource, inOptions).Run(outMovie, outProblem);
}

}  // namespace toolbox::movies::general
