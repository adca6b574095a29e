// A media file opened with libavformat, read from its beginning to its end.
// Nothing but the file itself is ever read: no network, no other file that it names, no playlist.
#pragma once

#include "general/Component.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

struct AVFormatContext;
struct AVIOContext;
struct AVInputFormat;
struct AVPacket;
struct AVStream;

namespace toolbox::movies::general {

class Demuxer {
  public:
    // How much is read for opening, and then in search of each packet. The content ends where that is met.
    static constexpr std::int64_t kMaxBytesWithoutPacket = std::int64_t{64} << 20;

    // inOptions chooses the sound stream. cantFindHandler when no demuxer of ours knows the file;
    // invalidMovie when one does and cannot read it; ioErr.
    [[nodiscard]] static OSStatus Open(std::shared_ptr<const ByteSource> inSource,
                                       const ImportOptions& inOptions, std::unique_ptr<Demuxer>& outDemuxer,
                                       std::string& outProblem);
    ~Demuxer();
    Demuxer(const Demuxer&) = delete;
    Demuxer& operator=(const Demuxer&) = delete;

    AVFormatContext& Format() { return *mFormat; }
    // The stream of sound that was chosen, or null: in some formats streams come to light only while packets
    // are read.
    AVStream* Sound() const { return mSound; }
    // Streams of sound that have come to light.
    std::uint32_t SoundCount() const { return mSoundCount; }
    static bool IsSound(const AVStream& inStream);
    // Whether the container says that a stream is to be played.
    bool IsEnabled(const AVStream& inStream) const;
    // Whether a stream is moving pictures, and not the cover of the sound.
    static bool IsPicture(const AVStream& inStream);
    // From now on, only packets of the chosen sound are read. The others have kept the limit from being met,
    // so that what is read on for sound is not limited any more.
    void DiscardPictures();

    // The next packet of the sound stream or, unless discarded, of a stream of pictures. The caller unrefs
    // it. eofErr at the end, which includes content that cannot be read any further; ioErr; memFullErr;
    // invalidMovie, with a problem for people, when the limit is met before the first packet.
    [[nodiscard]] OSStatus Next(AVPacket& outPacket, std::string& outProblem);
    // Bytes from the last packet to the file's end, where the limit was met behind it; else 0.
    std::int64_t BytesGivenUp() const;
    // Up to where the file was read at most.
    std::int64_t ReadEndBytes() const { return mReadEnd; }

  private:
    Demuxer(std::shared_ptr<const ByteSource> inSource, const ImportOptions& inOptions)
        : mSource(std::move(inSource)), mOptions(inOptions) {}
    [[nodiscard]] OSStatus OpenInput(std::string& outProblem);
    [[nodiscard]] OSStatus OpenAs(const AVInputFormat& inFormat, std::string& outProblem);
    void SortStreams();
    bool IsChosen(const AVStream& inStream) const;
    bool IsDiscarded(const AVStream& inStream) const;
    static int ReadBytes(void* inDemuxer, std::uint8_t* outBytes, int inCount);
    static std::int64_t Seek(void* inDemuxer, std::int64_t inOffset, int inWhence);

    std::shared_ptr<const ByteSource> mSource;
    ImportOptions mOptions;
    std::int64_t mBytesWithoutPacket = 0;
    std::int64_t mReadEnd = 0;
    std::int64_t mPacketsEnd = -1;  // of the last packet; -1: there was none
    bool mIsLimitMet = false;
    std::int64_t mPosition = 0;
    OSStatus mReadStatus = 0;
    AVIOContext* mBytes = nullptr;
    AVFormatContext* mFormat = nullptr;
    AVStream* mSound = nullptr;
    std::uint32_t mSoundCount = 0;
    unsigned mSeenStreamCount = 0;
    std::vector<AVStream*> mUnsorted;  // not known yet
    bool mDiscardsPictures = false;
};

}  // namespace toolbox::movies::general
