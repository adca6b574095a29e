// Movie fragments: packets that an MPEG-4 file adds to its tracks after the movie header.
#pragma once

#include "MPEG4Boxes.h"
#include "MPEG4Media.h"

#include <cstdint>
#include <string>
#include <vector>

namespace toolbox::movies {

// What holds for a track's fragments unless one says otherwise ("trex").
struct FragmentDefaults {
    std::uint32_t description = 1;  // counted from 1
    std::uint32_t durationUnits = 0;
    std::uint32_t sizeBytes = 0;
};

// A track that fragments may add to. `media` collects packets where they are wanted; of other tracks only the
// end of what is presented.
struct FragmentedTrack {
    std::uint32_t id = 0;
    FragmentDefaults defaults;
    MPEG4Media* media = nullptr;  // borrowed
    bool wantsPackets = false;
};

// Reads the defaults of all tracks in a movie box's "mvex". False when there is none: the movie has no
// fragments.
bool ReadFragmentDefaults(BoxFile& ioFile, const Box& inMovie, std::vector<FragmentedTrack>& ioTracks);

// Adds what a fragment ("moof") holds to the tracks it names; fragments of other tracks are passed over.
// Where a fragment starts more than a tick later than the one before it ended, a gap is left; one that starts
// earlier is put at the end. invalidMovie, with a text for people, when it claims what the file cannot hold;
// ioErr.
[[nodiscard]] OSStatus ReadFragment(BoxFile& ioFile, const Box& inFragment,
                                    std::vector<FragmentedTrack>& ioTracks, std::string& outProblem);

}  // namespace toolbox::movies
