// Movies opened from an alias like any other, with contents of the test's choice.
#pragma once

#include "fakes/MemorySound.h"
#include "fakes/ScriptedImporters.h"
#include "support/TemporaryFolder.h"

#include <toolbox/Aliases.h>
#include <toolbox/Movies.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace test_movies {

// An alias of an existing file, disposed of at the end.
class FileAlias {
  public:
    FileAlias() : mAlias(NewAlias(mFolder.MakeFile("sound"))) {}
    explicit FileAlias(const std::string& inPath) : mAlias(NewAlias(inPath)) {}
    ~FileAlias() { DisposeHandle(mAlias); }
    FileAlias(const FileAlias&) = delete;
    FileAlias& operator=(const FileAlias&) = delete;

    Handle Get() const { return mAlias; }

  private:
    static Handle NewAlias(const std::string& inPath) {
        FSRef item;
        AliasHandle alias = nullptr;
        if (FSPathMakeRef(reinterpret_cast<const UInt8*>(inPath.c_str()), &item, nullptr) != noErr ||
            FSNewAliasMinimal(&item, &alias) != noErr)
            throw std::runtime_error("no alias");
        return reinterpret_cast<Handle>(alias);
    }

    test_files::TemporaryFolder mFolder;
    Handle mAlias;
};

inline toolbox::movies::ImportedTrack SoundTrackOf(mirtal::fakes::MemorySound inSound) {
    toolbox::movies::ImportedTrack track;
    track.mediaType = SoundMediaType;
    track.duration = {inSound.track->FrameCount(), inSound.track->SampleRateHz()};
    track.sound = std::move(inSound.track);
    return track;
}

inline toolbox::movies::ImportedTrack PictureTrack(std::int64_t inUnits, std::int64_t inUnitsPerSecond) {
    toolbox::movies::ImportedTrack track;
    track.mediaType = VideoMediaType;
    track.duration = {inUnits, inUnitsPerSecond};
    return track;
}

// The next movies to be opened on this thread have these tracks; each opening takes them away.
inline void Script(std::vector<toolbox::movies::ImportedTrack> inTracks, std::int32_t inTimeScale = 600) {
    auto movie = std::make_shared<toolbox::movies::ImportedMovie>();
    movie->containerName = "Scripted";
    movie->tracks = std::move(inTracks);
    movie->timeScale = inTimeScale;
    mirtal::fakes::Importers() = {};
    mirtal::fakes::Importers().mpeg4 = [movie](toolbox::movies::ImportedMovie& outMovie, std::string&) {
        outMovie = std::move(*movie);
        return noErr;
    };
}

class OpenedMovie {
  public:
    explicit OpenedMovie(std::vector<toolbox::movies::ImportedTrack> inTracks,
                         std::int32_t inTimeScale = 600) {
        Script(std::move(inTracks), inTimeScale);
        const FileAlias alias;
        if (NewMovieFromDataRef(&mMovie, newMovieDontAskUnresolvedDataRefs, nullptr, alias.Get(),
                                rAliasType) != noErr)
            throw std::runtime_error("no movie");
    }
    explicit OpenedMovie(mirtal::fakes::MemorySound inSound) : OpenedMovie(One(std::move(inSound))) {}
    ~OpenedMovie() { DisposeMovie(mMovie); }
    OpenedMovie(const OpenedMovie&) = delete;
    OpenedMovie& operator=(const OpenedMovie&) = delete;

    Movie Get() const { return mMovie; }
    void Dispose() {
        DisposeMovie(mMovie);
        mMovie = nullptr;
    }

  private:
    static std::vector<toolbox::movies::ImportedTrack> One(mirtal::fakes::MemorySound inSound) {
        std::vector<toolbox::movies::ImportedTrack> tracks;
        tracks.push_back(SoundTrackOf(std::move(inSound)));
        return tracks;
    }
    Movie mMovie = nullptr;
};

inline std::vector<toolbox::movies::ImportedTrack> Tracks(toolbox::movies::ImportedTrack inOne) {
    std::vector<toolbox::movies::ImportedTrack> tracks;
    tracks.push_back(std::move(inOne));
    return tracks;
}

inline std::vector<toolbox::movies::ImportedTrack> Tracks(toolbox::movies::ImportedTrack inOne,
                                                          toolbox::movies::ImportedTrack inTwo) {
    std::vector<toolbox::movies::ImportedTrack> tracks = Tracks(std::move(inOne));
    tracks.push_back(std::move(inTwo));
    return tracks;
}

}  // namespace test_movies
