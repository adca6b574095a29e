#include "SpanReader.h"

#include "track/ExactTime.h"

#include <toolbox/MacErrors.h>

#include <algorithm>
#include <limits>

extern "C" {
#include <libavcodec/codec_id.h>
#include <libavutil/frame.h>
#include <libavutil/samplefmt.h>
}

namespace toolbox::movies {

namespace {

constexpr std::int64_t kEndless = std::numeric_limits<std::int64_t>::max();

std::uint32_t PacketsIn(std::uint32_t inSeconds, const SoundFormat& inFormat, const PacketSpan& inSpan) {
    std::uint64_t packetFrames = inFormat.nominalPacketFrames;
    if (packetFrames == 0 && !inSpan.durations.empty())
        packetFrames = inSpan.durations.front().framesPerPacket;
    if (packetFrames == 0) packetFrames = 1024;
    const std::uint64_t frames = static_cast<std::uint64_t>(inSeconds) * inFormat.sampleRateHz;
    const std::uint64_t packets = (frames + packetFrames - 1) / packetFrames;
    return static_cast<std::uint32_t>(std::clamp<std::uint64_t>(packets, 1, UINT32_MAX));
}

}  // namespace

SpanReader::SpanReader(const SoundTrack& inTrack, const PacketSpan& inSpan, PacketReader& inPackets,
                       DamageLog& inDamage, SampleForm inForm, std::uint32_t inCellSeconds)
    : mFormat(inTrack.formats[inSpan.format]),
      mSpan(inSpan),
      mPackets(inPackets),
      mDamage(inDamage),
      mForm(inForm),
      mTimeline(inSpan),
      mTrackRateHz(inTrack.SampleRateHz()),
      mCellPackets(PacketsIn(inCellSeconds, mFormat, inSpan)),
      mMemory(mFormat.memory),
      mTrimming(mFormat.codecID == AV_CODEC_ID_AAC && mFormat.nominalPacketFrames > 0
                    ? SoundDecoder::Trimming::kMayTrim
                    : SoundDecoder::Trimming::kKeepsAll),
      mConverter(mFormat.sampleRateHz, inForm) {}

OSStatus SpanReader::Read(std::int64_t inFirst, std::int64_t inCount, FrameSink& ioSink) {
    OSStatus status = SeekTo(inFirst);
    while (status == noErr && inCount > 0) {
        if (mPiece.frameCount == 0) {
            status = NextPiece();
            continue;
        }
        const std::int64_t taken = std::min(inCount, mPiece.frameCount);
        Hand(ioSink, taken);
        Advance(taken);
        inCount -= taken;
    }
    return status;
}

OSStatus SpanReader::Pass(std::int64_t inFirst, std::int64_t inMost, std::int64_t* outCount) {
    OSStatus status = SeekTo(inFirst);
    if (status == noErr) status = NextPiece();
    if (status != noErr) return status;
    *outCount = std::min(inMost, mPiece.frameCount);
    Advance(*outCount);
    return noErr;
}

// Where decoding has to start.

std::uint32_t SpanReader::CellStart(std::uint32_t inPacket) const {
    switch (mMemory) {
        case DecoderMemory::kNone:
            return inPacket;
        case DecoderMemory::kOnePacket:
            return inPacket - (inPacket - mSpan.firstPacket) % mCellPackets;
        case DecoderMemory::kUnbounded:
            break;
    }
    return mSpan.firstPacket;
}

std::uint32_t SpanReader::CellEnd(std::uint32_t inPacket) const {
    const std::uint32_t end = mTimeline.EndPacket();
    if (mMemory != DecoderMemory::kOnePacket) return end;
    const std::uint32_t start = CellStart(inPacket);
    return end - start > mCellPackets ? start + mCellPackets : end;
}

std::uint32_t SpanReader::StartFor(std::int64_t inFrame) const {
    const std::uint32_t packet = mTimeline.PacketAt(inFrame);
    // Past the end nothing sounds, wherever one starts.
    return packet == mTimeline.EndPacket() ? packet : CellStart(packet);
}

OSStatus SpanReader::SeekTo(std::int64_t inFrame) {
    const bool isPlaced = mState != State::kUnplaced;
    if (isPlaced && inFrame == mPosition) return noErr;
    const std::uint32_t start = StartFor(inFrame);
    if (!isPlaced || inFrame < mPosition || start > mNextPacket) {
        const OSStatus status = StartAt(start);
        if (status != noErr) return status;
    }
    while (mPosition < inFrame) {
        if (mPiece.frameCount == 0) {
            const OSStatus status = NextPiece();
            if (status != noErr) return status;
            continue;
        }
        Advance(std::min(inFrame - mPosition, mPiece.frameCount));
    }
    return noErr;
}

OSStatus SpanReader::StartAt(std::uint32_t inPacket) {
    mState = State::kUnplaced;
    const OSStatus status = mDecoder.Open(mFormat, mTrimming);
    if (status == memFullErr) return status;
    mCanDecode = status == noErr;
    // Without the format that is described there is nothing to export. A stretch in another is only silent.
    if (!mCanDecode && mSpan.format == 0) return status;
    if (mDecoder.HasDelay() && mMemory != DecoderMemory::kUnbounded) {
        // The sound of a pre-roll would still be on its way when the cell begins.
        mMemory = DecoderMemory::kUnbounded;
        inPacket = mSpan.firstPacket;
    }
    mConverter.Reset();
    mPiece = Piece();
    mOwedFrames = 0;
    mSilenceOwed = 0;
    mPacket = PacketInHand();
    mFrame = nullptr;
    mFirstDecoded = inPacket;
    if (mCanDecode && mMemory == DecoderMemory::kOnePacket && inPacket > mSpan.firstPacket &&
        inPacket < mTimeline.EndPacket()) {
        const OSStatus preRollStatus = PreRoll(inPacket - 1);
        if (preRollStatus != noErr) return preRollStatus;
    }
    mNextPacket = inPacket;
    mCellEnd = CellEnd(inPacket);
    mPosition = mTimeline.StartOf(inPacket);
    mState = State::kReady;
    return noErr;
}

OSStatus SpanReader::PreRoll(std::uint32_t inPacket) {
    // Damage is noted when the packet's own sound is wanted, not here.
    PacketBytes bytes;
    const OSStatus status = mPackets.Read(inPacket, bytes);
    if (status == memFullErr) return status;
    if (status != noErr) return noErr;
    SoundDecoder::Outcome outcome = mDecoder.Send(bytes);
    mFirstDecoded = inPacket;
    while (outcome != SoundDecoder::Outcome::kOutOfMemory) {
        outcome = mDecoder.Receive();
        if (outcome != SoundDecoder::Outcome::kSound && outcome != SoundDecoder::Outcome::kOutOfMemory)
            return noErr;
    }
    return memFullErr;
}

// Handing out what was decoded.

void SpanReader::Hand(FrameSink& ioSink, std::int64_t inFrameCount) {
    const auto frameCount = static_cast<std::size_t>(inFrameCount);
    switch (mPiece.kind) {
        case PieceKind::kSilence:
            ioSink.PutSilence(frameCount);
            break;
        case PieceKind::kFloats:
            ioSink.PutFloats(static_cast<const float*>(mPiece.left), static_cast<const float*>(mPiece.right),
                             frameCount);
            break;
        case PieceKind::kShorts:
            ioSink.PutShorts(static_cast<const std::int16_t*>(mPiece.left),
                             static_cast<const std::int16_t*>(mPiece.right), frameCount);
            break;
    }
}

void SpanReader::Advance(std::int64_t inFrameCount) {
    mPosition += inFrameCount;
    mPiece.frameCount -= inFrameCount;
    if (mPiece.kind == PieceKind::kFloats) {
        mPiece.left = static_cast<const float*>(mPiece.left) + inFrameCount;
        mPiece.right = static_cast<const float*>(mPiece.right) + inFrameCount;
    } else if (mPiece.kind == PieceKind::kShorts) {
        mPiece.left = static_cast<const std::int16_t*>(mPiece.left) + inFrameCount;
        mPiece.right = static_cast<const std::int16_t*>(mPiece.right) + inFrameCount;
    }
}

void SpanReader::GiveSilence(std::int64_t inFrameCount) {
    mPiece = Piece();
    mPiece.frameCount = inFrameCount;
}

// Decoding on.

bool SpanReader::IsLagging() const {
    return mDecoder.HasDelay() || mConverter.IsResampling();
}

bool SpanReader::IsCommonForm() const {
    const AVFrame& frame = mDecoder.Frame();
    return frame.format == AV_SAMPLE_FMT_FLTP &&
           frame.sample_rate == static_cast<int>(mFormat.sampleRateHz) &&
           (frame.ch_layout.nb_channels == 1 || frame.ch_layout.nb_channels == 2);
}

OSStatus SpanReader::NextPiece() {
    OSStatus status = noErr;
    while (status == noErr && mPiece.frameCount == 0)
        status = Step();
    return status;
}

OSStatus SpanReader::Step() {
    const auto available = static_cast<std::int64_t>(mConverter.Available());
    if (available > 0 && mOwedFrames > 0) {
        mPiece.kind = mForm == SampleForm::kShorts ? PieceKind::kShorts : PieceKind::kFloats;
        mPiece.frameCount = std::min(available, mOwedFrames);
        mPiece.left = mConverter.Left();
        mPiece.right = mConverter.Right();
        mOwedFrames -= mPiece.frameCount;
        mConverter.Drop(static_cast<std::size_t>(mPiece.frameCount));
        return noErr;
    }
    if (mSilenceOwed > 0) {
        GiveSilence(mSilenceOwed);
        mOwedFrames -= mSilenceOwed;
        mSilenceOwed = 0;
        return noErr;
    }
    if (mFrame != nullptr) return PlaceFrame();
    if (mState == State::kReceiving || mState == State::kDraining) return ReceiveSound();
    if (mNextPacket == mCellEnd) return FinishCell();
    return SendNextPacket();
}

OSStatus SpanReader::SendNextPacket() {
    const std::uint32_t packet = mNextPacket++;
    mPacket = PacketInHand();
    mPacket.frameCount = mTimeline.FramesOf(packet);
    mPacket.isFirst = packet == mFirstDecoded;
    mPacket.isDamaged = true;  // until the decoder has taken it
    mOwedFrames += mPacket.frameCount;
    if (!mCanDecode) return FinishPacket();
    PacketBytes bytes;
    const OSStatus status = mPackets.Read(packet, bytes);
    if (status == memFullErr) return status;
    if (status != noErr) return FinishPacket();
    switch (mDecoder.Send(bytes)) {
        case SoundDecoder::Outcome::kOutOfMemory:
            return memFullErr;
        case SoundDecoder::Outcome::kDamaged:
            return FinishPacket();
        default:
            mPacket.isDamaged = false;
            mState = State::kReceiving;
            return noErr;
    }
}

OSStatus SpanReader::ReceiveSound() {
    switch (mDecoder.Receive()) {
        case SoundDecoder::Outcome::kOutOfMemory:
            return memFullErr;
        case SoundDecoder::Outcome::kSound:
            if (MayBeTrimmed()) return DecodeAgainUntrimmed();
            mFrame = &mDecoder.Frame();
            return noErr;
        case SoundDecoder::Outcome::kDamaged:
            mPacket.isDamaged = true;
            break;
        case SoundDecoder::Outcome::kNothing:
            if (!mPacket.hasSounded && MayBeTrimmed()) return DecodeAgainUntrimmed();
            break;
    }
    if (mState == State::kDraining) {
        mState = State::kDrained;
        return noErr;
    }
    mState = State::kReady;
    return FinishPacket();
}

// Whether the decoder gave less than a packet of its format holds.
bool SpanReader::MayBeTrimmed() const {
    if (mTrimming == SoundDecoder::Trimming::kKeepsAll) return false;
    const AVFrame& frame = mDecoder.Frame();
    const std::int64_t rateHz = std::max(frame.sample_rate, 1);
    return static_cast<std::int64_t>(frame.nb_samples) * mFormat.sampleRateHz <
           static_cast<std::int64_t>(mFormat.nominalPacketFrames) * rateHz;
}

// From here on this reader's decoders keep all they decode; the one at work starts over, as it would have
// begun.
OSStatus SpanReader::DecodeAgainUntrimmed() {
    mTrimming = SoundDecoder::Trimming::kKeepsAll;
    mState = State::kUnplaced;
    return SeekTo(mPosition);
}

OSStatus SpanReader::PlaceFrame() {
    const AVFrame& frame = *mFrame;
    const bool isCommon = IsCommonForm();
    if (mConverter.IsResampling() && (isCommon || !mConverter.Accepts(frame))) {
        if (mDecoder.HasDelay()) return mConverter.Flush();
        return Settle(mPacket.hasSounded ? 0 : mPacket.frameCount);
    }
    mFrame = nullptr;
    mPacket.hasSounded = true;
    if (isCommon) {
        mConverter.Reset();
        mPiece.kind = PieceKind::kFloats;
        mPiece.frameCount = std::min<std::int64_t>(frame.nb_samples, mOwedFrames);
        mPiece.left = frame.extended_data[0];
        mPiece.right = frame.extended_data[frame.ch_layout.nb_channels - 1];
        mOwedFrames -= mPiece.frameCount;
        return noErr;
    }
    if (!mConverter.Accepts(frame)) mConverter.Reset();
    const OSStatus status = mConverter.Push(frame);
    if (status != badFormat) return status;
    mPacket.isDamaged = true;
    return noErr;
}

// The last packet has given all it will.
OSStatus SpanReader::FinishPacket() {
    // A first packet may only prepare the decoder for the second; a decoder with delay may do so with any.
    const bool mayBeSilent =
        mPacket.isFirst || mPacket.hasSounded || mPacket.frameCount == 0 || mDecoder.HasDelay();
    if (mPacket.isDamaged || !mayBeSilent) return FinishDamagedPacket();
    if (!IsLagging()) return Settle(0);
    // Sound that no packet presents must not pile up.
    mConverter.CutTo(static_cast<std::size_t>(mOwedFrames + mPacket.frameCount));
    return noErr;
}

OSStatus SpanReader::FinishDamagedPacket() {
    const std::int64_t missing =
        IsLagging() && mPacket.hasSounded ? 0 : std::min(mOwedFrames, mPacket.frameCount);
    if (missing > 0 || mPacket.frameCount == 0)
        mDamage.Note(mNextPacket - 1, ScaleRounded(missing, mTrackRateHz, mFormat.sampleRateHz));
    if (!mDecoder.HasDelay()) return Settle(0);
    GiveSilence(missing);
    mOwedFrames -= missing;
    return noErr;
}

// This decoder has no more packets to decode.
OSStatus SpanReader::FinishCell() {
    if (mDecoder.HasDelay() && mState != State::kDrained) {
        mState = State::kDraining;
        return mDecoder.SendEnd() == SoundDecoder::Outcome::kOutOfMemory ? memFullErr : noErr;
    }
    if (mOwedFrames > 0) return Settle(0);
    if (mNextPacket < mTimeline.EndPacket()) return StartAt(mNextPacket);
    GiveSilence(kEndless);
    return noErr;
}

// Everything owed but the last inFramesToCome frames gets what there is now, cut or followed by silence.
OSStatus SpanReader::Settle(std::int64_t inFramesToCome) {
    const OSStatus status = mConverter.IsResampling() ? mConverter.Flush() : noErr;
    if (status != noErr && status != badFormat) return status;
    const std::int64_t due = mOwedFrames - inFramesToCome;
    mConverter.CutTo(static_cast<std::size_t>(due));
    mSilenceOwed = due - static_cast<std::int64_t>(mConverter.Available());
    return noErr;
}

}  // namespace toolbox::movies
