// Keeps the libraries that decode from writing on somebody's terminal.
#pragma once

namespace toolbox::movies {

// Added to the level of every message of one context, which leaves the host's own use of the libraries'
// logging as it is. Sound that is damaged is counted instead. It puts each level past all that a host can
// choose to see, and none past 255, for above that the levels begin again.
constexpr int kSilentLogOffset = 128;

}  // namespace toolbox::movies
