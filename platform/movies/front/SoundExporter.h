// The sound exporter: a component that renders a stretch of a movie's sound into a sound resource.
#pragma once

#include "ComponentRegistry.h"
#include "MovieObjects.h"
#include "render/SoundRenderer.h"

#include <cstdint>
#include <memory>

namespace toolbox::movies {

class SoundExporter final : public OpaqueComponentInstance {
  public:
    explicit SoundExporter(Component inComponent) : OpaqueComponentInstance(inComponent) {}

    // inDescription: a sample description of at least 36 bytes. badFormat unless it asks for "twos", version
    // 0, two channels of 16 bits, at a whole rate of 1 Hz or more; then the format before stays.
    [[nodiscard]] OSStatus SetFormat(Handle inDescription);

    // Renders the frames that play in [inStart, inStart + inDuration), in the movie's time scale, both >= 0.
    // inTrack: one of the movie's. On failure the handle's contents are unspecified. Throws std::bad_alloc,
    // after which only Forget and destruction are left.
    [[nodiscard]] OSStatus Export(Handle ioHandle, const OpaqueMovie& inMovie, const OpaqueTrack* inTrack,
                                  std::int64_t inStart, std::int64_t inDuration);
    // Lets go of the sound rendered last.
    void Forget() { mRenderer.reset(); }

  private:
    std::uint32_t RateFor(const OpaqueTrack* inTrack) const;
    SoundRenderer& RendererOf(const OpaqueMedia& inMedia, std::uint32_t inRateHz);

    std::uint32_t mRateHz = 0;  // 0: as the sound is described
    // The decoder's state from one export to the next. It shares the track it renders: as long as it is here,
    // no other track can come to lie at the same address and be mistaken for it.
    std::unique_ptr<SoundRenderer> mRenderer;
};

}  // namespace toolbox::movies
