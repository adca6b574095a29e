// The sample descriptions of MPEG-4 and QuickTime sound: what codec, at what rate, with what configuration.
#pragma once

#include "MPEG4Boxes.h"
#include "track/SoundTrack.h"

#include <cstdint>
#include <vector>

namespace toolbox::movies {

struct MPEG4SoundDescription {
    SoundFormat format;
    // False for sound that is not coded in packets of a known codec (PCM, ADPCM, speech codecs, what nobody
    // knows): another importer may know more of it. Its format has data format, rate and channel count only.
    bool isOurs = false;
    std::uint32_t delayFrames = 0;  // that the codec's own header says to drop at the start
};

// Reads the descriptions of a sample description box ("stsd"), at most 64 of them; damaged ones end the list.
// Encrypted sound is ours and not decodable.
std::vector<MPEG4SoundDescription> ReadSoundDescriptions(BoxFile& ioFile, const Box& inDescriptions);

// The data format of the first description of any kind of media, 0 when there is none.
OSType FirstDataFormat(BoxFile& ioFile, const Box& inDescriptions);

}  // namespace toolbox::movies
