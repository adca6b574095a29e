// What the tests of the MPEG-4 importer share: bytes in, a movie out.
#pragma once

#include "fakes/MP4Writer.h"
#include "fakes/MemoryFile.h"

#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>
#include <track/MovieImporter.h>

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

inline ImportResult Import(const mirtal::fakes::Bytes& inBytes, std::uint32_t inSoundTrack = 0) {
    ImportResult result;
    result.status =
        toolbox::movies::ImportMPEG4(FileOf(inBytes), result.movie, result.problem, {inSoundTrack});
    return result;
}

inline ImportResult Import(const mirtal::fakes::MP4File& inFile, std::uint32_t inSoundTrack = 0) {
    return Import(mirtal::fakes::WriteMP4(inFile), inSoundTrack);
}

// A movie of one track of LC at 44.1 kHz in stereo, whose packets no decoder has to look at.
inline mirtal::fakes::MP4File PlainMovie(std::uint32_t inPacketCount = 10) {
    mirtal::fakes::MP4File file;
    file.tracks = {
        mirtal::fakes::AACTrack({0x12, 0x10}, 44100, 2, mirtal::fakes::NumberedPackets(inPacketCount, 100))};
    return file;
}

namespace toolbox::movies {

// Every packet that a movie of numbered packets has must be where its number says.
inline void ExpectNumbered(const SoundTrack& inSound, std::uint32_t inCount) {
    ASSERT_EQ(inCount, inSound.packets->PacketCount());
    const auto reader = inSound.packets->NewReader();
    for (std::uint32_t i = 0; i < inCount; ++i) {
        PacketBytes bytes;
        ASSERT_EQ(noErr, reader->Read(i, bytes)) << i;
        ASSERT_GE(bytes.sizeBytes, 2u);
        ASSERT_EQ(i, std::uint32_t{bytes.data[0]} << 8 | bytes.data[1]);
    }
}

// What holds of everything that is imported: spans and durations follow each other and say the same length.
inline void ExpectConsistent(const ImportedMovie& inMovie) {
    for (const ImportedTrack& track : inMovie.tracks) {
        ASSERT_GE(track.duration.units, 0);
        ASSERT_GT(track.duration.unitsPerSecond, 0);
        ASSERT_EQ(track.mediaType == OSType{0x736f756e}, track.sound != nullptr);
        if (!track.sound) continue;
        const SoundTrack& sound = *track.sound;
        ASSERT_FALSE(sound.formats.empty());
        for (const SoundFormat& format : sound.formats)
            ASSERT_NE(0u, format.sampleRateHz);
        std::uint32_t packet = 0;
        std::int64_t frame = 0;
        for (const PacketSpan& span : sound.spans) {
            ASSERT_EQ(packet, span.firstPacket);
            ASSERT_GE(span.firstFrame, frame);
            ASSERT_LT(span.format, sound.formats.size());
            ASSERT_FALSE(span.durations.empty());
            ASSERT_EQ(span.firstPacket, span.durations.front().firstPacket);
            std::int64_t spanFrame = 0;
            for (std::size_t i = 0; i < span.durations.size(); ++i) {
                const DurationRun& run = span.durations[i];
                ASSERT_EQ(spanFrame, run.firstFrame);
                const std::uint32_t end = i + 1 < span.durations.size() ? span.durations[i + 1].firstPacket
                                                                        : span.firstPacket + span.packetCount;
                ASSERT_GT(end, run.firstPacket);
                spanFrame += std::int64_t{end - run.firstPacket} * run.framesPerPacket;
            }
            if (sound.formats[span.format].sampleRateHz == sound.SampleRateHz()) {
                ASSERT_EQ(spanFrame, span.frameCount);
            }
            packet += span.packetCount;
            frame = span.firstFrame + span.frameCount;
        }
        ASSERT_EQ(sound.packets->PacketCount(), packet);
        for (const Edit& edit : sound.edits) {
            ASSERT_GT(edit.frameCount, 0);
            ASSERT_GE(edit.mediaStart, Edit::kEmpty);
        }
    }
}

inline std::int64_t FramesOf(const mirtal::fakes::MP4File& inFile) {
    const ImportResult result = Import(inFile);
    EXPECT_EQ(noErr, result.status) << result.problem;
    if (result.status != noErr || result.Sound() == nullptr) return -1;
    ExpectConsistent(result.movie);
    return result.Sound()->FrameCount();
}

}  // namespace toolbox::movies
