// What a sound stream is, learned from its parameters and by decoding until it first sounds.
#pragma once

#include "Demuxer.h"
#include "general/Component.h"

#include <memory>
#include <string>

struct AVCodecParameters;

namespace toolbox::movies::general {

struct SoundStart {
    SoundFormat format;
    std::uint32_t decodedFrames = 0;  // in the first packet that gave any; 0 when there is no decoder
};

// What the container says; the decoder may know better.
SoundFormat DescribedFormat(const AVCodecParameters& inParameters);

// Reads on from where the demuxer is. The decoder is given what a SoundFormat says and no more, as it will be
// when the sound is rendered. noSoundTrackInMovieErr: no stream of sound; invalidMovie: a decoder there is,
// but none of the first packets decodes.
[[nodiscard]] OSStatus LearnSoundStart(Demuxer& ioDemuxer, SoundStart& outStart, std::string& outProblem);

}  // namespace toolbox::movies::general
