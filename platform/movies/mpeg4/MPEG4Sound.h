// A sound track of an MPEG-4 file, made from what its boxes said.
#pragma once

#include "MPEG4Gapless.h"
#include "MPEG4Tracks.h"
#include "track/SoundTrack.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace toolbox::movies {

struct MPEG4SoundSettings {
    std::uint32_t movieTimeScale = 600;
    bool isFragmented = false;
    bool mustBeThere = false;  // refuse sound of which no packet lies inside the file
    std::optional<GaplessTag>
        gapless;  // counts where there is no edit list, or one that presents all of the media
};

// Completes formats, spans, edits and trims. Takes the packets out of ioTrack.
// invalidMovie, with a text for people, when the sound cannot be laid out; ioErr when a packet that has to be
// looked at cannot be read.
[[nodiscard]] OSStatus MakeSoundTrack(const std::shared_ptr<const MediaFile>& inFile, MPEG4Track& ioTrack,
                                      const MPEG4SoundSettings& inSettings,
                                      std::unique_ptr<SoundTrack>& outSound, std::string& outProblem);

}  // namespace toolbox::movies
