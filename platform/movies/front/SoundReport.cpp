#include <toolbox/SoundReport.h>

#include "MovieObjects.h"
#include "decoder/SoundDecoder.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>

namespace {

using toolbox::movies::SoundFormat;
using toolbox::movies::SoundTrack;

template <std::size_t kCapacity>
void CopyText(const std::string& inText, char (&outText)[kCapacity]) {
    const std::size_t length = std::min(inText.size(), kCapacity - 1);
    std::memcpy(outText, inText.data(), length);
    outText[length] = 0;
}

OSStatus Decodability(const SoundFormat& inFormat) {
    try {
        return toolbox::movies::CheckDecodable(inFormat);
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

}  // namespace

OSErr GetMovieSoundReport(Movie inMovie, MovieSoundReport* outReport) {
    if (inMovie == nullptr || outReport == nullptr) return paramErr;
    *outReport = MovieSoundReport();
    CopyText(inMovie->containerName, outReport->containerName);
    const OpaqueTrack* track = inMovie->FirstSoundTrack();
    if (track == nullptr) return noErr;

    const SoundTrack& sound = *track->media.sound;
    const SoundFormat& format = sound.formats.front();
    outReport->format = format.dataFormat;
    CopyText(format.name, outReport->formatName);
    outReport->sampleRateHz = format.sampleRateHz;
    outReport->channelCount = format.channelCount;
    outReport->decodable = Decodability(format);
    outReport->frameCount = sound.FrameCount();
    outReport->trimSource = sound.trimSource;
    outReport->framesTrimmedAtStart = sound.framesTrimmedAtStart;
    outReport->framesTrimmedAtEnd = sound.framesTrimmedAtEnd;
    outReport->packetCount = sound.packets == nullptr ? 0 : sound.packets->PacketCount();
    outReport->damagedPacketCount = track->media.damage->PacketCount();
    outReport->silencedFrameCount = track->media.damage->SilencedFrameCount();
    outReport->skippedByteCount = sound.skippedByteCount;
    return noErr;
}

SInt64 GetMovieDuration64(Movie inMovie, UInt32 inRateHz) {
    if (inMovie == nullptr || inRateHz == 0) return 0;
    return toolbox::movies::LengthOf(*inMovie, inRateHz);
}
