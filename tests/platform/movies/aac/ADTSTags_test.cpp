#include "movies/aac/ADTSTags.h"

#include "fakes/ADTSWriter.h"
#include "fakes/MemoryFile.h"

#include <gtest/gtest.h>

namespace toolbox::movies {
namespace {

using mirtal::fakes::ADTSWriter;
using mirtal::fakes::NewMemoryFile;

std::int64_t TagBytes(const std::string& inBytes, std::int64_t inOffset = 0) {
    const auto file = NewMemoryFile(inBytes);
    FileWindow window(*file);
    return ID3v2Bytes(window, inOffset);
}

std::int64_t EndOffset(const std::string& inBytes) {
    const auto file = NewMemoryFile(inBytes);
    FileWindow window(*file);
    return EndTagsOffset(window);
}

TEST(ADTSTags, ID3v2SizeIsSyncsafe) {
    EXPECT_EQ(10, TagBytes(ADTSWriter().ID3v2(0).Result()));
    EXPECT_EQ(10 + 127, TagBytes(ADTSWriter().ID3v2(127).Result()));
    EXPECT_EQ(10 + 128, TagBytes(ADTSWriter().ID3v2(128).Result()));
    EXPECT_EQ(10 + 0x123456, TagBytes(ADTSWriter().ID3v2(0x123456).Result()));
    EXPECT_EQ(10 + 0x0FFFFFFF, TagBytes(std::string("ID3\4\0\0\x7F\x7F\x7F\x7F", 10)));
}

TEST(ADTSTags, ID3v2FooterCounts) {
    EXPECT_EQ(20 + 30, TagBytes(ADTSWriter().ID3v2(30, true).Result()));
}

TEST(ADTSTags, ID3v2AtAnOffset) {
    const std::string bytes = ADTSWriter().Zeros(5).ID3v2(7).Result();
    EXPECT_EQ(17, TagBytes(bytes, 5));
    EXPECT_EQ(0, TagBytes(bytes, 4));
}

TEST(ADTSTags, NoID3v2) {
    EXPECT_EQ(0, TagBytes(""));
    EXPECT_EQ(0, TagBytes("ID3"));
    EXPECT_EQ(0, TagBytes(std::string("ID3\4\0\0\0\0\0", 9)));
    EXPECT_EQ(0, TagBytes(std::string("ID4\4\0\0\0\0\0\0", 10)));
    EXPECT_EQ(0, TagBytes(std::string("ID3\xFF\0\0\0\0\0\0", 10)));
    EXPECT_EQ(0, TagBytes(std::string("ID3\4\xFF\0\0\0\0\0", 10)));
    for (std::size_t byte = 6; byte < 10; ++byte) {
        std::string bytes("ID3\4\0\0\0\0\0\0", 10);
        bytes[byte] = '\x80';
        EXPECT_EQ(0, TagBytes(bytes)) << byte;
    }
}

TEST(ADTSTags, EndWithoutTags) {
    EXPECT_EQ(0, EndOffset(""));
    EXPECT_EQ(3, EndOffset("TAG"));
    EXPECT_EQ(300, EndOffset(std::string(300, 'T')));
}

TEST(ADTSTags, EndTagsAloneAndTogether) {
    EXPECT_EQ(0, EndOffset(ADTSWriter().ID3v1().Result()));
    EXPECT_EQ(9, EndOffset(ADTSWriter().Zeros(9).ID3v1().Result()));
    EXPECT_EQ(9, EndOffset(ADTSWriter().Zeros(9).APE(100).Result()));
    EXPECT_EQ(9, EndOffset(ADTSWriter().Zeros(9).APE(100).ID3v1().Result()));
    EXPECT_EQ(0, EndOffset(ADTSWriter().APE(0).Result()));
}

TEST(ADTSTags, APEThatClaimsMoreThanTheFile) {
    std::string bytes = ADTSWriter().Zeros(9).APE(100).Result();
    bytes = bytes.substr(20);
    EXPECT_EQ(static_cast<std::int64_t>(bytes.size()), EndOffset(bytes));
}

TEST(ADTSTags, APEThatClaimsLessThanItsFooter) {
    std::string bytes = ADTSWriter().Zeros(9).APE(100).Result();
    const std::size_t size = bytes.size() - 32 + 12;
    bytes[size] = 31;
    bytes[bytes.size() - 32 + 20 + 3] = 0;  // no header
    EXPECT_EQ(static_cast<std::int64_t>(bytes.size()), EndOffset(bytes));
    bytes[size] = 32;
    EXPECT_EQ(static_cast<std::int64_t>(bytes.size()) - 32, EndOffset(bytes));
}

}  // namespace
}  // namespace toolbox::movies
