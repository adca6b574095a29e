#include "formats/ResourceFork.h"

#include "os/BigEndian.h"
#include "platform/resources/ResourcesTest.h"
#include "support/Rounds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace {

using namespace test_resources;
using namespace toolbox::resources;
using toolbox::os::Store16;
using toolbox::os::Store32;

// One resource 'TEXT' 128 "ab", named "n", written by hand from the published layout; the map starts at 256
// + 6.
std::vector<UInt8> ForkByHand() {
    std::vector<UInt8> fork(256);
    const std::vector<UInt8> header = {0, 0, 1, 0, 0, 0, 1, 6, 0, 0, 0, 6, 0, 0, 0, 52};
    std::copy(header.begin(), header.end(), fork.begin());
    const std::vector<UInt8> data = {0, 0, 0, 2, 'a', 'b'};
    fork.insert(fork.end(), data.begin(), data.end());
    fork.insert(fork.end(), header.begin(), header.end());
    const std::vector<UInt8> rest = {
        0,   0,   0,   0,   0, 0, 0, 0,  0, 28, 0, 50,  // room, attributes, offsets
        0,   0,                                         // one type
        'T', 'E', 'X', 'T', 0, 0, 0, 10,                // one resource, its list
        0,   128, 0,   0,   8, 0, 0, 0,  0, 0,  0, 0,   // its reference, protected
        1,   'n'};                                      // names
    fork.insert(fork.end(), rest.begin(), rest.end());
    return fork;
}

struct Decoded {
    bool isGood = false;
    UInt16 attributes = 0;
    ForkHeader header;
    std::vector<Reference> references;
};

Decoded Decode(const std::vector<UInt8>& inFork) {
    Decoded decoded;
    if (inFork.size() < kForkHeaderBytes || !DecodeHeader(inFork.data(), inFork.size(), decoded.header))
        return decoded;
    decoded.isGood = DecodeMap(std::span(inFork).subspan(decoded.header.mapOffset, decoded.header.mapBytes),
                               decoded.attributes, decoded.references);
    return decoded;
}

std::string DataOf(const std::vector<UInt8>& inFork, const Decoded& inDecoded, const Reference& inReference) {
    const std::size_t at = inDecoded.header.dataOffset + inReference.dataOffset;
    const UInt32 length = toolbox::os::Load32(inFork.data() + at);
    const auto begin = inFork.begin() + static_cast<std::ptrdiff_t>(at + kLengthBytes);
    return {begin, begin + length};
}

TEST(ResourceFork, WrittenAsByHand) {
    EXPECT_EQ(ForkByHand(), ForkOf({ImageOf(kText, 128, "ab", "n", 8)}));
}

TEST(ResourceFork, ReadAsWrittenByHand) {
    const Decoded decoded = Decode(ForkByHand());
    ASSERT_TRUE(decoded.isGood);
    ASSERT_EQ(1U, decoded.references.size());
    const Reference& one = decoded.references[0];
    EXPECT_EQ(kText, one.type);
    EXPECT_EQ(128, one.id);
    EXPECT_EQ(8, one.attributes);
    EXPECT_TRUE(one.hasName);
    EXPECT_EQ("n", one.name);
    EXPECT_EQ("ab", DataOf(ForkByHand(), decoded, one));
}

TEST(ResourceFork, WithoutResources) {
    const std::vector<UInt8> fork = ForkOf({});
    EXPECT_EQ(256U + 30, fork.size());
    const Decoded decoded = Decode(fork);
    EXPECT_TRUE(decoded.isGood);
    EXPECT_TRUE(decoded.references.empty());
}

TEST(ResourceFork, FileAttributesAreKept) {
    std::vector<Image> none;
    std::vector<UInt8> fork;
    ASSERT_TRUE(EncodeFork(none, 0x40, fork));
    EXPECT_EQ(0x40, Decode(fork).attributes);
}

TEST(ResourceFork, EveryCutIsFound) {
    const std::vector<UInt8> whole = ForkByHand();
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_FALSE(Decode({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)}).isGood)
            << size;
        // And with a header that knows of it.
        if (size < 262) continue;
        std::vector<UInt8> cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        Store32(cut.data() + 12, static_cast<UInt32>(size - 262));
        EXPECT_FALSE(Decode(cut).isGood) << size;
    }
}

TEST(ResourceFork, ListsOutsideTheMap) {
    struct Case {
        std::size_t offset;
        UInt16 value;
    };
    constexpr std::size_t kMap = 262;
    for (const Case& one :
         {Case{kMap + 24, 51}, Case{kMap + 24, 0xFFFF}, Case{kMap + 26, 52}, Case{kMap + 26, 0xFFFF},
          Case{kMap + 28, 1}, Case{kMap + 28, 0xFFFE}, Case{kMap + 34, 1}, Case{kMap + 34, 0xFFFF},
          Case{kMap + 36, 13}, Case{kMap + 36, 0xFFFF}, Case{kMap + 40, 2}, Case{kMap + 40, 0xFFFE}}) {
        std::vector<UInt8> fork = ForkByHand();
        Store16(fork.data() + one.offset, one.value);
        EXPECT_FALSE(Decode(fork).isGood) << one.offset << " " << one.value;
    }
    std::vector<UInt8> fork = ForkByHand();
    fork.back() = 0;
    fork[fork.size() - 2] = 2;
    EXPECT_FALSE(Decode(fork).isGood) << "a name that runs past the end";
}

TEST(ResourceFork, PartsOutsideTheFork) {
    for (const std::size_t offset : {0, 4, 8, 12}) {
        std::vector<UInt8> fork = ForkByHand();
        Store32(fork.data() + offset, 0xFFFFFFFF);
        EXPECT_FALSE(Decode(fork).isGood) << offset;
    }
}

// Two types that claim the same 60,000 references would make a small file large.
TEST(ResourceFork, ListsThatOverlapAreNotReadTwice) {
    std::vector<Image> images = {ImageOf(kOther, 1, "")};
    for (int i = 0; i < 3000; ++i)
        images.push_back(ImageOf(kText, static_cast<SInt16>(i), ""));
    std::vector<UInt8> fork = ForkOf(images);
    ASSERT_TRUE(Decode(fork).isGood);
    UInt8* const typeList = fork.data() + toolbox::os::Load32(fork.data() + 4) + 28;
    Store16(typeList + 2 + 4, 2999);
    EXPECT_FALSE(Decode(fork).isGood);
}

TEST(ResourceFork, RandomMapsComeBack) {
    std::mt19937 random(1);
    for (int round = 0, rounds = support::Rounds(200); round < rounds; ++round) {
        std::vector<Image> images;
        for (unsigned left = random() % 40; left > 0; --left) {
            std::string data(random() % 50, '\0');
            for (char& byte : data)
                byte = static_cast<char>(random());
            const std::string name = random() % 2 == 0 ? "" : std::string(random() % 255 + 1, 'x');
            images.push_back(ImageOf(FourChars("typ0") + random() % 4, static_cast<SInt16>(random()), data,
                                     name, static_cast<UInt8>(random())));
        }
        const std::vector<UInt8> fork = ForkOf(images);
        const Decoded decoded = Decode(fork);
        ASSERT_TRUE(decoded.isGood);
        ASSERT_EQ(images.size(), decoded.references.size());
        // Types come together in the order of their first resource.
        std::vector<const Image*> expected;
        for (const Image& first : images)
            for (const Image& image : images)
                if (image.reference.type == first.reference.type &&
                    std::find(expected.begin(), expected.end(), &image) == expected.end())
                    expected.push_back(&image);
        for (std::size_t i = 0; i < expected.size(); ++i) {
            const Reference& reference = decoded.references[i];
            EXPECT_EQ(expected[i]->reference.type, reference.type);
            EXPECT_EQ(expected[i]->reference.id, reference.id);
            EXPECT_EQ(expected[i]->reference.attributes, reference.attributes);
            EXPECT_EQ(expected[i]->reference.hasName, reference.hasName);
            EXPECT_EQ(expected[i]->reference.name, reference.name);
            EXPECT_EQ(std::string(expected[i]->bytes.begin(), expected[i]->bytes.end()),
                      DataOf(fork, decoded, reference));
        }
    }
}

// References and names together pass what 16 bits reach in the usual order.
TEST(ResourceFork, TenThousandNames) {
    std::vector<Image> images;
    for (int i = 0; i < 10'000; ++i)
        images.push_back(ImageOf(kText, static_cast<SInt16>(i), "", "n" + std::to_string(i)));
    const Decoded decoded = Decode(ForkOf(images));
    ASSERT_TRUE(decoded.isGood);
    ASSERT_EQ(10'000U, decoded.references.size());
    EXPECT_EQ("n9999", decoded.references.back().name);
}

TEST(ResourceFork, WhatTheFormatCannotHold) {
    std::vector<UInt8> fork;
    std::vector<Image> images(300, ImageOf(kText, 1, "", std::string(255, 'n')));
    EXPECT_FALSE(EncodeFork(images, 0, fork)) << "names";
    images.assign(0x10001, ImageOf(kText, 1, ""));
    EXPECT_FALSE(EncodeFork(images, 0, fork)) << "resources of one type";
    images.assign(2, ImageOf(kText, 1, std::string(0xFFFFFF - 4, 'x')));
    EXPECT_TRUE(EncodeFork(images, 0, fork)) << "the second at the last offset there is";
    EXPECT_EQ(0xFFFFFFU, images[1].reference.dataOffset);
    images[0].bytes.push_back(0);
    EXPECT_FALSE(EncodeFork(images, 0, fork)) << "data";
}

}  // namespace
