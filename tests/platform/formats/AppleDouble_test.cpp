#include "formats/AppleDouble.h"

#include "os/BigEndian.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace toolbox::files;
using namespace toolbox::os;

std::vector<UInt8> Encoded(const std::vector<AppleDoublePart>& inParts) {
    std::vector<UInt8> file;
    EXPECT_TRUE(EncodeAppleDouble(inParts, file));
    return file;
}

bool Decodes(const std::vector<UInt8>& inFile) {
    std::vector<AppleDoubleEntry> entries;
    return DecodeAppleDouble(inFile.data(), inFile.size(), inFile.size(), entries);
}

// A file with two entries of three bytes each: 9 at 50, 2 at 53.
std::vector<UInt8> TwoEntries() {
    return Encoded(
        {{AppleDoubleEntry::kFinderInfo, {1, 2, 3}}, {AppleDoubleEntry::kResourceFork, {4, 5, 6}}});
}

TEST(AppleDouble, IsLaidOutAsPublished) {
    const std::vector<UInt8> expected = {0, 5, 0x16, 7, 0, 2, 0, 0,  0, 0, 0, 0,
                                         0, 0, 0,    0, 0, 0, 0, 0,  0, 0, 0, 0,  // magic, version, filler
                                         0, 2,                                    // entries
                                         0, 0, 0,    9, 0, 0, 0, 50, 0, 0, 0, 3,  // Finder information
                                         0, 0, 0,    2, 0, 0, 0, 53, 0, 0, 0, 3,  // resource fork
                                         1, 2, 3,    4, 5, 6};
    EXPECT_EQ(expected, TwoEntries());
}

TEST(AppleDouble, ResourceForkComesLast) {
    EXPECT_EQ(TwoEntries(), Encoded({{AppleDoubleEntry::kResourceFork, {4, 5, 6}},
                                     {AppleDoubleEntry::kFinderInfo, {1, 2, 3}}}));
}

TEST(AppleDouble, APartThatHasItsPlaceStaysThere) {
    constexpr UInt32 kPlace = 70;
    const std::vector<UInt8> file = Encoded({{AppleDoubleEntry::kResourceFork, {4, 5, 6}},
                                             {AppleDoubleEntry::kFileDates, {7}},
                                             {AppleDoubleEntry::kFinderInfo, {1, 2, 3}, kPlace}});
    std::vector<AppleDoubleEntry> entries;
    ASSERT_TRUE(DecodeAppleDouble(file.data(), file.size(), file.size(), entries));
    ASSERT_EQ(3U, entries.size());
    EXPECT_EQ(UInt32{AppleDoubleEntry::kFinderInfo}, entries[0].id);
    EXPECT_EQ(kPlace, entries[0].offsetBytes);
    EXPECT_EQ(1, file[kPlace]);
    EXPECT_EQ(73U, entries[1].offsetBytes);
    EXPECT_EQ(74U, entries[2].offsetBytes);
    EXPECT_EQ(77U, file.size());
}

TEST(AppleDouble, APlaceThatIsTaken) {
    std::vector<UInt8> file;
    EXPECT_TRUE(EncodeAppleDouble({{AppleDoubleEntry::kFinderInfo, {1}, 38}}, file));
    EXPECT_FALSE(EncodeAppleDouble({{AppleDoubleEntry::kFinderInfo, {1}, 37}}, file)) << "by the header";
    EXPECT_FALSE(EncodeAppleDouble(
        {{AppleDoubleEntry::kFinderInfo, {1, 2}, 60}, {AppleDoubleEntry::kFileDates, {1}, 61}}, file));
}

TEST(AppleDouble, EntriesComeBack) {
    const std::vector<UInt8> file = TwoEntries();
    std::vector<AppleDoubleEntry> entries;
    ASSERT_TRUE(DecodeAppleDouble(file.data(), file.size(), file.size(), entries));
    ASSERT_EQ(2U, entries.size());
    EXPECT_EQ(UInt32{AppleDoubleEntry::kFinderInfo}, entries[0].id);
    EXPECT_EQ(50U, entries[0].offsetBytes);
    EXPECT_EQ(3U, entries[0].lengthBytes);
    EXPECT_EQ(UInt32{AppleDoubleEntry::kResourceFork}, entries[1].id);
    EXPECT_EQ(53U, entries[1].offsetBytes);
}

TEST(AppleDouble, NoEntries) {
    const std::vector<UInt8> file = Encoded({});
    EXPECT_EQ(kAppleDoubleHeaderBytes, file.size());
    EXPECT_TRUE(Decodes(file));
}

TEST(AppleDouble, AnotherMagicOrVersionIsNoCompanion) {
    for (const std::size_t offset : {0, 3, 4, 5, 7}) {
        std::vector<UInt8> file = TwoEntries();
        file[offset] ^= 1;
        EXPECT_EQ(0U, AppleDoubleHeaderSize(file.data())) << offset;
        EXPECT_FALSE(Decodes(file)) << offset;
    }
    EXPECT_EQ(50U, AppleDoubleHeaderSize(TwoEntries().data()));
}

TEST(AppleDouble, EveryCutIsFound) {
    const std::vector<UInt8> whole = TwoEntries();
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_FALSE(Decodes({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)})) << size;
    EXPECT_TRUE(Decodes(whole));
}

TEST(AppleDouble, EntriesOutsideTheFile) {
    struct Case {
        UInt32 offset, length;
        bool isGood;
    };
    for (const Case& one : {Case{53, 3, true}, Case{53, 4, false}, Case{54, 3, false}, Case{56, 0, true},
                            Case{57, 0, false}, Case{0xFFFFFFFF, 2, false}, Case{53, 0xFFFFFFFF, false},
                            Case{49, 3, false}, Case{0, 0, true}, Case{50, 3, true}}) {
        std::vector<UInt8> file = TwoEntries();
        Store32(file.data() + 42, one.offset);
        Store32(file.data() + 46, one.length);
        EXPECT_EQ(one.isGood, Decodes(file)) << one.offset << "+" << one.length;
    }
}

TEST(AppleDouble, IDsAreDistinctAndNotZero) {
    std::vector<UInt8> file = TwoEntries();
    Store32(file.data() + 38, AppleDoubleEntry::kFinderInfo);
    EXPECT_FALSE(Decodes(file));
    Store32(file.data() + 38, 0);
    EXPECT_FALSE(Decodes(file));
    Store32(file.data() + 38, 0xFFFFFFFF);
    EXPECT_TRUE(Decodes(file));
}

TEST(AppleDouble, AsManyEntriesAsCanBe) {
    std::vector<AppleDoublePart> parts;
    for (UInt32 id = 1; id <= 0xFFFF; ++id)
        parts.push_back({id, {}});
    EXPECT_TRUE(Decodes(Encoded(parts)));
    parts.push_back({0x10000, {}});
    std::vector<UInt8> file;
    EXPECT_FALSE(EncodeAppleDouble(parts, file));
}

}  // namespace
