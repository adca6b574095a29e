#include "track/SoundTrack.h"

namespace toolbox::movies {

std::int64_t SoundTrack::FrameCount() const {
    std::int64_t frameCount = 0;
    for (const Edit& edit : edits) {
        // The sum saturates: what a file claims must not wrap to something small.
        if (__builtin_add_overflow(frameCount, edit.frameCount, &frameCount)) return INT64_MAX;
    }
    return frameCount;
}

}  // namespace toolbox::movies
