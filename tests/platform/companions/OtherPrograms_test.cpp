// Companions between us and other programs: what we write, unar reads, and what it writes, we do. It knows
// the format by itself, and writes what it read anew.
#include "companions/CompanionInfo.h"
#include "companions/Companions.h"
#include "forks/Forks.h"
#include "formats/AppleDouble.h"
#include "os/BigEndian.h"
#include "support/FolderTest.h"

#include <gtest/gtest.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/FinderInfo.h>
#include <toolbox/MacErrors.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace toolbox::files;
using namespace toolbox::os;
using Bytes = std::vector<UInt8>;

// Of type "AIFF", by creator "mach", flags 0x4000.
CompanionInfo SoundInfo() {
    CompanionInfo info;
    constexpr std::string_view kTypeCreatorFlags = "AIFFmach\x40";
    std::copy(kTypeCreatorFlags.begin(), kTypeCreatorFlags.end(), info.finderInfo.begin());
    return info;
}

std::string Contents(const std::string& inPath) {
    std::ifstream file(inPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class OtherPrograms : public test_files::FolderTest {
  protected:
    void SetUp() override {
        if (Run("command -v unar && command -v lsar && command -v tar") != 0)
            GTEST_SKIP() << "the other program is not here: the package unar is missing";
    }
    int Run(const std::string& inCommand) const {
        return std::system(("cd '" + mFolder.Path() + "' && { " + inCommand + "; } >output 2>&1").c_str());
    }
    // What they have in their folder, as we see it.
    static std::string ForkOf(const std::string& inPath) {
        FSRef ref = {};
        OpenFork fork;
        EXPECT_EQ(noErr, FSPathMakeRef(reinterpret_cast<const UInt8*>(inPath.c_str()), &ref, nullptr));
        EXPECT_EQ(noErr, Open(ref, Fork::kResource, fork)) << inPath;
        std::string bytes(fork.IsOpen() ? fork.SizeBytes() : 0, '\0');
        EXPECT_EQ(noErr, fork.Read(0, bytes.data(), bytes.size()));
        return bytes;
    }
    static CompanionInfo InfoOf(const std::string& inPath) {
        Place place;
        CompanionInfo info;
        CompanionSizes sizes;
        EXPECT_EQ(0, OpenPlaceOf(inPath, place));
        EXPECT_EQ(0, ReadInfo(place.folder.Number(), CompanionName(place.name), info, sizes));
        return info;
    }
    // That they decode what lies in the archive, and do not take it for a file like any other.
    void ExpectListed(const std::string& inArchive, std::initializer_list<const char*> inWhat) const {
        ASSERT_EQ(0, Run("lsar -j " + inArchive)) << Contents(mFolder / "output");
        const std::string listed = Contents(mFolder / "output");
        for (const char* const expected : inWhat)
            EXPECT_NE(std::string::npos, listed.find(expected)) << expected << " in " << listed;
    }
    void MakeOurs(const std::string& inName, std::string_view inFork, const CompanionInfo& inInfo) const {
        const std::string path = mFolder.MakeFile(inName, "data fork");
        FSRef ref = {};
        Place place;
        EXPECT_EQ(noErr, FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, nullptr));
        EXPECT_EQ(noErr, WriteFork(ref, Fork::kResource, Bytes(inFork.begin(), inFork.end())));
        EXPECT_EQ(0, OpenPlaceOf(path, place));
        EXPECT_EQ(0, WriteInfo(place, inInfo));
    }
};

TEST_F(OtherPrograms, ReadWhatWeWrite) {
    const std::string fork = "our fork" + std::string(1000, '\xFF') + std::string(24, '\0');
    CompanionInfo info = SoundInfo();
    info.creationSeconds = 1;
    info.isLocked = true;
    info.encodingHint = 1;
    MakeOurs("song.aiff", fork, info);
    ASSERT_EQ(0, Run("tar cf ours.tar ._song.aiff song.aiff"));
    ExpectListed("ours.tar", {"\"XADIsResourceFork\": 1", "\"MacDataLength\": 1032",
                              "\"XADFileType\": 1095321158", "\"XADFileCreator\": 1835098984",
                              "\"XADFinderFlags\": 16384", "\"XADFileName\": \"song.aiff\""});
    ASSERT_EQ(0, Run("mkdir theirs && unar -q -k hidden -o theirs ours.tar")) << Contents(mFolder / "output");
    const std::string theirs = mFolder / "theirs/song.aiff";
    EXPECT_EQ("data fork", Contents(theirs));
    EXPECT_NE(Contents(mFolder / "._song.aiff"), Contents(mFolder / "theirs/._song.aiff"))
        << "they keep forks and Finder information, and write them by themselves";
    EXPECT_EQ(fork, ForkOf(theirs));
    EXPECT_EQ(SoundInfo(), InfoOf(theirs));
}

TEST_F(OtherPrograms, ReadAForkWithoutAnythingElse) {
    MakeOurs("plain", "fork", {});
    ASSERT_EQ(0, Run("tar cf ours.tar ._plain plain && mkdir theirs && unar -q -k hidden -o theirs ours.tar"))
        << Contents(mFolder / "output");
    ExpectListed("ours.tar",
                 {"\"XADIsResourceFork\": 1", "\"MacDataLength\": 4", "\"XADFileName\": \"plain\""});
    EXPECT_EQ("fork", ForkOf(mFolder / "theirs/plain"));
    EXPECT_EQ(CompanionInfo(), InfoOf(mFolder / "theirs/plain"));
}

TEST_F(OtherPrograms, ReadInformationWithoutAFork) {
    const std::string path = mFolder.MakeFile("empty", "");
    Place place;
    ASSERT_EQ(0, OpenPlaceOf(path, place));
    ASSERT_EQ(0, WriteInfo(place, SoundInfo()));
    ASSERT_EQ(0, Run("tar cf ours.tar ._empty empty"));
    ExpectListed("ours.tar", {"\"XADFileType\": 1095321158"});
}

// An archive of one file in the format MacBinary II: a header of 128 bytes, then both forks, each filled up
// to a multiple of that.
std::string MacBinary(std::string_view inName, std::string_view inData, std::string_view inFork) {
    Bytes header(128);
    header[1] = static_cast<UInt8>(inName.size());
    std::copy(inName.begin(), inName.end(), header.begin() + 2);
    const CompanionInfo info = SoundInfo();
    std::copy_n(info.finderInfo.begin(), 9, header.begin() + 65);
    Store32(header.data() + 83, inData.size());
    Store32(header.data() + 87, inFork.size());
    header[122] = header[123] = 129;
    UInt32 check = 0;
    for (int at = 0; at < 124; ++at) {
        check ^= static_cast<UInt32>(header[static_cast<std::size_t>(at)]) << 8;
        for (int bit = 0; bit < 8; ++bit)
            check = (check << 1 ^ ((check & 0x8000) != 0 ? 0x1021 : 0)) & 0xFFFF;
    }
    Store16(header.data() + 124, check);
    std::string archive(header.begin(), header.end());
    for (const std::string_view fork : {inData, inFork}) {
        archive += fork;
        archive.resize((archive.size() + 127) / 128 * 128);
    }
    return archive;
}

TEST_F(OtherPrograms, WriteWhatWeRead) {
    const std::string fork = "their fork" + std::string(500, '\x81');
    mFolder.MakeFile("theirs.bin", MacBinary("Song", "their data", fork));
    ASSERT_EQ(0, Run("mkdir theirs && unar -q -k hidden -o theirs theirs.bin"))
        << Contents(mFolder / "output");
    const std::string path = mFolder / "theirs/Song";
    EXPECT_EQ("their data", Contents(path));
    EXPECT_EQ(fork, ForkOf(path));
    EXPECT_EQ(SoundInfo(), InfoOf(path));
}

// We change what they wrote, and they read that in turn.
TEST_F(OtherPrograms, ReadTheirsThatWeChanged) {
    mFolder.MakeFile("theirs.bin", MacBinary("Song", "their data", "their fork"));
    ASSERT_EQ(0, Run("mkdir theirs back && unar -q -k hidden -o theirs theirs.bin"));
    FSRef ref = {};
    const std::string path = mFolder / "theirs/Song";
    ASSERT_EQ(noErr, FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, nullptr));
    const std::string_view fork = "a longer fork of ours";
    ASSERT_EQ(noErr, WriteFork(ref, Fork::kResource, Bytes(fork.begin(), fork.end())));
    FSCatalogInfo catalogInfo = {};
    FileInfo finderInfo;
    ASSERT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoFinderInfo, &catalogInfo, nullptr, nullptr, nullptr));
    std::memcpy(&finderInfo, catalogInfo.finderInfo, sizeof finderInfo);
    finderInfo.fileType = 0x4D6F6F56;  // 'MooV'
    std::memcpy(catalogInfo.finderInfo, &finderInfo, sizeof finderInfo);
    ASSERT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoFinderInfo, &catalogInfo));
    ASSERT_EQ(0, Run("tar cf both.tar -C theirs ._Song Song && unar -q -k hidden -o back both.tar"))
        << Contents(mFolder / "output");
    ExpectListed("both.tar", {"\"XADIsResourceFork\": 1", "\"MacDataLength\": 21",
                              "\"XADFileType\": 1299148630", "\"XADFileCreator\": 1835098984"});
    CompanionInfo info = SoundInfo();
    std::copy_n("MooV", 4, info.finderInfo.begin());
    EXPECT_EQ(fork, ForkOf(mFolder / "back/Song"));
    EXPECT_EQ(info, InfoOf(mFolder / "back/Song"));
}

}  // namespace
