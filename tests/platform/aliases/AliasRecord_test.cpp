#include "aliases/AliasRecord.h"

#include "support/Rounds.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using namespace toolbox::files;
using namespace toolbox::os;

AliasContents Sample() {
    return {FourChars("TEST"), ItemKind::kFolder, {0x0102030405060708, 0x1112131415161718, -2}, "/a \xFF"};
}

OSStatus Decode(const std::vector<UInt8>& inBytes, AliasContents& outContents) {
    std::size_t recordBytes = 0;
    return DecodeAlias(inBytes.data(), inBytes.size(), outContents, recordBytes);
}

TEST(AliasRecord, BytesAreBigEndian) {
    std::vector<UInt8> record;
    ASSERT_EQ(noErr, EncodeAlias(Sample(), record));
    const std::vector<UInt8> expected = {'T',  'E',  'S',  'T',  0,    44,   0,    1,    0,    2,    0,
                                         0,    1,    2,    3,    4,    5,    6,    7,    8,    0x11, 0x12,
                                         0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                         0xFF, 0xFF, 0xFE, 0,    0,    0,    4,    '/',  'a',  ' ',  0xFF};
    EXPECT_EQ(expected, record);
}

TEST(AliasRecord, ReadsWhatItWrote) {
    std::vector<UInt8> record;
    ASSERT_EQ(noErr, EncodeAlias(Sample(), record));
    AliasContents contents;
    ASSERT_EQ(noErr, Decode(record, contents));
    EXPECT_EQ(Sample().userType, contents.userType);
    EXPECT_EQ(Sample().kind, contents.kind);
    EXPECT_EQ(Sample().identity.device, contents.identity.device);
    EXPECT_EQ(Sample().identity.inode, contents.identity.inode);
    EXPECT_EQ(Sample().identity.birthNanos, contents.identity.birthNanos);
    EXPECT_EQ(Sample().path, contents.path);
}

TEST(AliasRecord, BytesBehindItAreNotItsOwn) {
    std::vector<UInt8> record;
    ASSERT_EQ(noErr, EncodeAlias(Sample(), record));
    const std::size_t size = record.size();
    record.resize(size + 100, 0);
    AliasContents contents;
    std::size_t recordBytes = 0;
    ASSERT_EQ(noErr, DecodeAlias(record.data(), record.size(), contents, recordBytes));
    EXPECT_EQ(size, recordBytes);
    EXPECT_EQ(Sample().path, contents.path);
}

TEST(AliasRecord, LongestPath) {
    AliasContents contents = Sample();
    contents.path = '/' + std::string(65535 - 40 - 1, 'p');
    std::vector<UInt8> record;
    ASSERT_EQ(noErr, EncodeAlias(contents, record));
    EXPECT_EQ(65535u, record.size());
    AliasContents back;
    ASSERT_EQ(noErr, Decode(record, back));
    EXPECT_EQ(contents.path, back.path);
    contents.path += 'p';
    EXPECT_EQ(pathTooLongErr, EncodeAlias(contents, record));
}

TEST(AliasRecord, EveryCutIsRefused) {
    std::vector<UInt8> record;
    ASSERT_EQ(noErr, EncodeAlias(Sample(), record));
    AliasContents contents;
    for (std::size_t size = 0; size < record.size(); ++size) {
        // A block of exactly this size, so that reading past it is seen.
        const std::vector<UInt8> cut(record.begin(), record.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_EQ(paramErr, Decode(cut, contents)) << size;
    }
}

TEST(AliasRecord, FieldsThatCannotBe) {
    std::vector<UInt8> good;
    ASSERT_EQ(noErr, EncodeAlias(Sample(), good));
    const struct {
        std::size_t offset;
        UInt8 value;
    } kBreaks[] = {{4, 1}, {5, 43}, {5, 40}, {5, 0},  {6, 1},  {7, 0},    {7, 2},  {8, 1},  {9, 0},
                   {9, 5}, {36, 1}, {38, 1}, {39, 3}, {39, 5}, {40, 'a'}, {40, 0}, {42, 0}, {43, 0}};
    for (const auto& one : kBreaks) {
        std::vector<UInt8> bad = good;
        bad[one.offset] = one.value;
        AliasContents contents;
        EXPECT_EQ(paramErr, Decode(bad, contents)) << one.offset << ' ' << int{one.value};
    }
}

TEST(AliasRecord, AnyBytesAreReadWithinTheirBounds) {
    std::vector<UInt8> good;
    ASSERT_EQ(noErr, EncodeAlias(Sample(), good));
    std::mt19937 random(1);
    int accepted = 0;
    for (int round = 0, rounds = support::Rounds(20000); round < rounds; ++round) {
        std::vector<UInt8> bytes = good;
        for (int count = 0; count < 3; ++count)
            bytes[random() % bytes.size()] = static_cast<UInt8>(random());
        bytes.resize(random() % (bytes.size() + 4), static_cast<UInt8>(random()));
        bytes.shrink_to_fit();
        AliasContents contents;
        std::size_t recordBytes = 0;
        const OSStatus status = DecodeAlias(bytes.data(), bytes.size(), contents, recordBytes);
        if (status != noErr) {
            EXPECT_EQ(paramErr, status);
            continue;
        }
        ++accepted;
        EXPECT_LE(recordBytes, bytes.size());
        EXPECT_EQ('/', contents.path.front());
        EXPECT_EQ(recordBytes, 40 + contents.path.size());
    }
    EXPECT_GT(accepted, 0);
}

}  // namespace
