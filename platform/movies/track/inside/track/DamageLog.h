// The packets of a sound track that became silence, each counted once however often it is rendered, and
// whether its end was met.
// Belongs to the movie's thread.
#pragma once

#include <cstdint>
#include <vector>

namespace toolbox::movies {

class DamageLog {
  public:
    // inPacket could not be read or decoded; inSilencedFrames of what it presents are silent. Throws
    // std::bad_alloc.
    void Note(std::uint32_t inPacket, std::int64_t inSilencedFrames);

    // The end of the sound was met: what is missing behind it, where anything is, would have come next.
    void NoteEnd() { mIsEndMet = true; }

    bool IsEndMet() const { return mIsEndMet; }
    std::uint64_t PacketCount() const { return mPacketCount; }
    std::int64_t SilencedFrameCount() const { return mSilencedFrameCount; }

  private:
    struct Run {  // consecutive packets
        std::uint32_t first;
        std::uint32_t last;
    };
    std::vector<Run> mRuns;  // in packet order, no two touching
    std::uint64_t mPacketCount = 0;
    std::int64_t mSilencedFrameCount = 0;
    bool mIsEndMet = false;
};

}  // namespace toolbox::movies
