// From a data reference to a movie: the file that the alias names, given to each importer in turn.

#include "ComponentRegistry.h"
#include "MovieObjects.h"
#include "MovieToolbox.h"
#include "SoundDescription.h"
#include "render/SampleConversion.h"
#include "status/StatusOfErrno.h"
#include "track/MediaFile.h"
#include "track/SilentGap.h"

#include <toolbox/Aliases.h>
#include <toolbox/MovieOpening.h>
#include <toolbox/SoundReport.h>
#include <toolbox/StatusText.h>

#include <algorithm>
#include <cassert>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace {

using toolbox::movies::ImportedMovie;
using toolbox::movies::ImportOptions;
using toolbox::movies::MediaFile;
using toolbox::movies::StopCheck;

// Of fixed size, so that telling of exhausted memory needs none.
thread_local char tOpenErrorText[512];

void SetErrorText(const std::string& inText) {
    const std::size_t length = std::min(inText.size(), sizeof tOpenErrorText - 1);
    std::memcpy(tOpenErrorText, inText.data(), length);
    tOpenErrorText[length] = 0;
}

void SetErrorText(const char* inText) {
    std::strncpy(tOpenErrorText, inText, sizeof tOpenErrorText - 1);
    tOpenErrorText[sizeof tOpenErrorText - 1] = 0;
}

std::string WordsOf(OSStatus inStatus) {
    const std::string words = GetFailureText(inStatus);
    return words.empty() ? "status " + std::to_string(inStatus) : words;
}

OSStatus OpenFile(Handle inAlias, std::shared_ptr<const MediaFile>& outFile) {
    FSRef item;
    Boolean wasChanged = 0;
    OSStatus status = FSResolveAlias(nullptr, reinterpret_cast<AliasHandle>(inAlias), &item, &wasChanged);
    if (status == memFullErr) return status;
    if (status != noErr) {
        SetErrorText(WordsOf(status));
        return couldNotResolveDataRef;
    }
    status = MediaFile::Open(item, outFile);
    if (status != noErr) SetErrorText(WordsOf(status));
    return status;
}

// What every importer promises, and everything behind the opening builds on.
[[maybe_unused]] bool IsAsPromised(const ImportedMovie& inMovie) {
    for (const toolbox::movies::ImportedTrack& track : inMovie.tracks) {
        if (track.mediaType != SoundMediaType && track.mediaType != VideoMediaType) return false;
        if (track.sound == nullptr) continue;
        const std::vector<toolbox::movies::SoundFormat>& formats = track.sound->formats;
        if (track.mediaType != SoundMediaType || formats.empty()) return false;
        for (const toolbox::movies::SoundFormat& format : formats)
            if (format.sampleRateHz == 0) return false;
        for (const toolbox::movies::PacketSpan& span : track.sound->spans)
            if (span.format >= formats.size()) return false;
    }
    for (const toolbox::movies::MovieTag& tag : inMovie.tags)
        if (tag.text.empty() || tag.text.find('\0') != std::string::npos) return false;
    return inMovie.takenSoundTrack <= inMovie.soundTracks.size();
}

OSStatus Import(const std::shared_ptr<const MediaFile>& inFile, const ImportOptions& inOptions,
                ImportedMovie& outMovie) {
    for (const OpaqueComponent& component : toolbox::movies::RegisteredComponents()) {
        if (component.import == nullptr) continue;
        ImportedMovie movie;
        std::string problem;
        const OSStatus status = component.import(inFile, movie, problem, inOptions);
        if (status == cantFindHandler) continue;
        if (status != noErr) {
            SetErrorText(problem.empty() ? WordsOf(status) : problem);
            return status;
        }
        assert(IsAsPromised(movie));
        outMovie = std::move(movie);
        return noErr;
    }
    SetErrorText(GetStatusText(cantFindHandler));
    return cantFindHandler;
}

// Whether so long a stream can be. What a few wrong bits in a table of times claim is told here, before
// anybody counts on it.
OSStatus RequireReason(const OpaqueMovie& inMovie) {
    using namespace toolbox::movies;
    // The bytes of every stream, with the longest header that one has, must be countable.
    constexpr std::int64_t kMaxHeaderBytes = 80;
    constexpr std::int64_t kMaxFrames =
        (std::numeric_limits<std::int64_t>::max() - kMaxHeaderBytes) / std::int64_t{kBytesPerStoredFrame};
    if (LengthOf(inMovie, StreamRateHz(inMovie.FirstSoundTrack())) > kMaxFrames) {
        SetErrorText("the file claims a length beyond reason");
        return invalidMovie;
    }
    for (const OpaqueTrack& track : inMovie.tracks) {
        if (track.media.sound == nullptr || !HasBoundlessGap(*track.media.sound)) continue;
        SetErrorText("the file claims a gap in its sound that is beyond reason");
        return invalidMovie;
    }
    return noErr;
}

class StopScope {
  public:
    StopScope(const MediaFile& inFile, StopCheck& ioCheck) : mFile(inFile) { mFile.SetStopCheck(&ioCheck); }
    ~StopScope() { mFile.SetStopCheck(nullptr); }
    StopScope(const StopScope&) = delete;
    StopScope& operator=(const StopScope&) = delete;

  private:
    const MediaFile& mFile;
};

OSStatus OpenMovie(Handle inAlias, const ImportOptions& inOptions, StopCheck& ioCheck,
                   std::unique_ptr<OpaqueMovie>& outMovie) {
    std::shared_ptr<const MediaFile> file;
    OSStatus status = OpenFile(inAlias, file);
    if (status != noErr) return status;
    ImportedMovie imported;
    {
        const StopScope scope(*file, ioCheck);
        status = Import(file, inOptions, imported);
    }
    // An importer may have taken what could not be read for damage, and gone on without it.
    if (ioCheck.IsStopped()) {
        SetErrorText("opening was stopped");
        return userCanceledErr;
    }
    if (status != noErr) return status;
    auto movie = std::make_unique<OpaqueMovie>(std::move(imported));
    status = RequireReason(*movie);
    if (status == noErr) outMovie = std::move(movie);
    return status;
}

bool AreKnown(const MovieOpenOptions& inOptions) {
    return inOptions.byteCount == sizeof(MovieOpenOptions) && inOptions.soundTrack >= 0;
}

OSStatus NewMovie(Movie* outMovie, Handle inDataRef, OSType inDataRefType,
                  const MovieOpenOptions& inOptions) {
    if (outMovie != nullptr) *outMovie = nullptr;
    if (outMovie == nullptr || inDataRef == nullptr || inDataRefType != rAliasType) {
        SetErrorText("a movie is opened from an alias record");
        return outMovie == nullptr || inDataRef == nullptr ? paramErr : invalidDataRef;
    }
    if (!AreKnown(inOptions)) {
        SetErrorText("the options of opening are not understood");
        return paramErr;
    }
    SetErrorText("");
    toolbox::ForgetSystemError();
    OSStatus status = memFullErr;
    try {
        StopCheck check(inOptions.shouldStop, inOptions.stopContext);
        std::unique_ptr<OpaqueMovie> movie;
        status = OpenMovie(inDataRef, {static_cast<std::uint32_t>(inOptions.soundTrack)}, check, movie);
        *outMovie = movie.release();
    } catch (const std::bad_alloc&) {
        status = memFullErr;
    }
    if (status == memFullErr) SetErrorText(GetStatusText(memFullErr));
    return status;
}

}  // namespace

OSErr NewMovieFromDataRef(Movie* outMovie, SInt16 /*inFlags*/, SInt16* ioResID, Handle inDataRef,
                          OSType inDataRefType) {
    if (ioResID != nullptr) *ioResID = 0;
    return NewMovieFromDataRefWithOptions(outMovie, inDataRef, inDataRefType, nullptr);
}

OSErr NewMovieFromDataRefWithOptions(Movie* outMovie, Handle inDataRef, OSType inDataRefType,
                                     const MovieOpenOptions* inOptions) {
    constexpr MovieOpenOptions kNone = {sizeof(MovieOpenOptions), 0, nullptr, nullptr};
    const OSStatus status =
        NewMovie(outMovie, inDataRef, inDataRefType, inOptions == nullptr ? kNone : *inOptions);
    const auto answer = static_cast<OSErr>(status);
    // That somebody wanted no movie is no failure to be remembered.
    return status == userCanceledErr ? answer : toolbox::movies::NoteMoviesError(answer);
}

const char* GetMovieOpenErrorText() {
    return tOpenErrorText;
}
