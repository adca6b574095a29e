#include <toolbox/MovieTags.h>
#include <toolbox/SoundReport.h>
#include <toolbox/SoundTracks.h>

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

SInt32 GetMovieSoundTrackCount(Movie inMovie) {
    return inMovie == nullptr ? 0 : static_cast<SInt32>(inMovie->soundTracks.size());
}

OSErr GetMovieIndSoundTrackInfo(Movie inMovie, SInt32 inIndex, MovieSoundTrackInfo* outInfo) {
    if (inMovie == nullptr || outInfo == nullptr) return paramErr;
    if (inIndex < 1 || inIndex > GetMovieSoundTrackCount(inMovie)) return trackNotInMovie;
    const auto& facts = inMovie->soundTracks[static_cast<std::size_t>(inIndex) - 1];
    *outInfo = MovieSoundTrackInfo();
    outInfo->format = facts.dataFormat;
    CopyText(facts.name, outInfo->formatName);
    CopyText(facts.language, outInfo->language);
    outInfo->sampleRateHz = facts.sampleRateHz;
    outInfo->channelCount = facts.channelCount;
    outInfo->isEnabled = facts.isEnabled;
    outInfo->isAAC = facts.isAAC;
    outInfo->isTaken = static_cast<std::uint32_t>(inIndex) == inMovie->takenSoundTrack;
    return noErr;
}

const char* GetMovieTag(Movie inMovie, UInt32 inTag) {
    if (inMovie == nullptr) return nullptr;
    for (const toolbox::movies::MovieTag& tag : inMovie->tags)
        if (tag.tag == inTag) return tag.text.c_str();
    return nullptr;
}

SInt64 GetMovieDuration64(Movie inMovie, UInt32 inRateHz) {
    if (inMovie == nullptr || inRateHz == 0) return 0;
    return toolbox::movies::LengthOf(*inMovie, inRateHz);
}
