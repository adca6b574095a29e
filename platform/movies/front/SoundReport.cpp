#include "MovieObjects.h"
#include "decoder/SoundDecoder.h"
#include "render/SoundRenderer.h"
#include "track/ExactTime.h"

#include <toolbox/MovieTags.h>
#include <toolbox/SoundReport.h>
#include <toolbox/SoundTracks.h>

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

// Where there is no sound at all, the end is met at once.
bool IsCutMet(const SoundTrack& inSound, const toolbox::movies::DamageLog& inDamage) {
    return inSound.isCutOff && (inDamage.IsEndMet() || inSound.FrameCount() == 0);
}

struct SoundCheck {
    std::uint32_t rateHz;
    SInt64 first;
    SInt64 end;
    MovieSoundCheckProc proc;
    void* context;
};

OSStatus CheckSound(const OpaqueMedia& inMedia, const SoundCheck& inCheck) {
    using toolbox::movies::ScaleRounded;
    const std::uint32_t rateHz = inMedia.sound->SampleRateHz();
    toolbox::movies::SoundRenderer renderer(inMedia.sound, inMedia.damage, rateHz);
    const std::int64_t end =
        std::min(ScaleRounded(inCheck.end, rateHz, inCheck.rateHz), renderer.FrameCount());
    SInt64 told = inCheck.first;
    for (std::int64_t position = ScaleRounded(inCheck.first, rateHz, inCheck.rateHz); position < end;) {
        std::int64_t passed = 0;
        const OSStatus status = renderer.Pass(position, &passed);
        if (status != noErr) return status;
        position = std::min(position + passed, end);
        const SInt64 here = ScaleRounded(position, inCheck.rateHz, rateHz);
        if (inCheck.proc == nullptr || (here - told < inCheck.rateHz && position < end)) continue;
        if (inCheck.proc(inCheck.context, here - told) == 0) return noErr;
        told = here;
    }
    if (end == renderer.FrameCount()) inMedia.damage->NoteEnd();
    return noErr;
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
    const toolbox::movies::DamageLog& damage = *track->media.damage;
    outReport->isCutOff = IsCutMet(sound, damage) ? 1 : 0;
    outReport->damagedPacketCount = damage.PacketCount() + outReport->isCutOff;
    outReport->silencedFrameCount = damage.SilencedFrameCount();
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

OSErr CheckMovieSound(Movie inMovie, UInt32 inRateHz, SInt64 inFirst, SInt64 inEnd,
                      MovieSoundCheckProc inProc, void* inContext) {
    if (inMovie == nullptr || inRateHz == 0 || inFirst < 0) return paramErr;
    const OpaqueTrack* track = inMovie->FirstSoundTrack();
    if (track == nullptr || inEnd <= inFirst) return noErr;
    try {
        return static_cast<OSErr>(CheckSound(track->media, {inRateHz, inFirst, inEnd, inProc, inContext}));
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

SInt64 GetMovieDuration64(Movie inMovie, UInt32 inRateHz) {
    if (inMovie == nullptr || inRateHz == 0) return 0;
    return toolbox::movies::LengthOf(*inMovie, inRateHz);
}
