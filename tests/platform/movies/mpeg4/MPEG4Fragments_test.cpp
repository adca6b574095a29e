#include "MPEG4Import.h"

#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>

#include <vector>

namespace toolbox::movies {
namespace {

using namespace mirtal::fakes;
using FileBytes = mirtal::fakes::Bytes;

// A movie whose ten numbered packets are in two fragments.
MP4File FragmentedMovie() {
    MP4File file = PlainMovie(0);
    file.order = {"ftyp", "moov", "frag"};
    const std::vector<FileBytes> packets = NumberedPackets(10, 100);
    MP4Fragment first;
    first.time = 0;
    first.packets.assign(packets.begin(), packets.begin() + 6);
    MP4Fragment second;
    second.time = 6 * 1024;
    second.packets.assign(packets.begin() + 6, packets.end());
    file.fragments = {first, second};
    return file;
}

const SoundTrack& SoundOf(const ImportResult& inResult) {
    static const SoundTrack kNone;
    EXPECT_EQ(noErr, inResult.status) << inResult.problem;
    return inResult.Sound() == nullptr ? kNone : *inResult.Sound();
}

TEST(MPEG4Fragments, TwoFragments) {
    const ImportResult result = Import(FragmentedMovie());
    EXPECT_EQ(10240, SoundOf(result).FrameCount());
    EXPECT_EQ(1u, SoundOf(result).spans.size());
    ExpectNumbered(SoundOf(result), 10);
}

TEST(MPEG4Fragments, HeaderWithoutFragmentsIsEmpty) {
    MP4File file = FragmentedMovie();
    file.order = {"ftyp", "moov"};
    EXPECT_EQ(0, SoundOf(Import(file)).FrameCount());
}

TEST(MPEG4Fragments, WithoutDefaultsInTheHeaderNoneAreLookedFor) {
    MP4File file = FragmentedMovie();
    file.replaced["mvex"] = {};
    EXPECT_EQ(0, SoundOf(Import(file)).FrameCount());
}

TEST(MPEG4Fragments, BehindTheHeadersOwnPackets) {
    MP4File file = FragmentedMovie();
    const auto packets = NumberedPackets(14, 100);
    file.tracks[0].packets.assign(packets.begin(), packets.begin() + 4);
    file.fragments.resize(1);
    file.fragments[0].packets.assign(packets.begin() + 4, packets.end());
    file.fragments[0].time = 4 * 1024;
    file.order = {"ftyp", "moov", "mdat", "frag"};
    const ImportResult result = Import(file);
    EXPECT_EQ(14336, SoundOf(result).FrameCount());
    EXPECT_EQ(1u, SoundOf(result).spans.size());
    ExpectNumbered(SoundOf(result), 14);
}

TEST(MPEG4Fragments, WithoutTimes) {
    MP4File file = FragmentedMovie();
    file.fragments[0].time.reset();
    file.fragments[1].time.reset();
    EXPECT_EQ(10240, SoundOf(Import(file)).FrameCount());
}

TEST(MPEG4Fragments, GapBetweenFragments) {
    MP4File file = FragmentedMovie();
    file.fragments[1].time = 6 * 1024 + 500;
    const ImportResult result = Import(file);
    EXPECT_EQ(10740, SoundOf(result).FrameCount());
    ASSERT_EQ(2u, SoundOf(result).spans.size());
    EXPECT_EQ(6u, SoundOf(result).spans[1].firstPacket);
    EXPECT_EQ(6644, SoundOf(result).spans[1].firstFrame);
}

TEST(MPEG4Fragments, ATickIsNoGap) {
    MP4File file = FragmentedMovie();
    file.fragments[1].time = 6 * 1024 + 1;
    EXPECT_EQ(10240, SoundOf(Import(file)).FrameCount());
    EXPECT_EQ(1u, SoundOf(Import(file)).spans.size());
    file.fragments[1].time = 6 * 1024 + 2;
    EXPECT_EQ(10242, SoundOf(Import(file)).FrameCount());
}

TEST(MPEG4Fragments, OverlapGoesToTheEnd) {
    MP4File file = FragmentedMovie();
    file.fragments[1].time = 1000;
    EXPECT_EQ(10240, SoundOf(Import(file)).FrameCount());
    EXPECT_EQ(1u, SoundOf(Import(file)).spans.size());
}

TEST(MPEG4Fragments, WhatIsMissingBeforeTheFirstIsNotPresented) {
    MP4File file = FragmentedMovie();
    file.fragments[0].time = 44100 * 3600ULL;
    file.fragments[1].time = 44100 * 3600ULL + 6 * 1024 + 44100;
    EXPECT_EQ(10240 + 44100, SoundOf(Import(file)).FrameCount());
    file.tracks[0].edits = {{0, 1024}};
    EXPECT_EQ(10240 + 44100, SoundOf(Import(file)).FrameCount());
}

TEST(MPEG4Fragments, EditOfLengthZeroGoesToTheEnd) {
    MP4File file = FragmentedMovie();
    file.tracks[0].edits = {{0, 2048}};
    const ImportResult result = Import(file);
    EXPECT_EQ(8192, SoundOf(result).FrameCount());
    EXPECT_EQ(2048, SoundOf(result).framesTrimmedAtStart);
    EXPECT_EQ(0, SoundOf(result).framesTrimmedAtEnd);
}

TEST(MPEG4Fragments, DurationsAndSizesFromEveryPlace) {
    MP4File file = FragmentedMovie();
    file.fragments[0].durations = {1024, 1024, 1024, 1024, 1024, 1024};
    file.fragments[1].durations = {1024, 1024, 1024, 100};
    EXPECT_EQ(9316, SoundOf(Import(file)).FrameCount());
    file.fragments[1].durations.clear();
    file.fragments[1].defaultDuration = 1000;
    EXPECT_EQ(10144, SoundOf(Import(file)).FrameCount());
    file.fragments[0].hasSizes = false;
    file.fragments[1].hasSizes = false;
    file.fragments[0].durations.clear();
    file.defaultSize = 100;
    ExpectNumbered(SoundOf(Import(file)), 10);
    file.defaultSize = 7;
    file.fragments[0].defaultSize = 100;
    file.fragments[1].defaultSize = 100;
    ExpectNumbered(SoundOf(Import(file)), 10);
}

TEST(MPEG4Fragments, BaseOffset) {
    MP4File file = FragmentedMovie();
    file.fragments[1].hasBaseOffset = true;
    ExpectNumbered(SoundOf(Import(file)), 10);
}

TEST(MPEG4Fragments, OtherTracksFragmentsArePassedOver) {
    MP4File file = FragmentedMovie();
    MP4Fragment other = file.fragments[0];
    other.trackID = 7;
    file.fragments.insert(file.fragments.begin() + 1, other);
    EXPECT_EQ(10240, SoundOf(Import(file)).FrameCount());
    ExpectNumbered(SoundOf(Import(file)), 10);
}

TEST(MPEG4Fragments, PictureHasALengthOnly) {
    MP4File file = FragmentedMovie();
    MP4Track video;
    video.id = 7;
    video.handler = "vide";
    video.timeScale = 90000;
    video.descriptions = {mirtal::fakes::Box("avc1", Zeros(78))};
    file.tracks.push_back(video);
    MP4Fragment other = file.fragments[0];
    other.trackID = 7;
    other.time = 18000;
    file.fragments.push_back(other);
    const ImportResult result = Import(file);
    ASSERT_EQ(2u, result.movie.tracks.size());
    EXPECT_EQ(6 * 1024, result.movie.tracks[1].duration.units);
    EXPECT_EQ(90000, result.movie.tracks[1].duration.unitsPerSecond);
}

// A fragment by hand: packets of two tracks, the second's data where the first's ends.
FileBytes TrackRun(std::uint32_t inCount, std::uint32_t inFlags, const FileBytes& inFields) {
    return FullBox("trun", 0, inFlags, Join({U32(inCount), inFields}));
}

ImportResult ImportFragment(const FileBytes& inFragmentContent, const FileBytes& inData) {
    MP4File file = PlainMovie(0);
    file.defaultSize = 100;
    file.order = {"ftyp", "moov"};
    file.fragments.resize(1);  // so that the header has defaults
    const FileBytes header = WriteMP4(file);
    return Import(
        Join({header, mirtal::fakes::Box("moof", inFragmentContent), mirtal::fakes::Box("mdat", inData)}));
}

TEST(MPEG4Fragments, EveryFieldOfARun) {
    // Fields: offset, first flags; of each packet duration, size, flags, composition offset.
    const FileBytes run = TrackRun(
        2, 0x1 | 0x4 | 0x100 | 0x200 | 0x400 | 0x800,
        Join({U32(120), U32(9), U32(1024), U32(100), U32(1), U32(2), U32(500), U32(100), U32(1), U32(2)}));
    const FileBytes content = mirtal::fakes::Box("traf", Join({FullBox("tfhd", 0, 0x20000, U32(1)), run}));
    const ImportResult result = ImportFragment(content, Join({NumberedPackets(2, 100)}));
    EXPECT_EQ(1524, SoundOf(result).FrameCount());
}

TEST(MPEG4Fragments, RunsFollowEachOther) {
    const FileBytes header = FullBox("tfhd", 0, 0x20000, U32(1));
    const FileBytes first = TrackRun(3, 0x1, U32(8 + 8 + 16 + 20 + 16 + 8));
    const FileBytes second = TrackRun(2, 0, {});
    const ImportResult result = ImportFragment(mirtal::fakes::Box("traf", Join({header, first, second})),
                                               Join(NumberedPackets(5, 100)));
    ExpectNumbered(SoundOf(result), 5);
}

TEST(MPEG4Fragments, DataOfASecondPartFollowsTheFirst) {
    // Neither part says where its data is counted from: the first from the fragment, the second from the
    // first's end.
    const FileBytes first = mirtal::fakes::Box(
        "traf",
        Join({FullBox("tfhd", 0, 0, U32(1)), TrackRun(3, 0x1, U32(8 + (8 + 16 + 20) + (8 + 16 + 16) + 8))}));
    const FileBytes second =
        mirtal::fakes::Box("traf", Join({FullBox("tfhd", 0, 0, U32(1)), TrackRun(2, 0, {})}));
    ExpectNumbered(SoundOf(ImportFragment(Join({first, second}), Join(NumberedPackets(5, 100)))), 5);
}

TEST(MPEG4Fragments, HostileCounts) {
    const FileBytes header = FullBox("tfhd", 0, 0x20000, U32(1));
    const ImportResult alike = ImportFragment(
        mirtal::fakes::Box("traf", Join({header, TrackRun(UINT32_MAX, 0x1, U32(0))})), Zeros(100));
    EXPECT_EQ(invalidMovie, alike.status);
    EXPECT_EQ("a fragment claims more sound than the file can hold", alike.problem);
    const ImportResult listed = ImportFragment(
        mirtal::fakes::Box("traf",
                           Join({header, TrackRun(UINT32_MAX, 0x201, Join({U32(0), U32(10), U32(10)}))})),
        Zeros(99));
    EXPECT_EQ(2048, SoundOf(listed).FrameCount());
}

TEST(MPEG4Fragments, DamagedPartsAreLeftOut) {
    for (const FileBytes& damaged :
         {FileBytes(), mirtal::fakes::Box("traf", {}), mirtal::fakes::Box("traf", FullBox("tfhd", 0, 0, {})),
          mirtal::fakes::Box("traf", FullBox("tfhd", 0, 0x1, U32(1))),
          mirtal::fakes::Box("traf", Join({FullBox("tfhd", 0, 0, U32(1)), FullBox("trun", 0, 0, {})})),
          mirtal::fakes::Box("traf", Join({FullBox("tfhd", 0, 0, U32(1)), FullBox("trun", 0, 1, U32(5))})),
          mirtal::fakes::Box("traf", Join({FullBox("tfhd", 0, 0, U32(1)), FullBox("tfdt", 1, 0, U32(5))}))})
        EXPECT_EQ(0, SoundOf(ImportFragment(damaged, Zeros(100))).FrameCount());
}

TEST(MPEG4Fragments, LengthBeyondReason) {
    const FileBytes content = mirtal::fakes::Box(
        "traf", Join({FullBox("tfhd", 0, 0x20008, Join({U32(1), U32(UINT32_MAX)})),
                      FullBox("tfdt", 1, 0, U64((1ULL << 53) - 5)), TrackRun(2, 0x1, U32(0))}));
    EXPECT_EQ(invalidMovie, ImportFragment(content, Zeros(200)).status);
}

TEST(MPEG4Fragments, EveryByteOfTheFragmentsMayBeWrong) {
    FileBytes bytes = WriteMP4(FragmentedMovie());
    for (std::size_t i = bytes.size() - 1300; i < bytes.size(); ++i) {
        const std::uint8_t right = bytes[i];
        for (const int wrong : {0, 1, 0x7f, 0x80, 0xff}) {
            bytes[i] = static_cast<std::uint8_t>(wrong);
            const ImportResult result = Import(bytes);
            ASSERT_TRUE(result.status == noErr || result.status == invalidMovie);
            ASSERT_TRUE(result.status != noErr || result.Sound()->FrameCount() >= 0);
        }
        bytes[i] = right;
    }
}

}  // namespace
}  // namespace toolbox::movies
