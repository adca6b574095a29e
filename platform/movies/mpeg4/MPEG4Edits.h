// Edit lists: which parts of a track's media are presented, and where silence is.
#pragma once

#include "MPEG4Boxes.h"
#include "MPEG4Media.h"
#include "track/SoundTrack.h"

#include <cstdint>
#include <vector>

namespace toolbox::movies {

// Reads an edit list box ("elst"), whole or as far as it is there.
std::vector<MPEG4Edit> ReadEditList(BoxFile& ioFile, const Box& inEditList);

// What edits are measured with.
struct EditClocks {
    std::uint32_t movieTimeScale = 0;
    std::uint32_t mediaTimeScale = 0;
    std::int64_t mediaStartUnits = 0;  // media time of the first packet; edits cannot reach before it
    std::int64_t mediaFrames = 0;      // the length of the media
    std::uint32_t rateHz = 0;          // of frames
    bool isFragmented = false;
};

// Converts edits to frames.
//   - Lengths are summed in movie time and each sum is rounded once, so that errors do not add up.
//   - Where the movie's time scale cannot express every frame, an edit that ends within one of its ticks of
//   the
//     media's end ends there: the writer rounded.
//   - Length zero means "to the media's end" in a fragmented file, whose length its header cannot know, and
//   where
//     nothing else would be presented. Elsewhere it presents nothing.
//   - An edit presents its length even where the media is shorter: silence is what is missing.
//   - A media rate other than 1 counts as 1.
// An empty list presents the media as it is. False when the presentation would be longer than any can be.
bool ConvertEdits(const std::vector<MPEG4Edit>& inEdits, const EditClocks& inClocks,
                  std::vector<Edit>& outEdits);

// The length of a presentation of another kind of media, in movie time where there are edits, else in media
// time.
Duration PresentedDuration(const std::vector<MPEG4Edit>& inEdits, std::uint32_t inMovieTimeScale,
                           std::int64_t inMediaUnits, std::uint32_t inMediaTimeScale);

}  // namespace toolbox::movies
