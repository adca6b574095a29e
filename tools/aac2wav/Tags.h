// Texts about the sound, as a chunk of a WAV file.
#pragma once

#include <toolbox/Movies.h>

#include <cstddef>
#include <string>

namespace tool {

// A "LIST" of "INFO", texts in UTF-8, of an even number of bytes; empty for a movie without texts that are.
std::string TagChunk(Movie inMovie);

// Adds a chunk behind the sound to the size of the whole that a header tells.
void CountTagChunk(unsigned char* ioHeader, std::size_t inChunkBytes, bool inIsRF64);

}  // namespace tool
