// The texts of ID3v2 tags in front of raw AAC.
#pragma once

#include "track/MediaFile.h"
#include "track/SoundTrack.h"

#include <vector>

namespace toolbox::movies {

// Title, artist and the like, in UTF-8 unless a text that claims to be so is not; the first of each that a
// tag of version 2.2, 2.3 or 2.4 has. What is compressed, encrypted or longer than 32 KB is left out, and so
// is what a damaged tag has behind its damage.
std::vector<MovieTag> ReadID3Texts(const MediaFile& inFile);

}  // namespace toolbox::movies
