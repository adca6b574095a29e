// What an importer is told beside the file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace toolbox::movies {

struct ImportOptions {
    // Which of the file's sound tracks is to be the movie's first, from 1 in file order, disabled ones
    // counted too. 0: the first that is enabled or, where none is, the first.
    std::uint32_t soundTrack = 0;
};

// The text for people that goes with trackNotInMovie.
inline std::string NoSuchSoundTrack(std::uint32_t inWanted, std::size_t inCount) {
    return "there is no sound track " + std::to_string(inWanted) + ", the file has " +
           (inCount == 0 ? std::string("none") : std::to_string(inCount));
}

}  // namespace toolbox::movies
