#include "Demuxer.h"

#include "Log.h"

#include <toolbox/MacErrors.h>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/avstring.h>
}

#include <algorithm>
#include <cerrno>
#include <limits>
#include <new>

namespace toolbox::movies::general {

namespace {

constexpr int kReadBufferBytes = 128 * 1024;

// Formats that hold sound in the file itself. What only points elsewhere (playlists, session descriptions,
// numbered images) or would guess at headerless samples is not among them.
constexpr const char* kDemuxers =
    "aiff,amr,amrnb,amrwb,ape,asf,au,avi,caf,dsf,dts,ac3,eac3,flac,flv,iff,iss,loas,matroska,mov,mp3,mpc,"
    "mpc8,mpeg,"
    "mpegts,ogg,oma,qcp,rm,shn,sox,tak,truehd,tta,voc,w64,wav,webm,wv";

// Two frames of a stream at the very beginning give this much; one chance match less.
constexpr int kLeastProbeScore = 5;

constexpr const char* kNothingFound = "there is neither sound nor picture in 64 MB of the file";

// In a transport stream, say, the tables may leave it to the packets what a stream is; private data is then
// called binary data.
bool IsKnown(const AVStream& inStream) {
    switch (inStream.codecpar->codec_type) {
        case AVMEDIA_TYPE_UNKNOWN:
            return false;
        case AVMEDIA_TYPE_DATA:
            return inStream.codecpar->codec_id != AV_CODEC_ID_NONE &&
                   inStream.codecpar->codec_id != AV_CODEC_ID_BIN_DATA;
        default:
            return true;
    }
}

// libavformat got no memory. That may be for want of it, or because a number in the file that is no number of
// anything was taken for the size of a table. What libavutil allows at most it refuses without asking the
// system; and where there is memory for all that the file's tables can need, more than that was asked for. No
// file's tables need more than libavutil allows at most. Where this much is not there either, memory is
// short, whatever the file claims: it is better tried again than called damaged.
bool IsMemoryShort(std::int64_t inFileBytes) {
    if (errno != ENOMEM) return false;
    constexpr std::int64_t kMaxPerByte = 64;
    constexpr std::int64_t kMaxBytes = std::numeric_limits<int>::max();
    constexpr std::int64_t kAnyway = 1 << 20;
    const std::int64_t neededBytes = std::min(inFileBytes, kMaxBytes / kMaxPerByte) * kMaxPerByte + kAnyway;
    void* const memory = ::operator new(static_cast<std::size_t>(neededBytes), std::nothrow);
    ::operator delete(memory);
    return memory == nullptr;
}

int RefuseOpening(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) {
    return AVERROR(EACCES);
}

}  // namespace

bool Demuxer::IsPicture(const AVStream& inStream) {
    return inStream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO &&
           (inStream.disposition & (AV_DISPOSITION_ATTACHED_PIC | AV_DISPOSITION_TIMED_THUMBNAILS)) == 0;
}

bool Demuxer::IsSound(const AVStream& inStream) {
    return inStream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
}

// Only for MPEG-4 and QuickTime does libavformat's mark tell this. Elsewhere it is what an author likes best.
bool Demuxer::IsEnabled(const AVStream& inStream) const {
    return av_match_name("mov", mFormat->iformat->name) == 0 ||
           (inStream.disposition & AV_DISPOSITION_DEFAULT) != 0;
}

int Demuxer::ReadBytes(void* inDemuxer, std::uint8_t* outBytes, int inCount) {
    Demuxer& self = *static_cast<Demuxer*>(inDemuxer);
    self.mIsLimitMet =
        self.mIsLimitMet || (!self.mDiscardsPictures && self.mBytesWithoutPacket >= kMaxBytesWithoutPacket);
    if (self.mIsLimitMet) return AVERROR_EOF;
    std::size_t read = 0;
    const OSStatus status =
        self.mSource->ReadAt(self.mPosition, outBytes, static_cast<std::size_t>(inCount), &read);
    if (status != noErr) {
        self.mReadStatus = status;
        return AVERROR(EIO);
    }
    self.mPosition += static_cast<std::int64_t>(read);
    self.mBytesWithoutPacket += static_cast<std::int64_t>(read);
    self.mReadEnd = std::max(self.mReadEnd, self.mPosition);
    return read == 0 ? AVERROR_EOF : static_cast<int>(read);
}

std::int64_t Demuxer::Seek(void* inDemuxer, std::int64_t inOffset, int inWhence) {
    Demuxer& self = *static_cast<Demuxer*>(inDemuxer);
    const std::int64_t size = self.mSource->SizeBytes();
    std::int64_t base = 0;
    switch (inWhence & ~AVSEEK_FORCE) {
        case AVSEEK_SIZE:
            return size;
        case SEEK_SET:
            break;
        case SEEK_CUR:
            base = self.mPosition;
            break;
        case SEEK_END:
            base = size;
            break;
        default:
            return AVERROR(EINVAL);
    }
    std::int64_t target = 0;
    if (__builtin_add_overflow(base, inOffset, &target) || target < 0) return AVERROR(EINVAL);
    self.mPosition = target;
    return target;
}

OSStatus Demuxer::OpenInput(std::string& outProblem) {
    auto* buffer = static_cast<unsigned char*>(av_malloc(kReadBufferBytes));
    if (buffer == nullptr) return memFullErr;
    mBytes = avio_alloc_context(buffer, kReadBufferBytes, 0, this, &ReadBytes, nullptr, &Seek);
    if (mBytes == nullptr) {
        av_free(buffer);
        return memFullErr;
    }
    const AVInputFormat* format = nullptr;
    errno = 0;
    const int score = av_probe_input_buffer2(mBytes, &format, "", nullptr, 0, 0);
    if (mReadStatus != noErr) return mReadStatus;
    if (score == AVERROR(ENOMEM)) return IsMemoryShort(mSource->SizeBytes()) ? memFullErr : cantFindHandler;
    if (score < kLeastProbeScore || av_match_list(format->name, kDemuxers, ',') <= 0) return cantFindHandler;
    return OpenAs(*format, outProblem);
}

OSStatus Demuxer::OpenAs(const AVInputFormat& inFormat, std::string& outProblem) {
    mFormat = avformat_alloc_context();
    if (mFormat == nullptr) return memFullErr;
    mFormat->pb = mBytes;
    mFormat->flags |= AVFMT_FLAG_CUSTOM_IO;
    mFormat->io_open = &RefuseOpening;
    // No protocol is called "none": the list allows nothing.
    AVDictionary* options = nullptr;
    if (av_dict_set(&options, "protocol_whitelist", "none", 0) < 0 ||
        av_dict_set(&options, "format_whitelist", kDemuxers, 0) < 0) {
        av_dict_free(&options);
        return memFullErr;
    }
    errno = 0;
    const int opened =
        avformat_open_input(&mFormat, "", &inFormat, &options);  // frees the context on failure
    av_dict_free(&options);
    if (opened >= 0) {
        // Some look through all of the file for what may stand behind the sound, and then begin with it.
        mBytesWithoutPacket = 0;
        mIsLimitMet = false;
        return noErr;
    }
    if (opened == AVERROR(ENOMEM) && IsMemoryShort(mSource->SizeBytes())) return memFullErr;
    if (opened == AVERROR(ENOMEM)) {
        outProblem = "a table claims more than the file can hold";
        return invalidMovie;
    }
    outProblem = mIsLimitMet ? kNothingFound : ReasonOf(opened);
    return mReadStatus != noErr ? mReadStatus : OSStatus{invalidMovie};
}

OSStatus Demuxer::Open(std::shared_ptr<const ByteSource> inSource, const ImportOptions& inOptions,
                       std::unique_ptr<Demuxer>& outDemuxer, std::string& outProblem) {
    std::unique_ptr<Demuxer> demuxer(new Demuxer(std::move(inSource), inOptions));
    const OSStatus status = demuxer->OpenInput(outProblem);
    if (status != noErr) return status;
    demuxer->SortStreams();
    outDemuxer = std::move(demuxer);
    return noErr;
}

Demuxer::~Demuxer() {
    avformat_close_input(&mFormat);
    if (mBytes != nullptr) {
        av_freep(&mBytes->buffer);
        avio_context_free(&mBytes);
    }
}

// With the stream counted already.
bool Demuxer::IsChosen(const AVStream& inStream) const {
    if (!IsSound(inStream)) return false;
    if (mOptions.soundTrack != 0) return mSoundCount == mOptions.soundTrack;
    if (mSound != nullptr) return false;
    if (IsEnabled(inStream)) return true;
    // Where streams can be disabled at all, they are all known from the beginning.
    for (unsigned index = 0; index < mFormat->nb_streams; ++index) {
        const AVStream& other = *mFormat->streams[index];
        if (IsSound(other) && IsEnabled(other)) return false;
    }
    return true;
}

// Whether its packets are left out where they are none that Next gives. Those of other sound, which may go on
// for long while the chosen one is silent, show that the file does. Sample tables tell where that is: a
// demuxer that goes by them passes other sound over, and must not stumble over what is missing of it.
bool Demuxer::IsDiscarded(const AVStream& inStream) const {
    if (mDiscardsPictures) return true;
    return !IsPicture(inStream) && (!IsSound(inStream) || av_match_name("mov", mFormat->iformat->name) != 0);
}

// Streams that have come to light since: the chosen one of sound is kept, others as wanted. One whose packets
// have to tell what it is must give them until they have; it counts from then on.
void Demuxer::SortStreams() {
    for (; mSeenStreamCount < mFormat->nb_streams; ++mSeenStreamCount)
        mUnsorted.push_back(mFormat->streams[mSeenStreamCount]);
    std::erase_if(mUnsorted, [this](AVStream* inStream) {
        if (!IsKnown(*inStream)) return false;
        mSoundCount += IsSound(*inStream) ? 1 : 0;
        if (IsChosen(*inStream))
            mSound = inStream;
        else if (IsDiscarded(*inStream))
            inStream->discard = AVDISCARD_ALL;
        return true;
    });
}

void Demuxer::DiscardPictures() {
    mDiscardsPictures = true;
    for (unsigned index = 0; index < mFormat->nb_streams; ++index) {
        AVStream& stream = *mFormat->streams[index];
        if (&stream != mSound && IsKnown(stream)) stream.discard = AVDISCARD_ALL;
    }
}

std::int64_t Demuxer::BytesGivenUp() const {
    return mIsLimitMet && mPacketsEnd >= 0 ? std::max<std::int64_t>(mSource->SizeBytes() - mPacketsEnd, 0)
                                           : 0;
}

OSStatus Demuxer::Next(AVPacket& outPacket, std::string& outProblem) {
    for (;;) {
        errno = 0;
        const int read = av_read_frame(mFormat, &outPacket);
        if (read == AVERROR(ENOMEM) && IsMemoryShort(mSource->SizeBytes())) return memFullErr;
        if (read < 0 && mIsLimitMet && mPacketsEnd < 0) {
            outProblem = kNothingFound;
            return invalidMovie;
        }
        if (read < 0) return mReadStatus != noErr ? mReadStatus : OSStatus{eofErr};
        SortStreams();
        const AVStream* stream = mFormat->streams[outPacket.stream_index];
        if (stream->discard != AVDISCARD_ALL && IsKnown(*stream)) {
            mBytesWithoutPacket = 0;
            mPacketsEnd = outPacket.pos >= 0 ? outPacket.pos + outPacket.size : avio_tell(mBytes);
            if (stream == mSound || IsPicture(*stream)) return noErr;
        }
        av_packet_unref(&outPacket);
    }
}

}  // namespace toolbox::movies::general
