// Silence that no one can have meant: a few wrong bits in a table of times make centuries of it.
#pragma once

#include "track/SoundTrack.h"

namespace toolbox::movies {

// Whether the presentation has a gap, one stretch without sound, that is longer than a day and longer than a
// thousand times all packets of the track together. A track without packets is silent as a whole and has no
// gap.
bool HasBoundlessGap(const SoundTrack& inTrack);

}  // namespace toolbox::movies
