// What the general importer's tests share: files that the ffmpeg command makes, and what is imported of them.
#pragma once

#include "fakes/MemoryFile.h"
#include "support/TemporaryFolder.h"
#include "track/MovieImporter.h"

#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

namespace general_imports {

inline std::string Contents(const std::string& inPath) {
    std::ifstream file(inPath, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

// A file whose sound is a tone of so many frames; "" when ffmpeg refuses, which fails the test.
inline std::string MakeFile(std::uint32_t inRateHz, std::uint32_t inFrameCount, const std::string& inOptions,
                            const std::string& inExtension) {
    const test_files::TemporaryFolder folder;
    const std::string path = folder / ("file." + inExtension);
    std::ostringstream command;
    command << "ffmpeg -v error -nostdin -f lavfi -i 'sine=440:r=" << inRateHz
            << ",atrim=end_sample=" << inFrameCount << "' " << inOptions << " -bitexact '" << path << "'";
    EXPECT_EQ(0, std::system(command.str().c_str())) << command.str();
    return Contents(path);
}

inline void Put32(std::string& ioBytes, std::size_t inOffset, std::uint32_t inValue, bool inIsBig) {
    for (std::size_t i = 0; i < 4; ++i)
        ioBytes[inOffset + i] = static_cast<char>(inValue >> 8 * (inIsBig ? 3 - i : i));
}

struct Imported {
    OSStatus status = noErr;
    toolbox::movies::ImportedMovie movie;
    std::string problem = "untouched";
    const toolbox::movies::SoundTrack& Sound() const { return *movie.tracks.at(0).sound; }
};

inline Imported Import(const std::string& inBytes, std::uint32_t inSoundTrack = 0) {
    Imported result;
    result.status = toolbox::movies::ImportGeneral(mirtal::fakes::NewMemoryFile(inBytes), result.movie,
                                                   result.problem, {inSoundTrack});
    return result;
}

}  // namespace general_imports
