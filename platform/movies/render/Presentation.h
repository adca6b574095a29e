// A track's presentation: its edits, and behind them the spans of its media.
#pragma once

#include "FrameSource.h"
#include "Resampler.h"
#include "SpanReader.h"
#include "track/DamageLog.h"
#include "track/SoundTrack.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace toolbox::movies {

// Frames at the track's rate. Empty edits and places where the media has no sound are silent.
class Presentation final : public FrameSource {
  public:
    // inTrack and inDamage are borrowed.
    Presentation(const SoundTrack& inTrack, DamageLog& inDamage, SampleForm inForm,
                 std::uint32_t inCellSeconds);

    std::int64_t FrameCount() const { return mEditEnds.empty() ? 0 : mEditEnds.back(); }
    [[nodiscard]] OSStatus Read(std::int64_t inFirst, std::int64_t inCount, FrameSink& ioSink) override;
    // Decodes from inFirst (< FrameCount()) on, as SpanReader::Pass does, so that the damage there is known.
    [[nodiscard]] OSStatus Pass(std::int64_t inFirst, std::int64_t* outCount);

  private:
    const PacketSpan* SpanAt(std::int64_t inFirst, std::int64_t* ioCount) const;
    [[nodiscard]] OSStatus ReadMedia(std::int64_t inFirst, std::int64_t inCount, FrameSink& ioSink);
    FrameSource& SourceOf(const PacketSpan& inSpan);

    const SoundTrack& mTrack;
    DamageLog& mDamage;
    SampleForm mForm;
    std::uint32_t mCellSeconds;
    std::vector<std::int64_t> mEditEnds;  // frames, one for each edit
    std::unique_ptr<PacketReader> mPackets;

    // The span being read; a track of one span never changes it.
    const PacketSpan* mSpan = nullptr;
    std::optional<SpanReader> mSpanReader;
    std::optional<Resampler> mResampler;  // when the span's rate is not the track's
};

}  // namespace toolbox::movies
