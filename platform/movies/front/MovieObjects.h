// What stands behind the movie toolbox's opaque types.
#pragma once

#include "track/DamageLog.h"
#include "track/SoundTrack.h"

#include <toolbox/Movies.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct OpaqueMedia {
    OSType mediaType = 0;
    // Of sound only. Shared with what renders it, which may outlive the movie.
    std::shared_ptr<const toolbox::movies::SoundTrack> sound;
    std::shared_ptr<toolbox::movies::DamageLog> damage;
};

struct OpaqueTrack {
    OpaqueMedia media;
    toolbox::movies::Duration duration;
};

struct OpaqueMovie {
    explicit OpaqueMovie(toolbox::movies::ImportedMovie inImported);  // throws std::bad_alloc
    ~OpaqueMovie();
    OpaqueMovie(const OpaqueMovie&) = delete;
    OpaqueMovie& operator=(const OpaqueMovie&) = delete;

    const OpaqueTrack* FirstSoundTrack() const;  // null when there is none

    std::string containerName;
    std::vector<toolbox::movies::SoundTrackFacts> soundTracks;  // of the file
    std::uint32_t takenSoundTrack;                              // from 1; 0: none
    std::vector<toolbox::movies::MovieTag> tags;
    std::vector<OpaqueTrack> tracks;  // never changes its size, so tracks stay where they are
    toolbox::movies::Duration longest;
    TimeScale timeScale;
};

namespace toolbox::movies {

// The movie's length in units of inUnitsPerSecond (> 0), rounded to nearest.
std::int64_t LengthOf(const OpaqueMovie& inMovie, std::int64_t inUnitsPerSecond);

// Frames per second of what a track is exported to unless told otherwise; inTrack may be null.
std::uint32_t StreamRateHz(const OpaqueTrack* inTrack);

}  // namespace toolbox::movies
