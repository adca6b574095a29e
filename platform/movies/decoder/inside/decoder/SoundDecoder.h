// One decoder at work on consecutive packets of one format.
#pragma once

#include "track/SoundTrack.h"

#include <memory>

struct AVBufferRef;
struct AVCodecContext;
struct AVFrame;
struct AVPacket;

namespace toolbox::movies {

// Added to the level of every message of one context of the libraries that decode, which keeps them from
// writing on somebody's terminal and leaves the host's own use of their logging as it is. Sound that is
// damaged is counted instead. It puts each level past all that a host can choose to see, and none past 255,
// for above that the levels begin again.
constexpr int kSilentLogOffset = 128;

class SoundDecoder {
  public:
    SoundDecoder();  // throws std::bad_alloc
    ~SoundDecoder();
    SoundDecoder(const SoundDecoder&) = delete;
    SoundDecoder& operator=(const SoundDecoder&) = delete;

    // Whether the decoder may drop sound by its own judgement. The container alone says what to trim, but
    // keeping an AAC decoder from it costs four allocations a packet, for a case that one encoder's old files
    // make: whoever may allow it looks at what is missing and decodes again with kKeepsAll.
    enum class Trimming { kKeepsAll, kMayTrim };

    // Starts afresh: nothing that was decoded before shows in what follows. noCodecErr when the format cannot
    // be decoded, memFullErr.
    [[nodiscard]] OSStatus Open(const SoundFormat& inFormat, Trimming inTrimming = Trimming::kKeepsAll);
    // Whether sound comes out later than its packet went in, the rest of it only after the end.
    bool HasDelay() const;

    enum class Outcome { kSound, kNothing, kDamaged, kOutOfMemory };
    // Hands over a packet, when Receive has answered kNothing or kDamaged for the previous one. kNothing when
    // it was taken; kDamaged when it is not decodable, though it may have begun to sound.
    Outcome Send(const PacketBytes& inPacket);
    // No more packets; what is left of the sound follows.
    Outcome SendEnd();
    // The next stretch of sound; kNothing when the decoder wants the next packet, or is at its end.
    Outcome Receive();
    // What Receive gave, until its next call.
    const AVFrame& Frame() const { return *mFrame; }

  private:
    struct Deleter {
        void operator()(AVBufferRef* inBuffer) const;
        void operator()(AVCodecContext* inContext) const;
        void operator()(AVFrame* inFrame) const;
        void operator()(AVPacket* inPacket) const;
    };
    // What libavcodec calls for the planes of a frame.
    static int ProvidePlanes(AVCodecContext* inContext, AVFrame* ioFrame, int inFlags);

    // The planes of one frame. It is used again for the next, which libavcodec's own pool does at the price
    // of two more references and four locks a frame.
    std::unique_ptr<AVBufferRef, Deleter> mPlanes;
    std::unique_ptr<AVCodecContext, Deleter> mContext;
    std::unique_ptr<AVFrame, Deleter> mFrame;
    std::unique_ptr<AVPacket, Deleter> mPacket;
};

// Whether sound of this format can be exported: noErr, badFormat (encrypted), noCodecErr, memFullErr.
[[nodiscard]] OSStatus CheckDecodable(const SoundFormat& inFormat);

}  // namespace toolbox::movies
