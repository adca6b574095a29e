// From a data reference to a movie: the file that the alias names, given to each importer in turn.

#include "ComponentRegistry.h"
#include "track/MediaFile.h"
#include "MovieObjects.h"
#include "MovieToolbox.h"

#include <toolbox/Aliases.h>
#include <toolbox/MovieOpening.h>
#include <toolbox/SoundReport.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <utility>

namespace {

using toolbox::movies::ImportedMovie;
using toolbox::movies::ImportOptions;
using toolbox::movies::MediaFile;

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

OSStatus OpenFile(Handle inAlias, std::shared_ptr<const MediaFile>& outFile) {
    FSRef item;
    Boolean wasChanged = 0;
    OSStatus status = FSResolveAlias(nullptr, reinterpret_cast<AliasHandle>(inAlias), &item, &wasChanged);
    if (status == memFullErr) return status;
    if (status != noErr) {
        SetErrorText("the data reference names no file that can be found");
        return couldNotResolveDataRef;
    }
    status = MediaFile::Open(item, outFile);
    if (status != noErr) SetErrorText("the file cannot be opened (status " + std::to_string(status) + ")");
    return status;
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
            SetErrorText(problem.empty() ? "the file cannot be read" : problem);
            return status;
        }
        outMovie = std::move(movie);
        return noErr;
    }
    SetErrorText("not a file with sound or picture that is known");
    return cantFindHandler;
}

OSStatus OpenMovie(Handle inAlias, const ImportOptions& inOptions, std::unique_ptr<OpaqueMovie>& outMovie) {
    std::shared_ptr<const MediaFile> file;
    OSStatus status = OpenFile(inAlias, file);
    if (status != noErr) return status;
    ImportedMovie imported;
    status = Import(file, inOptions, imported);
    if (status != noErr) return status;
    outMovie = std::make_unique<OpaqueMovie>(std::move(imported));
    return noErr;
}

// False when the options are not of this toolbox.
bool ReadOptions(const MovieOpenOptions* inOptions, ImportOptions& outOptions) {
    if (inOptions == nullptr) return true;
    if (inOptions->byteCount != sizeof(MovieOpenOptions) || inOptions->soundTrack < 0) return false;
    outOptions.soundTrack = static_cast<std::uint32_t>(inOptions->soundTrack);
    return true;
}

OSErr NewMovie(Movie* outMovie, Handle inDataRef, OSType inDataRefType, const ImportOptions& inOptions) {
    if (outMovie == nullptr || inDataRef == nullptr || inDataRefType != rAliasType) {
        SetErrorText("a movie is opened from an alias record");
        return toolbox::movies::NoteMoviesError(outMovie == nullptr || inDataRef == nullptr ? paramErr
                                                                                            : invalidDataRef);
    }
    SetErrorText("");
    OSStatus status = memFullErr;
    try {
        std::unique_ptr<OpaqueMovie> movie;
        status = OpenMovie(inDataRef, inOptions, movie);
        *outMovie = movie.release();
    } catch (const std::bad_alloc&) {
        status = memFullErr;
    }
    if (status == memFullErr) SetErrorText("not enough memory");
    return toolbox::movies::NoteMoviesError(static_cast<OSErr>(status));
}

}  // namespace

OSErr NewMovieFromDataRef(Movie* outMovie, SInt16 /*inFlags*/, SInt16* ioResID, Handle inDataRef,
                          OSType inDataRefType) {
    if (outMovie != nullptr) *outMovie = nullptr;
    if (ioResID != nullptr) *ioResID = 0;
    return NewMovie(outMovie, inDataRef, inDataRefType, ImportOptions());
}

OSErr NewMovieFromDataRefWithOptions(Movie* outMovie, Handle inDataRef, OSType inDataRefType,
                                     const MovieOpenOptions* inOptions) {
    if (outMovie != nullptr) *outMovie = nullptr;
    ImportOptions options;
    if (ReadOptions(inOptions, options)) return NewMovie(outMovie, inDataRef, inDataRefType, options);
    SetErrorText("the options of opening are not understood");
    return toolbox::movies::NoteMoviesError(paramErr);
}

const char* GetMovieOpenErrorText() {
    return tOpenErrorText;
}
