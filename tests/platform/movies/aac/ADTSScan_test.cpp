#include "movies/aac/ADTSScan.h"

#include "fakes/ADTSWriter.h"
#include "fakes/MemoryFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <toolbox/MacErrors.h>
#include <unistd.h>

#include <random>

namespace toolbox::movies {
namespace {

using mirtal::fakes::ADTSFrameToWrite;
using mirtal::fakes::ADTSWriter;
using mirtal::fakes::NewMemoryFile;
using testing::ElementsAre;
using testing::Pair;

using Places = std::vector<std::pair<std::int64_t, std::uint32_t>>;  // offset, size

struct Scanned {
    OSStatus status = noErr;
    ADTSFrames frames;
    Places Packets() const {
        Places places;
        PacketTable::Cursor cursor(frames.packets);
        for (std::uint32_t packet = 0; packet < frames.packets.Count(); ++packet) {
            const PacketTable::Place place = cursor.At(packet);
            places.emplace_back(place.offsetBytes, place.sizeBytes);
        }
        return places;
    }
};

Scanned Scan(const std::string& inBytes) {
    Scanned result;
    result.status = ScanADTS(*NewMemoryFile(inBytes), result.frames);
    return result;
}

Scanned Scan(const ADTSWriter& inWriter) {
    return Scan(inWriter.Result());
}

ADTSFrameToWrite Of(std::uint8_t inRateIndex, std::uint8_t inChannelConfig = 2) {
    ADTSFrameToWrite frame;
    frame.rateIndex = inRateIndex;
    frame.channelConfig = inChannelConfig;
    return frame;
}

ADTSFrameToWrite WithChecksum() {
    ADTSFrameToWrite frame;
    frame.hasChecksum = true;
    return frame;
}

TEST(ADTSScan, EmptyFileIsNotOurs) {
    EXPECT_EQ(cantFindHandler, Scan("").status);
}

TEST(ADTSScan, OneFrameThatFillsTheFile) {
    const Scanned scanned = Scan(ADTSWriter().Dummy(100));
    EXPECT_EQ(noErr, scanned.status);
    EXPECT_THAT(scanned.Packets(), ElementsAre(Pair(7, 100)));
    EXPECT_EQ(0u, scanned.frames.skippedByteCount);
}

TEST(ADTSScan, OneFrameThatDoesNotFillTheFileIsNotOurs) {
    EXPECT_EQ(cantFindHandler, Scan(ADTSWriter().Dummy(100).Zeros(1)).status);
    EXPECT_EQ(cantFindHandler, Scan(ADTSWriter().Dummy(100).Cut(1)).status);
}

TEST(ADTSScan, HeaderCutShortIsNotOurs) {
    for (std::size_t kept = 1; kept < 8; ++kept) {
        EXPECT_EQ(cantFindHandler, Scan(ADTSWriter().Dummy(1).Result().substr(0, kept)).status) << kept;
    }
}

TEST(ADTSScan, TwoFrames) {
    const Scanned scanned = Scan(ADTSWriter().Dummy(100).Dummy(50));
    EXPECT_THAT(scanned.Packets(), ElementsAre(Pair(7, 100), Pair(114, 50)));
    ASSERT_EQ(1u, scanned.frames.stretches.size());
    EXPECT_EQ(1u, scanned.frames.stretches[0].blockCount);
}

TEST(ADTSScan, SmallestAndLargestFrames) {
    const Scanned scanned = Scan(ADTSWriter().Dummy(1).Dummy(8191 - 7).Dummy(1));
    EXPECT_THAT(scanned.Packets(), ElementsAre(Pair(7, 1), Pair(15, 8184), Pair(15 + 8184 + 7, 1)));
}

TEST(ADTSScan, ManyFramesOverSeveralWindows) {
    // Sizes that let every kind of place in a header fall on the end of a window.
    ADTSWriter writer;
    Places expected;
    std::mt19937 random(1);
    while (writer.Size() < 5 * 256 * 1024) {
        const std::uint32_t size = 1 + random() % 700;
        expected.emplace_back(static_cast<std::int64_t>(writer.Size() + 7), size);
        writer.Dummy(size);
    }
    EXPECT_EQ(expected, Scan(writer).Packets());
}

// The table takes short frames by the hundred, unless the first frame's header is not as long as theirs.
TEST(ADTSScan, ManyFramesInOneWindow) {
    for (const bool hasChecksumFirst : {false, true}) {
        for (const int count : {511, 512, 513, 514, 1024, 1025, 1026, 3000}) {
            ADTSWriter writer;
            Places expected;
            for (int i = 0; i < count; ++i) {
                const bool hasChecksum = hasChecksumFirst && i == 0;
                const auto payloadBytes = static_cast<std::uint32_t>(10 + i % 37);
                expected.emplace_back(static_cast<std::int64_t>(writer.Size()) + (hasChecksum ? 9 : 7),
                                      payloadBytes);
                writer.Dummy(payloadBytes, hasChecksum ? WithChecksum() : ADTSFrameToWrite());
            }
            EXPECT_EQ(expected, Scan(writer).Packets()) << count << hasChecksumFirst;
        }
    }
}

TEST(ADTSScan, ID3v2TagsInFront) {
    const Scanned scanned = Scan(ADTSWriter().ID3v2(300).ID3v2(10, true).Dummy(20).Dummy(30));
    EXPECT_THAT(scanned.Packets(), ElementsAre(Pair(347, 20), Pair(374, 30)));
    EXPECT_EQ(0u, scanned.frames.skippedByteCount);
}

TEST(ADTSScan, TagWithNothingBehindIsNotOurs) {
    EXPECT_EQ(cantFindHandler, Scan(ADTSWriter().ID3v2(300)).status);
    EXPECT_EQ(cantFindHandler, Scan(ADTSWriter().ID3v2(300).Cut(200)).status);
}

TEST(ADTSScan, TagsAtTheEnd) {
    for (int tags = 1; tags < 4; ++tags) {
        ADTSWriter writer;
        writer.Dummy(20);
        if ((tags & 1) != 0) writer.APE(50);
        if ((tags & 2) != 0) writer.ID3v1();
        const Scanned scanned = Scan(writer);
        EXPECT_THAT(scanned.Packets(), ElementsAre(Pair(7, 20))) << tags;
        EXPECT_EQ(0u, scanned.frames.skippedByteCount) << tags;
    }
}

TEST(ADTSScan, FrameWhosePayloadLooksLikeATag) {
    ADTSFrameToWrite frame;
    frame.blocks = {std::vector<std::uint8_t>(200, 0)};
    const std::string tag = "TAG";
    std::copy(tag.begin(), tag.end(), frame.blocks[0].begin() + 72);
    const Scanned scanned = Scan(ADTSWriter().Dummy(20).Frame(frame));
    EXPECT_THAT(scanned.Packets(), ElementsAre(Pair(7, 20), Pair(34, 200)));
    EXPECT_EQ(0u, scanned.frames.skippedByteCount);
}

TEST(ADTSScan, TagBetweenFrames) {
    const Scanned scanned = Scan(ADTSWriter().Dummies(2, 20).ID3v2(1000).Dummies(2, 20));
    EXPECT_THAT(scanned.Packets(), ElementsAre(Pair(7, 20), Pair(34, 20), Pair(1071, 20), Pair(1098, 20)));
    EXPECT_EQ(0u, scanned.frames.skippedByteCount);
    EXPECT_EQ(1u, scanned.frames.stretches.size());
}

TEST(ADTSScan, JunkAtTheEnd) {
    for (const std::size_t junk : {1, 6, 7, 100, 400000}) {
        const Scanned scanned = Scan(ADTSWriter().Dummies(3, 20).Zeros(junk));
        EXPECT_EQ(3u, scanned.Packets().size()) << junk;
        EXPECT_EQ(junk, scanned.frames.skippedByteCount);
    }
}

TEST(ADTSScan, GarbageBetweenFrames) {
    for (const std::size_t junk : {1, 6, 7, 100, 256 * 1024 - 81, 400000}) {
        const Scanned scanned = Scan(ADTSWriter().Dummies(3, 20).Zeros(junk).Dummies(2, 30));
        const auto at = static_cast<std::int64_t>(junk) + 81 + 7;
        EXPECT_THAT(scanned.Packets(),
                    ElementsAre(Pair(7, 20), Pair(34, 20), Pair(61, 20), Pair(at, 30), Pair(at + 37, 30)))
            << junk;
        EXPECT_EQ(junk, scanned.frames.skippedByteCount);
    }
}

TEST(ADTSScan, GarbageFullOfSyncBytes) {
    const std::string garbage(300000, '\xFF');
    const Scanned scanned = Scan(ADTSWriter().Dummies(3, 20).Bytes(garbage).Dummies(2, 30));
    EXPECT_EQ(5u, scanned.Packets().size());
    EXPECT_EQ(garbage.size(), scanned.frames.skippedByteCount);
}

TEST(ADTSScan, LoneHeaderInGarbageConfirmsNothing) {
    const Scanned scanned = Scan(ADTSWriter().Dummies(3, 20).Zeros(9).Dummy(40).Zeros(9).Dummies(2, 30));
    EXPECT_EQ(5u, scanned.Packets().size());
    EXPECT_EQ(9u + 47u + 9u, scanned.frames.skippedByteCount);
}

TEST(ADTSScan, CutFrameKeepsItsTime) {
    // The third frame has lost its last 12 bytes.
    const Scanned scanned = Scan(ADTSWriter().Dummies(3, 20).Cut(12).Dummies(2, 30));
    EXPECT_THAT(scanned.Packets(),
                ElementsAre(Pair(7, 20), Pair(34, 20), Pair(61, 8), Pair(76, 30), Pair(113, 30)));
    EXPECT_EQ(0u, scanned.frames.skippedByteCount);
}

TEST(ADTSScan, LastFrameCutStaysAPacket) {
    const Scanned scanned = Scan(ADTSWriter().Dummies(3, 20).Cut(19));
    EXPECT_THAT(scanned.Packets(), ElementsAre(Pair(7, 20), Pair(34, 20), Pair(61, 20)));
    EXPECT_EQ(0u, scanned.frames.skippedByteCount);
}

// However little of the header is left, the frame that it began keeps its time.
TEST(ADTSScan, LastHeaderCutStaysAPacket) {
    for (const std::size_t leftBytes : {1u, 2u, 3u, 4u, 5u, 6u}) {
        const Scanned scanned = Scan(ADTSWriter().Dummies(3, 20).Cut(27 - leftBytes));
        EXPECT_THAT(scanned.Packets(), ElementsAre(Pair(7, 20), Pair(34, 20), Pair(54 + leftBytes, 0)));
        EXPECT_EQ(0u, scanned.frames.skippedByteCount);
        EXPECT_EQ(1u, scanned.frames.stretches.size());
    }
    const Scanned ownHeaders = Scan(ADTSWriter().Dummies(3, 20, Of(4, 0)).Cut(22));
    EXPECT_THAT(ownHeaders.Packets(), ElementsAre(Pair(0, 27), Pair(27, 27), Pair(54, 5)));
    ADTSFrameToWrite blocks = WithChecksum();
    blocks.blocks = {{1, 2, 3}, {4, 5, 6}};
    const Scanned ofTwo = Scan(ADTSWriter().Frame(blocks).Frame(blocks).Frame(blocks).Cut(16));
    EXPECT_EQ(5u, ofTwo.Packets().size());
    EXPECT_EQ(2u, ofTwo.frames.stretches.back().blockCount);
}

TEST(ADTSScan, BytesBehindTheLastFrameThatBeginNoHeaderAreJunk) {
    const Scanned scanned = Scan(ADTSWriter().Dummies(2, 20).Bytes("abc"));
    EXPECT_EQ(2u, scanned.Packets().size());
    EXPECT_EQ(3u, scanned.frames.skippedByteCount);
    const Scanned other = Scan(ADTSWriter().Dummies(2, 20).Bytes("\xFF\xF1\x90"));
    EXPECT_EQ(2u, other.Packets().size());
    EXPECT_EQ(3u, other.frames.skippedByteCount);
}

TEST(ADTSScan, StartAmidAFrame) {
    const std::string bytes = ADTSWriter().Dummies(20, 50).Result().substr(30);
    const Scanned scanned = Scan(bytes);
    EXPECT_EQ(noErr, scanned.status);
    EXPECT_EQ(19u, scanned.Packets().size());
    EXPECT_EQ(27u, scanned.frames.skippedByteCount);
}

TEST(ADTSScan, StartAmidAFrameOfAShortFile) {
    EXPECT_EQ(3u, Scan(ADTSWriter().Dummies(4, 50).Result().substr(30)).Packets().size());
    EXPECT_EQ(cantFindHandler, Scan(ADTSWriter().Dummies(3, 50).Result().substr(30)).status);
}

TEST(ADTSScan, NoSearchFurtherThanAFrame) {
    EXPECT_EQ(noErr, Scan(ADTSWriter().Zeros(8190).Dummies(9, 50)).status);
    EXPECT_EQ(cantFindHandler, Scan(ADTSWriter().Zeros(8191).Dummies(9, 50)).status);
}

TEST(ADTSScan, FramesInsideOtherContainersAreNotOurs) {
    std::string transport(188, '\0');
    transport[0] = 'G';
    std::string disc(196, '\0');
    disc[4] = 'G';
    for (const std::string& beginning :
         {std::string("RIFF...."), std::string("OggS"), std::string("\x1A\x45\xDF\xA3"),
          std::string("....ftyp"), std::string("....moov"), std::string("\0\0\1\xBA", 4), transport + "G",
          disc + "G"}) {
        EXPECT_EQ(cantFindHandler, Scan(ADTSWriter().Bytes(beginning).Dummies(9, 50)).status) << beginning;
    }
    EXPECT_EQ(noErr, Scan(ADTSWriter().Bytes("mid-frame").Dummies(9, 50)).status);
}

TEST(ADTSScan, OtherAudioIsNotOurs) {
    std::string layer3;
    for (int frame = 0; frame < 20; ++frame)
        layer3 += std::string("\xFF\xFB\x90\x64", 4) + std::string(413, '\0');
    EXPECT_EQ(cantFindHandler, Scan(layer3).status);
    std::string multiplex;
    for (int frame = 0; frame < 20; ++frame)
        multiplex += std::string("\x56\xE0\x64", 3) + std::string(100, '\x55');
    EXPECT_EQ(cantFindHandler, Scan(multiplex).status);
    std::mt19937 random(7);
    std::string noise;
    for (int byte = 0; byte < 100000; ++byte)
        noise.push_back(static_cast<char>(random()));
    EXPECT_EQ(cantFindHandler, Scan(noise).status);
}

TEST(ADTSScan, ChecksumsAreLeftOut) {
    const Scanned scanned =
        Scan(ADTSWriter().Dummies(2, 20, WithChecksum()).Dummy(20).Dummy(20, WithChecksum()));
    EXPECT_THAT(scanned.Packets(), ElementsAre(Pair(9, 20), Pair(38, 20), Pair(65, 20), Pair(94, 20)));
    EXPECT_EQ(1u, scanned.frames.stretches.size());
}

TEST(ADTSScan, SeveralBlocksInAFrame) {
    ADTSFrameToWrite frame;
    frame.blocks = {{1, 2, 3}, {4, 5}};
    const Scanned scanned = Scan(ADTSWriter().Dummies(2, 20).Frame(frame).Frame(frame).Dummy(20));
    EXPECT_THAT(scanned.Packets(),
                ElementsAre(Pair(7, 20), Pair(34, 20), Pair(61, 5), Pair(73, 5), Pair(85, 20)));
    ASSERT_EQ(3u, scanned.frames.stretches.size());
    EXPECT_EQ(2u, scanned.frames.stretches[1].firstPacket);
    EXPECT_EQ(2u, scanned.frames.stretches[1].blockCount);
    EXPECT_EQ(4u, scanned.frames.stretches[2].firstPacket);
    EXPECT_EQ(1u, scanned.frames.stretches[2].blockCount);
}

TEST(ADTSScan, BlocksWithChecksumsBecomePackets) {
    ADTSFrameToWrite frame = WithChecksum();
    frame.blocks = {{1, 2, 3}, {4, 5}, {6, 7, 8, 9}};
    const Scanned scanned = Scan(ADTSWriter().Dummy(20).Frame(frame).Dummy(20));
    EXPECT_THAT(scanned.Packets(),
                ElementsAre(Pair(7, 20), Pair(40, 3), Pair(45, 2), Pair(49, 4), Pair(55 + 7, 20)));
    EXPECT_EQ(1u, scanned.frames.stretches.size());
}

TEST(ADTSScan, BlockTableThatContradictsItselfStaysInsideTheFrame) {
    ADTSFrameToWrite frame = WithChecksum();
    frame.blocks = {{1, 2, 3}, {4, 5}, {6, 7, 8, 9}};
    std::string bytes = ADTSWriter().Dummy(20).Frame(frame).Dummy(20).Result();
    bytes[27 + 7] = '\xFF';  // the second block begins far behind the frame
    bytes[27 + 9] = 0;       // and the third before it
    bytes[27 + 10] = 1;
    const Scanned scanned = Scan(bytes);
    const Places packets = scanned.Packets();
    ASSERT_EQ(5u, packets.size());
    for (std::size_t packet = 1; packet < 4; ++packet) {
        EXPECT_GE(packets[packet].second, 1u);
        EXPECT_LE(packets[packet].first + packets[packet].second, 56);
    }
}

TEST(ADTSScan, HeadersThatTellTheChannelsStay) {
    const Scanned scanned = Scan(ADTSWriter().Dummies(2, 20, Of(4, 0)));
    EXPECT_THAT(scanned.Packets(), ElementsAre(Pair(0, 27), Pair(27, 27)));
}

TEST(ADTSScan, ChangeOfFormatNeedsConfirmation) {
    const Scanned scanned = Scan(ADTSWriter().Dummies(3, 20).Dummies(2, 30, Of(3)).Dummies(2, 40, Of(3, 1)));
    EXPECT_EQ(7u, scanned.Packets().size());
    ASSERT_EQ(3u, scanned.frames.stretches.size());
    EXPECT_EQ(3u, scanned.frames.stretches[1].firstPacket);
    EXPECT_EQ(48000u, scanned.frames.stretches[1].header.SampleRateHz());
    EXPECT_EQ(5u, scanned.frames.stretches[2].firstPacket);
    EXPECT_EQ(1, scanned.frames.stretches[2].header.ChannelConfig());

    const Scanned lone = Scan(ADTSWriter().Dummies(3, 20).Dummy(30, Of(3)).Dummies(2, 20));
    EXPECT_EQ(5u, lone.Packets().size());
    EXPECT_EQ(37u, lone.frames.skippedByteCount);
    EXPECT_EQ(1u, lone.frames.stretches.size());
}

TEST(ADTSScan, TooManyChangesAreRefused) {
    ADTSWriter writer;
    for (int change = 0; change <= 1 << 18; ++change)
        writer.Dummies(2, 1, Of(change % 2 == 0 ? 3 : 4));
    EXPECT_EQ(invalidMovie, Scan(writer).status);
}

TEST(ADTSScan, ReadFailureIsTold) {
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    close(ends[1]);
    // A pipe cannot be read at a position.
    const MediaFile file(ends[0], 1000, "pipe");
    ADTSFrames frames;
    EXPECT_EQ(ioErr, ScanADTS(file, frames));
}

TEST(ADTSScan, FileThatBecameShorter) {
    // The size is what it was when the file was opened; the bytes are gone.
    const std::string bytes = ADTSWriter().Dummies(3, 20).Result();
    const int descriptor = memfd_create("shorter", MFD_CLOEXEC);
    ASSERT_EQ(static_cast<ssize_t>(bytes.size()), write(descriptor, bytes.data(), bytes.size()));
    const MediaFile file(descriptor, 400000, "shorter");
    Scanned scanned;
    scanned.status = ScanADTS(file, scanned.frames);
    EXPECT_EQ(noErr, scanned.status);
    EXPECT_EQ(3u, scanned.Packets().size());
}

}  // namespace
}  // namespace toolbox::movies
