#include "MovieObjects.h"
#include "Movies_test_access.h"
#include "SoundDescription.h"
#include "track/ExactTime.h"

#include <toolbox/Movies.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <limits>
#include <utility>

struct OpaqueMediaHandler {
    OSType mediaType;
    unsigned char name[32];  // Pascal string
};

namespace {

using toolbox::movies::Duration;
using toolbox::movies::ImportedTrack;

std::atomic<std::int64_t> sLiveMovies = 0;

constexpr OSType kManufacturer = FourChars("mrtl");
constexpr OpaqueMediaHandler kSoundHandler = {SoundMediaType, "\x13Sound Media Handler"};
constexpr OpaqueMediaHandler kVideoHandler = {VideoMediaType, "\x13Video Media Handler"};

bool IsShorter(const Duration& inOne, const Duration& inOther) {
    return static_cast<__int128>(inOne.units) * inOther.unitsPerSecond <
           static_cast<__int128>(inOther.units) * inOne.unitsPerSecond;
}

}  // namespace

OpaqueMovie::OpaqueMovie(toolbox::movies::ImportedMovie inImported)
    : containerName(std::move(inImported.containerName)),
      soundTracks(std::move(inImported.soundTracks)),
      takenSoundTrack(inImported.takenSoundTrack),
      tags(std::move(inImported.tags)),
      timeScale(std::max<TimeScale>(inImported.timeScale, 1)) {
    tracks.reserve(inImported.tracks.size());
    for (ImportedTrack& imported : inImported.tracks) {
        OpaqueTrack& track = tracks.emplace_back();
        track.duration = imported.duration;
        track.media.mediaType = imported.mediaType;
        if (imported.sound != nullptr) {
            track.media.sound = std::move(imported.sound);
            track.media.damage = std::make_shared<toolbox::movies::DamageLog>();
        }
        if (IsShorter(longest, track.duration)) longest = track.duration;
    }
    ++sLiveMovies;
}

OpaqueMovie::~OpaqueMovie() {
    --sLiveMovies;
}

const OpaqueTrack* OpaqueMovie::FirstSoundTrack() const {
    for (const OpaqueTrack& track : tracks) {
        if (track.media.sound != nullptr) return &track;
    }
    return nullptr;
}

namespace toolbox::movies {

std::int64_t LengthOf(const OpaqueMovie& inMovie, std::int64_t inUnitsPerSecond) {
    return ScaleRounded(inMovie.longest.units, inUnitsPerSecond, inMovie.longest.unitsPerSecond);
}

std::uint32_t StreamRateHz(const OpaqueTrack* inTrack) {
    constexpr std::uint32_t kRateWithoutSoundHz = 44100;
    if (inTrack == nullptr || inTrack->media.sound == nullptr) return kRateWithoutSoundHz;
    return DescribedRateHz(inTrack->media.sound->SampleRateHz());
}

std::int64_t LiveMovieCount() {
    return sLiveMovies;
}

}  // namespace toolbox::movies

void DisposeMovie(Movie inMovie) {
    delete inMovie;
}

TimeValue GetMovieDuration(Movie inMovie) {
    if (inMovie == nullptr) return 0;
    constexpr std::int64_t kMax = std::numeric_limits<TimeValue>::max();
    return static_cast<TimeValue>(std::min(toolbox::movies::LengthOf(*inMovie, inMovie->timeScale), kMax));
}

TimeScale GetMovieTimeScale(Movie inMovie) {
    return inMovie == nullptr ? 0 : inMovie->timeScale;
}

void SetMovieTimeScale(Movie inMovie, TimeScale inTimeScale) {
    if (inMovie != nullptr && inTimeScale > 0) inMovie->timeScale = inTimeScale;
}

SInt32 GetMovieTrackCount(Movie inMovie) {
    return inMovie == nullptr ? 0 : static_cast<SInt32>(inMovie->tracks.size());
}

Track GetMovieIndTrack(Movie inMovie, SInt32 inIndex) {
    if (inIndex < 1 || inIndex > GetMovieTrackCount(inMovie)) return nullptr;
    return &inMovie->tracks[static_cast<std::size_t>(inIndex) - 1];
}

Media GetTrackMedia(Track inTrack) {
    return inTrack == nullptr ? nullptr : &inTrack->media;
}

MediaHandler GetMediaHandler(Media inMedia) {
    if (inMedia == nullptr) return nullptr;
    const OpaqueMediaHandler& handler = inMedia->mediaType == SoundMediaType ? kSoundHandler : kVideoHandler;
    return const_cast<MediaHandler>(&handler);
}

void GetMediaHandlerDescription(Media inMedia, OSType* outMediaType, StringPtr outCreatorName,
                                OSType* outCreatorManufacturer) {
    if (outMediaType != nullptr) *outMediaType = 0;
    if (outCreatorName != nullptr) outCreatorName[0] = 0;
    if (outCreatorManufacturer != nullptr) *outCreatorManufacturer = 0;
    const OpaqueMediaHandler* handler = GetMediaHandler(inMedia);
    if (handler == nullptr) return;
    if (outMediaType != nullptr) *outMediaType = handler->mediaType;
    if (outCreatorName != nullptr) std::memcpy(outCreatorName, handler->name, handler->name[0] + 1U);
    if (outCreatorManufacturer != nullptr) *outCreatorManufacturer = kManufacturer;
}

SInt32 GetMediaSampleDescriptionCount(Media inMedia) {
    if (inMedia == nullptr || inMedia->sound == nullptr) return 0;
    return static_cast<SInt32>(inMedia->sound->formats.size());
}

void GetMediaSampleDescription(Media inMedia, SInt32 inIndex, Handle ioDescription) {
    if (ioDescription == nullptr) return;
    if (inIndex < 1 || inIndex > GetMediaSampleDescriptionCount(inMedia)) {
        SetHandleSize(ioDescription, 0);
        return;
    }
    const auto& format = inMedia->sound->formats[static_cast<std::size_t>(inIndex) - 1];
    const auto record = Encode(toolbox::movies::Describe(format));
    SetHandleSize(ioDescription, static_cast<Size>(record.size()));
    if (MemError() == noErr) std::memcpy(*ioDescription, record.data(), record.size());
}
