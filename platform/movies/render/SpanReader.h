// The sound of one span: packets decoded one after the other, each giving exactly the frames that it
// presents.
//
// Which decoder decodes a packet, and from where on, depends on the packet alone, so a frame is the same
// whichever way reading came to it:
//   kNone       a fresh decoder wherever reading starts
//   kOnePacket  the span is laid out in cells of so many whole packets; each has a fresh decoder, which first
//   sees the
//               packet before the cell. Reading that goes on from cell to cell changes decoders all the same.
//               (Fresh, not flushed: a noise generator's state survives a flush.)
//   kUnbounded  one decoder from the span's first packet on
// Reading on costs nothing extra; reading elsewhere decodes from the beginning of the cell, or of the span.
#pragma once

#include "FrameConverter.h"
#include "FrameSource.h"
#include "decoder/SoundDecoder.h"
#include "track/DamageLog.h"
#include "track/PacketTimeline.h"
#include "track/SoundTrack.h"

namespace toolbox::movies {

class SpanReader final : public FrameSource {
  public:
    // All are borrowed. inCellSeconds: how long a cell is, rounded up to whole packets.
    SpanReader(const SoundTrack& inTrack, const PacketSpan& inSpan, PacketReader& inPackets,
               DamageLog& inDamage, SampleForm inForm, std::uint32_t inCellSeconds);

    // Span frames. What the first format's decoder answers when it cannot be had, memFullErr.
    [[nodiscard]] OSStatus Read(std::int64_t inFirst, std::int64_t inCount, FrameSink& ioSink) override;
    // Decodes from a frame on without giving the sound to anyone: as much as comes at once, the sound of a
    // packet or silence of any length. *outCount: the frames passed, 1 to inMost. As Read otherwise.
    [[nodiscard]] OSStatus Pass(std::int64_t inFirst, std::int64_t inMost, std::int64_t* outCount);

  private:
    // What the decoder is at. A packet is sent when it is ready, and all that comes of it is received before
    // the next; where sound comes late, what is left at the end of its work is drained.
    enum class State {
        kUnplaced,   // nowhere: nothing below holds
        kReady,      // for the next packet
        kReceiving,  // the sound of the packet in hand
        kDraining,   // no packet follows, sound does
        kDrained
    };
    struct PacketInHand {
        std::int64_t frameCount = 0;  // that it presents
        bool isFirst = false;         // that the decoder saw
        bool hasSounded = false;      // it gave a frame
        bool isDamaged = false;       // wholly or in part
    };
    enum class PieceKind { kSilence, kFloats, kShorts };
    // Frames ready to be handed out.
    struct Piece {
        PieceKind kind = PieceKind::kSilence;
        std::int64_t frameCount = 0;
        const void* left = nullptr;
        const void* right = nullptr;
    };

    std::uint32_t CellStart(std::uint32_t inPacket) const;
    std::uint32_t CellEnd(std::uint32_t inPacket) const;
    std::uint32_t StartFor(std::int64_t inFrame) const;
    [[nodiscard]] OSStatus SeekTo(std::int64_t inFrame);
    [[nodiscard]] OSStatus StartAt(std::uint32_t inPacket);
    [[nodiscard]] OSStatus PreRoll(std::uint32_t inPacket);

    [[nodiscard]] OSStatus NextPiece();
    [[nodiscard]] OSStatus Step();
    [[nodiscard]] OSStatus SendNextPacket();
    [[nodiscard]] OSStatus ReceiveSound();
    bool MayBeTrimmed() const;
    [[nodiscard]] OSStatus DecodeAgainUntrimmed();
    [[nodiscard]] OSStatus PlaceFrame();
    [[nodiscard]] OSStatus FinishPacket();
    [[nodiscard]] OSStatus FinishDamagedPacket();
    [[nodiscard]] OSStatus FinishCell();
    [[nodiscard]] OSStatus Settle(std::int64_t inFramesToCome);
    bool IsLagging() const;
    bool IsCommonForm() const;
    void GiveSilence(std::int64_t inFrameCount);
    void Hand(FrameSink& ioSink, std::int64_t inFrameCount);
    void Advance(std::int64_t inFrameCount);

    const SoundFormat& mFormat;
    const PacketSpan& mSpan;
    PacketReader& mPackets;
    DamageLog& mDamage;
    SampleForm mForm;
    PacketTimeline mTimeline;
    std::int64_t mTrackRateHz;
    std::uint32_t mCellPackets;
    DecoderMemory mMemory;
    SoundDecoder::Trimming mTrimming;

    SoundDecoder mDecoder;
    FrameConverter mConverter;
    bool mCanDecode = false;          // else this stretch is silent
    std::uint32_t mFirstDecoded = 0;  // the packet that this decoder saw first
    std::uint32_t mNextPacket = 0;    // to be sent
    std::uint32_t mCellEnd = 0;       // the packet where this decoder's work ends
    State mState = State::kUnplaced;
    PacketInHand mPacket;             // the last one sent
    const AVFrame* mFrame = nullptr;  // given by the decoder, waits to be placed
    std::int64_t mOwedFrames = 0;     // presented by packets sent, not yet given as pieces
    std::int64_t mSilenceOwed = 0;    // of these, to be given as silence once the converter is empty
    std::int64_t mPosition = 0;       // the span frame that mPiece starts with
    Piece mPiece;
};

}  // namespace toolbox::movies
