// The tunes metadata of a movie: the list of items in "udta", "meta", "ilst".
#pragma once

#include "MPEG4Boxes.h"
#include "track/SoundTrack.h"

#include <vector>

namespace toolbox::movies {

// The list of a movie box ("moov"); a box that does not exist when there is none.
Box FindTagList(BoxFile& ioFile, const Box& inMovie);

// The texts that there are names for, of each the first.
std::vector<MovieTag> ReadTags(BoxFile& ioFile, const Box& inMovie);

}  // namespace toolbox::movies
