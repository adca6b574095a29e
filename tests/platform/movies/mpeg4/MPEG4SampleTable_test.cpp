#include "MPEG4Import.h"

#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>
#include <toolbox/SoundReport.h>

namespace toolbox::movies {
namespace {

using namespace mirtal::fakes;
using FileBytes = mirtal::fakes::Bytes;

TEST(MPEG4SampleTable, TableForms) {
    MP4File file = PlainMovie(10);
    file.tracks[0].hasLargeOffsets = true;
    file.tracks[0].packetsPerChunk = 3;
    EXPECT_EQ(10240, FramesOf(file));
    ExpectNumbered(*Import(file).Sound(), 10);
    for (const std::uint32_t bits : {4u, 8u, 16u}) {
        for (const std::uint32_t count : {9u, 10u, 5000u}) {
            file.tracks[0].sizeBits = bits;
            file.tracks[0].packets = NumberedPackets(count, bits == 4 ? 13 : 113);
            EXPECT_EQ(1024 * std::int64_t{count}, FramesOf(file)) << bits;
            ExpectNumbered(*Import(file).Sound(), count);
        }
    }
}

TEST(MPEG4SampleTable, ConstantSize) {
    MP4File file = PlainMovie(10);
    file.tracks[0].constantSizeBytes = 100;
    file.tracks[0].packetsPerChunk = 4;
    EXPECT_EQ(10240, FramesOf(file));
    ExpectNumbered(*Import(file).Sound(), 10);
}

TEST(MPEG4SampleTable, ManyPackets) {
    MP4File file = PlainMovie(0);
    file.tracks[0].packets = NumberedPackets(20000, 40);
    file.tracks[0].packetsPerChunk = 7;
    EXPECT_EQ(20000 * 1024, FramesOf(file));
    ExpectNumbered(*Import(file).Sound(), 20000);
}

TEST(MPEG4SampleTable, PacketsBetweenOthers) {
    // Two tracks whose chunks lie in each other's way: one run of packets for each chunk.
    MP4File file = PlainMovie(10);
    file.tracks[0].packetsPerChunk = 1;
    file.tracks.push_back(file.tracks[0]);
    file.tracks[1].id = 2;
    EXPECT_EQ(10240, FramesOf(file));
    EXPECT_EQ(2u, Import(file).movie.tracks.size());
}

TEST(MPEG4SampleTable, DurationTableOfAnotherLength) {
    MP4File file = PlainMovie(10);
    file.tracks[0].durations = {{5, 1024}, {2, 1000}};
    EXPECT_EQ(5120 + 5000, FramesOf(file));
    file.tracks[0].durations = {{1000000, 1024}};
    EXPECT_EQ(10240, FramesOf(file));
    file.tracks[0].replaced["stts"] = {};
    EXPECT_EQ(10240, FramesOf(file));
    file.tracks[0].replaced["stts"] = TableBox("stts", 0, {});
    EXPECT_EQ(10240, FramesOf(file));
}

TEST(MPEG4SampleTable, PacketsWithoutAPlaceAreLeftOut) {
    for (const char* box : {"stsc", "stco"}) {
        MP4File file = PlainMovie(10);
        file.tracks[0].replaced[box] = {};
        EXPECT_EQ(0, FramesOf(file));
    }
    MP4File file = PlainMovie(10);
    file.tracks[0].packetsPerChunk = 3;
    file.tracks[0].replaced["stsc"] = TableBox("stsc", 1, Join({U32(1), U32(2), U32(1)}));
    EXPECT_EQ(8 * 1024, FramesOf(file));  // four chunks of two
    file.tracks[0].replaced["stsc"] =
        TableBox("stsc", 2, Join({U32(1), U32(0), U32(1), U32(3), U32(1), U32(1)}));
    EXPECT_EQ(2 * 1024, FramesOf(file));
    file.tracks[0].replaced["stsc"] =
        TableBox("stsc", 3, Join({U32(0), U32(9), U32(1), U32(1), U32(3), U32(1), U32(1), U32(99), U32(1)}));
    EXPECT_EQ(10 * 1024, FramesOf(file));
}

TEST(MPEG4SampleTable, HostileCounts) {
    MP4File file = PlainMovie(10);
    // A constant size claims any number of packets in a few bytes.
    file.tracks[0].replaced["stsz"] = FullBox("stsz", 0, 0, Join({U32(1), U32(UINT32_MAX)}));
    file.tracks[0].replaced["stsc"] = TableBox("stsc", 1, Join({U32(1), U32(UINT32_MAX), U32(1)}));
    ImportResult result = Import(file);
    EXPECT_EQ(invalidMovie, result.status);
    EXPECT_EQ("the sound's tables claim more packets than the file can hold", result.problem);
    // Listed sizes are there or not.
    file.tracks[0].replaced["stsz"] =
        FullBox("stsz", 0, 0, Join({U32(0), U32(UINT32_MAX), U32(100), U32(100)}));
    EXPECT_EQ(2048, FramesOf(file));
    file.tracks[0].replaced["stsz"] =
        FullBox("stsz", 0, 0, Join({U32(0), U32(2), U32(UINT32_MAX), U32(UINT32_MAX)}));
    result = Import(file);
    EXPECT_EQ(invalidMovie, result.status);
}

}  // namespace
}  // namespace toolbox::movies
