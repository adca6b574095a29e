// What taggers put around and between the frames of a raw AAC file.
#pragma once

#include "track/FileWindow.h"

#include <cstdint>

namespace toolbox::movies {

// The size of an ID3v2 tag at an offset, its header and footer included; 0 when none begins there. The size
// is what the tag claims, which may be more than the file holds.
std::int64_t ID3v2Bytes(FileWindow& ioWindow, std::int64_t inOffset);

// Where the tags at the file's end begin: an ID3v1 tag, an APE tag, or both; the file's size when there are
// none.
std::int64_t EndTagsOffset(FileWindow& ioWindow);

}  // namespace toolbox::movies
