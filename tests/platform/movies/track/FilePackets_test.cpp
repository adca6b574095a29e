#include "fakes/MP4Writer.h"
#include "fakes/MemoryFile.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <toolbox/MacErrors.h>
#include <track/FilePackets.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <random>
#include <string>

extern "C" {
#include <libavutil/buffer.h>
}

namespace toolbox::movies {
namespace {

constexpr std::size_t kTailBytes = 64;

// Bytes that differ from place to place.
std::string Noise(std::size_t inByteCount) {
    std::minstd_rand random(7);
    std::string bytes(inByteCount, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(random() >> 8);
    return bytes;
}

// What a packet must look like with what is behind it: the file's bytes, then zeros.
std::string Expected(const std::string& inFile, const PacketTable::Place& inPlace) {
    std::string bytes =
        inFile.substr(static_cast<std::size_t>(inPlace.offsetBytes), inPlace.sizeBytes + kTailBytes);
    bytes.resize(inPlace.sizeBytes + kTailBytes, '\0');
    return bytes;
}

std::string Seen(const PacketBytes& inBytes) {
    return {reinterpret_cast<const char*>(inBytes.data), inBytes.sizeBytes + kTailBytes};
}

// Reads every packet in the given order and compares it with the file.
void ExpectPackets(const std::string& inFile, const PacketTable& inTable,
                   const std::vector<std::uint32_t>& inOrder) {
    const auto store = NewFilePackets(mirtal::fakes::NewMemoryFile(inFile), inTable);
    ASSERT_EQ(inTable.Count(), store->PacketCount());
    const auto reader = store->NewReader();
    PacketTable::Cursor cursor(inTable);
    for (const std::uint32_t packet : inOrder) {
        PacketBytes bytes;
        ASSERT_EQ(noErr, reader->Read(packet, bytes)) << packet;
        const PacketTable::Place place = cursor.At(packet);
        ASSERT_EQ(place.sizeBytes, bytes.sizeBytes);
        ASSERT_EQ(Expected(inFile, place), Seen(bytes)) << packet;
    }
}

std::vector<std::uint32_t> InOrder(std::uint32_t inCount) {
    std::vector<std::uint32_t> order(inCount);
    std::iota(order.begin(), order.end(), 0U);
    return order;
}

PacketTable Contiguous(std::uint32_t inCount, std::uint32_t inSizeBytes, std::int64_t inOffsetBytes = 0) {
    PacketTable table;
    for (std::uint32_t i = 0; i < inCount; ++i)
        table.Append(inOffsetBytes + std::int64_t{i} * inSizeBytes, inSizeBytes);
    return table;
}

TEST(PacketTable, Empty) {
    const PacketTable table;
    EXPECT_EQ(0u, table.Count());
    EXPECT_EQ(0u, table.RunCount());
    EXPECT_EQ(0, table.EndBytes());
}

TEST(PacketTable, ContiguousPacketsAreOneRun) {
    const PacketTable table = Contiguous(1000, 77, 40);
    EXPECT_EQ(1u, table.RunCount());
    PacketTable::Cursor cursor(table);
    for (const std::uint32_t packet : {0u, 999u, 1u, 2u, 500u, 500u, 0u}) {
        EXPECT_EQ(40 + 77 * std::int64_t{packet}, cursor.At(packet).offsetBytes);
        EXPECT_EQ(77u, cursor.At(packet).sizeBytes);
    }
    EXPECT_EQ(40 + 77 * 1000, table.EndBytes());
}

TEST(PacketTable, TheGapOfARunCounts) {
    PacketTable table(7);
    std::int64_t offsetBytes = 7;
    for (std::uint32_t i = 0; i < 10; ++i) {
        table.Append(offsetBytes, 100 + i);
        offsetBytes += 100 + i + 7;
    }
    EXPECT_EQ(1u, table.RunCount());
    PacketTable::Cursor cursor(table);
    EXPECT_EQ(7, cursor.At(0).offsetBytes);
    EXPECT_EQ(7 + 107, cursor.At(1).offsetBytes);
    EXPECT_EQ(7 + 107 + 108 + 109, cursor.At(3).offsetBytes);
    table.Append(table.EndBytes(), 5);  // without the gap: another run
    EXPECT_EQ(2u, table.RunCount());
}

TEST(PacketTable, FarPacketsAreRunsOfTheirOwn) {
    PacketTable table;
    for (std::uint32_t i = 0; i < 100; ++i)
        table.Append(std::int64_t{i} * 1000, i);
    PacketTable::Cursor cursor(table);
    for (std::uint32_t packet = 100; packet-- > 0;) {
        EXPECT_EQ(std::int64_t{packet} * 1000, cursor.At(packet).offsetBytes);
        EXPECT_EQ(packet, cursor.At(packet).sizeBytes);
    }
}

TEST(PacketTable, SizesBeyondTwoBytes) {
    PacketTable table;
    const std::uint32_t sizes[] = {0, 1, 65535, 65536, 7, 4294967295u, 3};
    std::int64_t offsetBytes = 10;
    std::vector<std::int64_t> offsets;
    for (const std::uint32_t size : sizes) {
        offsets.push_back(offsetBytes);
        table.Append(offsetBytes, size);
        offsetBytes += size;
    }
    PacketTable::Cursor cursor(table);
    for (std::uint32_t i = 0; i < 7; ++i) {
        EXPECT_EQ(sizes[i], cursor.At(i).sizeBytes);
        EXPECT_EQ(offsets[i], cursor.At(i).offsetBytes);
    }
}

TEST(PacketTable, TheFirstSizeMayBeLarge) {
    PacketTable table;
    table.Append(0, 70000);
    table.Append(70000, 1);
    PacketTable::Cursor cursor(table);
    EXPECT_EQ(70000u, cursor.At(0).sizeBytes);
    EXPECT_EQ(70000, cursor.At(1).offsetBytes);
}

TEST(PacketTable, ARunAtOnceIsTheSameAsOneByOne) {
    for (const std::uint32_t largest : {100u, 100000u}) {
        for (const std::uint32_t gap : {0u, 9u}) {
            std::minstd_rand random(3);
            PacketTable single(gap);
            PacketTable bulk(gap);
            for (int run = 0; run < 20; ++run) {
                std::vector<std::uint32_t> sizes(random() % 50);
                for (std::uint32_t& size : sizes)
                    size = static_cast<std::uint32_t>(random() % largest);
                const std::int64_t start = bulk.EndBytes() + (run % 2 == 0 ? gap : 12345);
                std::int64_t offsetBytes = start;
                for (const std::uint32_t size : sizes) {
                    single.Append(offsetBytes, size);
                    offsetBytes += std::int64_t{size} + gap;
                }
                bulk.AppendRun(start, sizes.data(), static_cast<std::uint32_t>(sizes.size()));
            }
            ASSERT_EQ(single.Count(), bulk.Count());
            ASSERT_EQ(single.RunCount(), bulk.RunCount());
            PacketTable::Cursor one(single);
            PacketTable::Cursor other(bulk);
            for (std::uint32_t i = 0; i < single.Count(); ++i) {
                ASSERT_EQ(one.At(i).offsetBytes, other.At(i).offsetBytes);
                ASSERT_EQ(one.At(i).sizeBytes, other.At(i).sizeBytes);
            }
        }
    }
}

TEST(PacketTable, ImpossibleOffsetsDoNotOverflow) {
    PacketTable table;
    table.Append(INT64_MAX, 4294967295u);
    table.Append(INT64_MIN, 5);
    table.Append(-1, 5);
    PacketTable::Cursor cursor(table);
    EXPECT_EQ(INT64_MAX, cursor.At(0).offsetBytes);
    EXPECT_EQ(-1, cursor.At(2).offsetBytes);
}

TEST(FilePackets, ManyBlocksInOrder) {
    ExpectPackets(Noise(1000000), Contiguous(2500, 400), InOrder(2500));
}

// Block edges must not show, whatever the size of the packets.
TEST(FilePackets, OddSizes) {
    const std::string file = Noise(700000);
    PacketTable table;
    std::minstd_rand random(11);
    std::int64_t offsetBytes = 3;
    while (offsetBytes < 690000) {
        const auto size = static_cast<std::uint32_t>(random() % 3000);
        table.Append(offsetBytes, size);
        offsetBytes += size;
    }
    ExpectPackets(file, table, InOrder(table.Count()));
}

TEST(FilePackets, AnyOrder) {
    std::vector<std::uint32_t> order = InOrder(1000);
    std::shuffle(order.begin(), order.end(), std::minstd_rand(5));
    ExpectPackets(Noise(700000), Contiguous(1000, 700), order);
}

TEST(FilePackets, FarApart) {
    const std::string file = Noise(3000000);
    PacketTable table;
    for (std::uint32_t i = 0; i < 100; ++i)
        table.Append(std::int64_t{i} * 29000, 300);
    ExpectPackets(file, table, InOrder(100));
    std::vector<std::uint32_t> backwards = InOrder(100);
    std::reverse(backwards.begin(), backwards.end());
    ExpectPackets(file, table, backwards);
}

TEST(FilePackets, WithHeadersBetween) {
    PacketTable table(7);
    for (std::uint32_t i = 0; i < 1000; ++i)
        table.Append(7 + std::int64_t{i} * 307, 300);
    ExpectPackets(Noise(307000), table, InOrder(1000));
}

TEST(FilePackets, LargerThanABlock) {
    PacketTable table;
    table.Append(5, 100);
    table.Append(105, 1000000);
    table.Append(1000105, 100);
    ExpectPackets(Noise(1000205), table, {0, 1, 2, 1, 0});
}

TEST(FilePackets, TheLastPacketIsFollowedByZeros) {
    ExpectPackets(Noise(1000), Contiguous(10, 100), {9, 8, 0});
}

TEST(FilePackets, EmptyPacket) {
    PacketTable table;
    table.Append(50, 0);
    table.Append(100, 0);  // at the very end
    table.Append(0, 0);
    ExpectPackets(Noise(100), table, {0, 1, 2});
}

TEST(FilePackets, BeyondTheEnd) {
    PacketTable table;
    for (const std::int64_t offset : {std::int64_t{0}, std::int64_t{91}, std::int64_t{100}, std::int64_t{101},
                                      std::int64_t{-1}, INT64_MAX, INT64_MIN})
        table.Append(offset, 10);
    const auto reader = NewFilePackets(mirtal::fakes::NewMemoryFile(Noise(100)), table)->NewReader();
    PacketBytes bytes;
    EXPECT_EQ(noErr, reader->Read(0, bytes));
    for (std::uint32_t packet = 1; packet < 7; ++packet) {
        EXPECT_EQ(eofErr, reader->Read(packet, bytes)) << packet;
        EXPECT_EQ(nullptr, bytes.data);
        EXPECT_EQ(nullptr, bytes.owner);
    }
    EXPECT_EQ(eofErr, reader->Read(7, bytes));
    EXPECT_EQ(noErr, reader->Read(0, bytes));
}

TEST(FilePackets, EmptyTableAndEmptyFile) {
    PacketBytes bytes;
    EXPECT_EQ(eofErr,
              NewFilePackets(mirtal::fakes::NewMemoryFile(""), PacketTable())->NewReader()->Read(0, bytes));
    PacketTable table;
    table.Append(0, 1);
    EXPECT_EQ(eofErr, NewFilePackets(mirtal::fakes::NewMemoryFile(""), table)->NewReader()->Read(0, bytes));
}

TEST(FilePackets, GiantPacketIsRefused) {
    PacketTable table;
    table.Append(0, 16 * 1024 * 1024 + 1);
    table.Append(0, 16);
    const auto reader = NewFilePackets(mirtal::fakes::NewMemoryFile(Noise(1000)), table)->NewReader();
    PacketBytes bytes;
    EXPECT_EQ(paramErr, reader->Read(0, bytes));
    EXPECT_EQ(noErr, reader->Read(1, bytes));
}

// A descriptor that cannot be read from stands for a device that fails.
TEST(FilePackets, DeviceFails) {
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    close(ends[0]);
    const auto file = std::make_shared<const MediaFile>(ends[1], 1000, "broken");
    const auto reader = NewFilePackets(file, Contiguous(2, 100))->NewReader();
    PacketBytes bytes;
    EXPECT_EQ(ioErr, reader->Read(0, bytes));
    EXPECT_EQ(nullptr, bytes.data);
    EXPECT_EQ(ioErr, reader->Read(1, bytes));
}

TEST(FilePackets, FileBecameShorter) {
    const int descriptor = memfd_create("shorter", MFD_CLOEXEC);
    ASSERT_EQ(0, ftruncate(descriptor, 500));
    const auto file = std::make_shared<const MediaFile>(descriptor, 1000, "shorter");
    const auto reader = NewFilePackets(file, Contiguous(10, 100))->NewReader();
    PacketBytes bytes;
    EXPECT_EQ(noErr, reader->Read(4, bytes));
    EXPECT_EQ(std::string(100 + kTailBytes, '\0'), Seen(bytes));
    EXPECT_EQ(eofErr, reader->Read(5, bytes));
    EXPECT_EQ(noErr, reader->Read(0, bytes));
}

// What a decoder still holds must not change under it.
TEST(FilePackets, HeldBlocksStayAsTheyAre) {
    const std::string file = Noise(2000000);
    const PacketTable table = Contiguous(2000, 1000);
    const auto reader = NewFilePackets(mirtal::fakes::NewMemoryFile(file), table)->NewReader();
    struct Held {
        AVBufferRef* owner;
        PacketBytes bytes;
        std::uint32_t packet;
    };
    std::vector<Held> held;
    for (std::uint32_t packet = 0; packet < 2000; packet += 200) {
        PacketBytes bytes;
        ASSERT_EQ(noErr, reader->Read(packet, bytes));
        held.push_back({av_buffer_ref(bytes.owner), bytes, packet});
    }
    for (Held& each : held) {
        const PacketTable::Place place = {std::int64_t{each.packet} * 1000, 1000};
        EXPECT_EQ(Expected(file, place), Seen(each.bytes)) << each.packet;
        av_buffer_unref(&each.owner);
    }
}

TEST(FilePackets, BlocksAreUsedAgain) {
    const auto reader =
        NewFilePackets(mirtal::fakes::NewMemoryFile(Noise(2000000)), Contiguous(2000, 1000))->NewReader();
    PacketBytes bytes;
    ASSERT_EQ(noErr, reader->Read(0, bytes));
    const std::uint8_t* const first = bytes.owner->data;
    for (std::uint32_t packet = 1; packet < 2000; ++packet) {
        ASSERT_EQ(noErr, reader->Read(packet, bytes));
        ASSERT_EQ(first, bytes.owner->data) << packet;
    }
}

// A decoder that keeps its last packet makes two blocks take turns, and no third one.
TEST(FilePackets, TwoBlocksTakeTurns) {
    const auto reader =
        NewFilePackets(mirtal::fakes::NewMemoryFile(Noise(2000000)), Contiguous(2000, 1000))->NewReader();
    std::vector<const std::uint8_t*> seen;
    AVBufferRef* kept = nullptr;
    for (std::uint32_t packet = 0; packet < 2000; ++packet) {
        PacketBytes bytes;
        ASSERT_EQ(noErr, reader->Read(packet, bytes));
        if (std::find(seen.begin(), seen.end(), bytes.owner->data) == seen.end())
            seen.push_back(bytes.owner->data);
        AVBufferRef* const next = av_buffer_ref(bytes.owner);
        av_buffer_unref(&kept);
        kept = next;
    }
    av_buffer_unref(&kept);
    EXPECT_EQ(2u, seen.size());
}

TEST(FilePackets, HeldBlocksOutliveReaderAndStore) {
    const std::string file = Noise(1000);
    AVBufferRef* kept = nullptr;
    PacketBytes bytes;
    {
        const auto reader =
            NewFilePackets(mirtal::fakes::NewMemoryFile(file), Contiguous(10, 100))->NewReader();
        ASSERT_EQ(noErr, reader->Read(3, bytes));
        kept = av_buffer_ref(bytes.owner);
    }
    EXPECT_EQ(Expected(file, {300, 100}), Seen(bytes));
    av_buffer_unref(&kept);
}

TEST(FilePackets, TwoReadersAreIndependent) {
    const std::string file = Noise(500000);
    const auto store = NewFilePackets(mirtal::fakes::NewMemoryFile(file), Contiguous(500, 1000));
    const auto one = store->NewReader();
    const auto other = store->NewReader();
    for (std::uint32_t packet = 0; packet < 500; ++packet) {
        PacketBytes forwards;
        PacketBytes backwards;
        ASSERT_EQ(noErr, one->Read(packet, forwards));
        ASSERT_EQ(noErr, other->Read(499 - packet, backwards));
        ASSERT_EQ(Expected(file, {std::int64_t{packet} * 1000, 1000}), Seen(forwards));
        ASSERT_EQ(Expected(file, {std::int64_t{499 - packet} * 1000, 1000}), Seen(backwards));
    }
}

}  // namespace
}  // namespace toolbox::movies
