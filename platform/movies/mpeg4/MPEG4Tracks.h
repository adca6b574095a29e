// The movie box of an MPEG-4 or QuickTime file: its tracks as far as an importer wants them.
#pragma once

#include "MPEG4Boxes.h"
#include "MPEG4Media.h"
#include "MPEG4SampleDescription.h"
#include "track/ImportOptions.h"
#include "track/SoundTrack.h"

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
    std::uint32_t soundNumber = 0;                    // among the file's sound tracks, from 1; 0: no sound

    bool IsSound() const { return mediaType == BoxType("soun"); }
};

struct MPEG4Header {
    std::uint32_t timeScale = 600;
    std::vector<MPEG4Track> tracks;
    std::vector<SoundTrackFacts> soundTracks;  // all of the file's, as they are described
    std::uint32_t usualSoundTrack = 0;         // which of them is the first when none is asked for
};

// Reads a movie box without its sample tables and fragments.
// Kept are tracks of sound and of picture in file order, except attached pictures (what another track uses as
// chapter images, and still images that are disabled or single), and disabled tracks where one of the same
// kind is enabled. A sound track that is asked for is kept in any case, and stands before the other ones.
//
// cantFindHandler when its first sound is not of a kind that this importer reads; trackNotInMovie or
// invalidMovie, with a text for people, when the sound track asked for is not there or the header is damaged;
// ioErr.
[[nodiscard]] OSStatus ReadMovieHeader(BoxFile& ioFile, const Box& inMovie, const ImportOptions& inOptions,
                                       MPEG4Header& outHeader, std::string& outProblem);

}  // namespace toolbox::movies
