// What the tests of the MPEG-4 importer share: bytes in, a movie out.
#pragma once

#include "fakes/MP4Writer.h"
#include "fakes/MemoryFile.h"

#include <movies/MovieImporter.h>

#include <cstdint>
#include <memory>
#include <string>

struct ImportResult {
    OSStatus status = 0;
    toolbox::movies::ImportedMovie movie;
    std::string problem;

    // The first sound track; null when there is none.
    const toolbox::movies::SoundTrack* Sound() const {
        for (const auto& track : movie.tracks)
            if (track.sound) return track.sound.get();
        return nullptr;
    }
};

inline std::shared_ptr<const toolbox::movies::MediaFile> FileOf(const mirtal::fakes::Bytes& inBytes) {
    return mirtal::fakes::NewMemoryFile(std::string(inBytes.begin(), inBytes.end()));
}

inline ImportResult Import(const mirtal::fakes::Bytes& inBytes) {
    ImportResult result;
    result.status = toolbox::movies::ImportMPEG4(FileOf(inBytes), result.movie, result.problem);
    return result;
}

inline ImportResult Import(const mirtal::fakes::MP4File& inFile) {
    return Import(mirtal::fakes::WriteMP4(inFile));
}

// A movie of one track of LC at 44.1 kHz in stereo, whose packets no decoder has to look at.
inline mirtal::fakes::MP4File PlainMovie(std::uint32_t inPacketCount = 10) {
    mirtal::fakes::MP4File file;
    file.tracks = {
        mirtal::fakes::AACTrack({0x12, 0x10}, 44100, 2, mirtal::fakes::NumberedPackets(inPacketCount, 100))};
    return file;
}
