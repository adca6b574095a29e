// The movie box of an MPEG-4 or QuickTime file: its tracks as far as an importer wants them.
#pragma once

#include "MPEG4Boxes.h"
#include "MPEG4Media.h"
#include "MPEG4SampleDescription.h"

#include <cstdint>
#include <string>
#include <vector>

namespace toolbox::movies {

struct MPEG4Track {
    std::uint32_t id = 0;
    bool isEnabled = true;
    OSType mediaType = 0;  // "soun" or "vide"
    std::vector<MPEG4Edit> edits;
    Box sampleTable;
    std::vector<MPEG4SoundDescription> descriptions;  // of sound
    MPEG4Media media;                                 // the time scale at first; packets later

    bool IsSound() const { return mediaType == BoxType("soun"); }
};

struct MPEG4Header {
    std::uint32_t timeScale = 600;
    std::vector<MPEG4Track> tracks;
};

// Reads a movie box without its sample tables and fragments.
// Kept are tracks of sound and of picture in file order, except attached pictures (what another track uses as
// chapter images, and still images that are disabled or single), and disabled tracks where one of the same
// kind is enabled.
//
// cantFindHandler when its first sound is not of a kind that this importer reads; invalidMovie, with a text
// for people, when it is damaged; ioErr.
OSStatus ReadMovieHeader(BoxFile& ioFile, const Box& inMovie, MPEG4Header& outHeader,
                         std::string& outProblem);

}  // namespace toolbox::movies
